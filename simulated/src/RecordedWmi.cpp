// WMI of a recording: what each call before the rows gave, over the emulated port with the recorded rows.
#include "MachineState.h"
#include "insight/Recording.h"
#include "platform/Forwarding.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

namespace hresult = platform::hresult;
using insight::RecordedAnswer;
using platform::Bstr;
using platform::ComObject;
using platform::Hresult;
using platform::Variant;
using platform::VariantType;
using namespace platform::emulated;

WmiValue ValueOf(const insight::RecordedProperty& property)
{
    if (property.error() != 0) {
        return hresult::Make(property.error());
    }
    const auto type = static_cast<VariantType>(property.type());
    if (property.has_array()) {
        const insight::RecordedArray& array = property.array();
        auto value = std::make_shared<WmiArray>();
        value->type = type;
        value->bytes.assign(array.content().begin(), array.content().end());
        for (const std::string& element : array.element()) {
            value->texts.emplace_back(Utf16Text(element));
        }
        value->lowerBound = array.lower_bound();
        value->upperBound = array.has_upper_bound() ? std::optional(array.upper_bound()) : std::nullopt;
        value->boundError = hresult::Make(array.bound_error());
        value->elementError = hresult::Make(array.element_error());
        value->failingIndex = array.failing_index();
        return value;
    }
    if (type == VariantType::String && !property.is_null_pointer()) {
        return Utf16Text(property.utf16());
    }
    return Variant{type, insight::HasPlainPayload(type) ? property.payload() : 0};
}

class RecordedWmiFacts final : public WmiFacts {
public:
    explicit RecordedWmiFacts(Tape& tape) : m_Tape(tape) {}

    bool HasNamespace(std::string_view) const override { return true; }  // ConnectServer's own outcome is recorded
    WmiAnswer Query(const WmiQuery& query) override
    {
        const insight::RecordedExecution* execution = m_Tape.PlayQuery(query.wmiNamespace, query.text);
        if (execution == nullptr) {
            return {hresult::Make(kNotRecordedHresult), {}, hresult::kWbemSFalse};
        }
        WmiAnswer answer{hresult::Make(execution->result()), {}, hresult::Make(execution->end()), execution->is_null()};
        for (const insight::RecordedRow& recorded : execution->row()) {
            auto row = std::make_shared<WmiRow>();
            for (const insight::RecordedProperty& property : recorded.property()) {
                row->Set(property.name(), ValueOf(property));
            }
            answer.rows.push_back(std::move(row));
        }
        return answer;
    }

private:
    Tape& m_Tape;
};

class RecordedWmi final : public platform::ForwardingWmi {
public:
    RecordedWmi(platform::Wmi& inner, Tape& tape) : ForwardingWmi(inner), m_Tape(tape) {}

    Hresult InitializeCom(std::uint32_t flags) override
    {
        const Hresult result = ForwardingWmi::InitializeCom(flags);
        const RecordedAnswer* answer = m_Tape.PlayIfThere(Asked("Wmi::InitializeCom", {}, flags));
        return answer != nullptr ? hresult::Make(answer->error()) : result;
    }
    Hresult InitializeSecurity(std::int32_t, std::uint32_t, std::uint32_t, std::uint32_t) override
    {
        const RecordedAnswer* answer = m_Tape.PlayIfThere(Asked("Wmi::InitializeSecurity"));
        return answer != nullptr ? hresult::Make(answer->error()) : hresult::kOk;
    }
    Hresult CreateLocator(ComObject** locator) override
    {
        const auto outcome = OutcomeOf(Asked("Wmi::CreateLocator"), locator);
        return outcome ? *outcome : ForwardingWmi::CreateLocator(locator);
    }
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        const auto outcome = OutcomeOf(Asked("Wmi::ConnectServer", platform::Utf16ToUtf8(path)), services);
        return outcome ? *outcome : ForwardingWmi::ConnectServer(locator, path, services);
    }
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization, std::uint32_t level,
                            std::uint32_t impersonation, std::uint32_t capabilities) override
    {
        ComObject* none = nullptr;
        const auto outcome = OutcomeOf(Asked("Wmi::SetProxyBlanket"), &none);
        return outcome
                   ? *outcome
                   : ForwardingWmi::SetProxyBlanket(services, authentication, authorization, level, impersonation, capabilities);
    }
    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override
    {
        const Hresult result = ForwardingWmi::Get(object, name, value);
        if (result == hresult::kWbemNotFound && !m_Tape.HasProperty(platform::Utf16ToUtf8(name))) {
            m_Tape.NoteMissing("Wmi::Get " + platform::Utf16ToUtf8(name));
            return hresult::Make(kNotRecordedHresult);
        }
        return result;
    }

private:
    // The recorded outcome when it is one without an object; nothing lets the emulated port make the object.
    std::optional<Hresult> OutcomeOf(const insight::RecordedCall& request, ComObject** object)
    {
        const RecordedAnswer* answer = m_Tape.Play(request);
        const Hresult result = hresult::Make(answer != nullptr ? answer->error() : kNotRecordedHresult);
        if (!platform::Failed(result) && !answer->is_null()) {
            return std::nullopt;
        }
        *object = nullptr;
        return result;
    }

    Tape& m_Tape;
};

}  // namespace

std::unique_ptr<WmiFacts> MakeRecordedWmiFacts(Tape& tape) { return std::make_unique<RecordedWmiFacts>(tape); }
std::unique_ptr<platform::Wmi> MakeRecordedWmi(platform::Wmi& inner, Tape& tape)
{
    return std::make_unique<RecordedWmi>(inner, tape);
}

}  // namespace orbis::simulated
