#include <map>
#include <utility>

#include "FaultCounter.h"
#include "platform/Errors.h"
#include "platform/Forwarding.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using enum FaultKind;
namespace hresult = platform::hresult;
using platform::Bstr;
using platform::ComObject;
using platform::Hresult;

constexpr std::uint32_t Bits(Hresult result) { return static_cast<std::uint32_t>(result); }
constexpr std::uint32_t kDenied = Bits(hresult::kAccessDenied);

const FaultableOperation kInitializeCom{"Wmi::InitializeCom", {Error, BadAlloc}, Bits(hresult::kRpcChangedMode)};
const FaultableOperation kInitializeSecurity{"Wmi::InitializeSecurity", {Error, BadAlloc}, Bits(hresult::kRpcTooLate)};
const FaultableOperation kAllocateString{"Wmi::AllocateString", {Null, BadAlloc}, 0};
const FaultableOperation kCreateLocator{"Wmi::CreateLocator", {Error, BadAlloc}, Bits(hresult::kClassNotRegistered)};
const FaultableOperation kConnectServer{"Wmi::ConnectServer", {Error, Null, BadAlloc}, kDenied};
const FaultableOperation kSetProxyBlanket{"Wmi::SetProxyBlanket", {Error, BadAlloc}, kDenied};
const FaultableOperation kExecQuery{"Wmi::ExecQuery", {Error, Null, BadAlloc}, Bits(hresult::kWbemFailed)};
const FaultableOperation kNext{"Wmi::Next", {Error, ShortData, BadAlloc}, Bits(hresult::kWbemFailed)};
const FaultableOperation kGet{"Wmi::Get", {Error, Null, BadAlloc}, Bits(hresult::kWbemNotFound)};
const FaultableOperation kArrayUpperBound{"Wmi::ArrayUpperBound", {Error, BadAlloc}, Bits(hresult::kInvalidArgument)};
const FaultableOperation kArrayElement{"Wmi::ArrayElement", {Error, BadAlloc}, Bits(hresult::kDispBadIndex)};

std::string Utf8(const char16_t* text) { return text != nullptr ? platform::Utf16ToUtf8(text) : std::string{}; }

Hresult ResultOf(const FaultCounter::Fault& fault) { return fault.Is(Error) ? hresult::Make(fault.error) : hresult::kOk; }

class FaultingWmi final : public platform::ForwardingWmi {
public:
    FaultingWmi(platform::Wmi& inner, FaultCounter& counter) : ForwardingWmi(inner), m_Counter(counter) {}

    Hresult InitializeCom(std::uint32_t flags) override
    {
        const auto fault = m_Counter.Count(kInitializeCom, {});
        return fault ? ResultOf(*fault) : ForwardingWmi::InitializeCom(flags);
    }

    Hresult InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                               std::uint32_t impersonationLevel, std::uint32_t capabilities) override
    {
        const auto fault = m_Counter.Count(kInitializeSecurity, {});
        return fault ? ResultOf(*fault)
                     : ForwardingWmi::InitializeSecurity(authenticationServices, authenticationLevel, impersonationLevel,
                                                         capabilities);
    }

    Bstr AllocateString(const char16_t* text) override
    {
        return m_Counter.Count(kAllocateString, Utf8(text)) ? nullptr : ForwardingWmi::AllocateString(text);
    }

    Hresult CreateLocator(ComObject** locator) override
    {
        const auto fault = m_Counter.Count(kCreateLocator, {});
        return fault ? Nothing(*fault, locator) : ForwardingWmi::CreateLocator(locator);
    }

    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        const auto fault = m_Counter.Count(kConnectServer, Utf8(path));
        return fault ? Nothing(*fault, services) : ForwardingWmi::ConnectServer(locator, path, services);
    }

    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                            std::uint32_t authenticationLevel, std::uint32_t impersonationLevel,
                            std::uint32_t capabilities) override
    {
        const auto fault = m_Counter.Count(kSetProxyBlanket, {});
        if (fault) {
            return ResultOf(*fault);
        }
        return ForwardingWmi::SetProxyBlanket(services, authentication, authorization, authenticationLevel, impersonationLevel,
                                              capabilities);
    }

    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override
    {
        const auto fault = m_Counter.Count(kExecQuery, Utf8(query));
        return fault ? Nothing(*fault, enumerator) : ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
    }

    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override
    {
        const auto fault = m_Counter.Count(kNext, {});
        if (!fault) {
            return ForwardingWmi::Next(enumerator, timeout, object, returned);
        }
        *returned = 0;
        const Hresult result = Nothing(*fault, object);
        return fault->Is(ShortData) ? hresult::kWbemSFalse : result;
    }

    Hresult Get(ComObject* object, const char16_t* name, platform::Variant* value) override
    {
        const auto fault = m_Counter.Count(kGet, Utf8(name));
        if (!fault) {
            return ForwardingWmi::Get(object, name, value);
        }
        if (fault->Is(Error)) {
            return ResultOf(*fault);
        }
        // A property without a value. What the inner port gave is kept and handed back when the variant is cleared.
        const Hresult result = ForwardingWmi::Get(object, name, value);
        if (!platform::Failed(result)) {
            const std::lock_guard lock(m_Mutex);
            m_Hidden[value] = std::exchange(*value, {platform::VariantType::Null, 0});
        }
        return result;
    }

    void ClearVariant(platform::Variant* value) noexcept override
    {
        {
            const std::lock_guard lock(m_Mutex);
            if (const auto hidden = m_Hidden.extract(value)) {
                *value = hidden.mapped();
            }
        }
        ForwardingWmi::ClearVariant(value);
    }

    Hresult ArrayUpperBound(platform::SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        const auto fault = m_Counter.Count(kArrayUpperBound, {});
        return fault ? ResultOf(*fault) : ForwardingWmi::ArrayUpperBound(array, dimension, bound);
    }

    Hresult ArrayElement(platform::SafeArray* array, std::int32_t index, void* element) override
    {
        const auto fault = m_Counter.Count(kArrayElement, std::to_string(index));
        return fault ? ResultOf(*fault) : ForwardingWmi::ArrayElement(array, index, element);
    }

private:
    static Hresult Nothing(const FaultCounter::Fault& fault, ComObject** object)
    {
        *object = nullptr;
        return ResultOf(fault);
    }

    FaultCounter& m_Counter;
    std::mutex m_Mutex;
    std::map<const platform::Variant*, platform::Variant> m_Hidden;
};

}  // namespace

std::unique_ptr<platform::Wmi> MakeFaultingWmi(platform::Wmi& inner, FaultCounter& counter)
{
    return std::make_unique<FaultingWmi>(inner, counter);
}

}  // namespace orbis::simulated
