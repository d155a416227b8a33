// The machine's WMI port: the emulated one, with what its users hold counted and misuse reported.
#include <fmt/format.h>

#include <map>
#include <thread>

#include "MachineState.h"
#include "platform/Forwarding.h"

namespace orbis::simulated {
namespace {

using platform::Bstr;
using platform::ComObject;
using platform::Hresult;
using platform::SafeArray;
using platform::Variant;
using platform::VariantType;

enum class Kind { Locator, Services, Enumerator, Row, String, Bytes, Strings };

class CheckedWmi final : public platform::ForwardingWmi {
public:
    CheckedWmi(MachineState& machine, platform::Wmi& inner) : ForwardingWmi(inner), m_Machine(machine) {}

    Hresult InitializeCom(std::uint32_t flags) override
    {
        const Hresult result = ForwardingWmi::InitializeCom(flags);
        m_Machine.open.comInitialisations += platform::Failed(result) ? 0 : 1;
        return result;
    }
    void UninitializeCom() noexcept override
    {
        --m_Machine.open.comInitialisations;
        ForwardingWmi::UninitializeCom();
    }

    Bstr AllocateString(const char16_t* text) override { return Keep(ForwardingWmi::AllocateString(text), Kind::String); }
    void FreeString(Bstr text) noexcept override
    {
        if (text != nullptr && GiveBack(text, "FreeString of a string that is not allocated")) {
            ForwardingWmi::FreeString(text);
        }
    }
    std::uint32_t StringLength(Bstr text) const noexcept override { return Find(text) ? ForwardingWmi::StringLength(text) : 0; }

    Hresult CreateLocator(ComObject** locator) override
    {
        return Keep(ForwardingWmi::CreateLocator(locator), locator, Kind::Locator);
    }
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        locator = Checked(locator, Kind::Locator, "ConnectServer");
        return Keep(ForwardingWmi::ConnectServer(locator, path, services), services, Kind::Services);
    }
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization, std::uint32_t level,
                            std::uint32_t impersonation, std::uint32_t capabilities) override
    {
        services = Checked(services, Kind::Services, "SetProxyBlanket");
        return ForwardingWmi::SetProxyBlanket(services, authentication, authorization, level, impersonation, capabilities);
    }
    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override
    {
        services = Checked(services, Kind::Services, "ExecQuery");
        return Keep(ForwardingWmi::ExecQuery(services, language, query, flags, enumerator), enumerator, Kind::Enumerator);
    }
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override
    {
        enumerator = Checked(enumerator, Kind::Enumerator, "Next");
        return Keep(ForwardingWmi::Next(enumerator, timeout, object, returned), object, Kind::Row);
    }
    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override
    {
        object = Checked(object, Kind::Row, "Get");
        const Hresult result = ForwardingWmi::Get(object, name, value);
        if (!platform::Failed(result) && value->type != VariantType::Empty) {
            ++m_Machine.open.variants;
            if (IsPointer(*value)) {
                Keep(value->AsString(), KindOf(*value));
            }
        }
        return result;
    }
    void Release(ComObject* object) noexcept override
    {
        CheckThread(Find(object), "Release");
        if (object != nullptr && GiveBack(object, "Release of an interface that is not held")) {
            ForwardingWmi::Release(object);
        }
    }

    void ClearVariant(Variant* value) noexcept override
    {
        m_Machine.open.variants -= value->type != VariantType::Empty ? 1 : 0;
        if (!IsPointer(*value) || GiveBack(value->AsString(), "ClearVariant of a string or an array that is not allocated")) {
            ForwardingWmi::ClearVariant(value);
        }
        *value = {};
    }
    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        return ForwardingWmi::ArrayUpperBound(Find(array) ? array : nullptr, dimension, bound);
    }
    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override
    {
        const auto held = Find(array);
        const Hresult result = ForwardingWmi::ArrayElement(held ? array : nullptr, index, element);
        if (!platform::Failed(result) && held->kind == Kind::Strings) {
            Keep(*static_cast<Bstr*>(element), Kind::String);
        }
        return result;
    }

private:
    struct Held {
        Kind kind;
        std::thread::id thread;
    };

    // Whether the variant owns a string or an array.
    static bool IsPointer(const Variant& value) { return value.payload != 0 && KindOf(value) != Kind::Row; }
    static Kind KindOf(const Variant& value)
    {
        return value.type == VariantType::String        ? Kind::String
               : value.type == VariantType::UInt8Array  ? Kind::Bytes
               : value.type == VariantType::StringArray ? Kind::Strings
                                                        : Kind::Row;
    }
    std::atomic<std::int64_t>& CountOf(Kind kind)
    {
        auto& open = m_Machine.open;
        return kind == Kind::String ? open.strings : kind < Kind::String ? open.interfaces : open.arrays;
    }

    template <typename T>
    const T* Keep(const T* pointer, Kind kind)
    {
        if (pointer != nullptr) {
            const std::scoped_lock lock(m_Mutex);
            m_Held[pointer] = {kind, std::this_thread::get_id()};
            ++CountOf(kind);
        }
        return pointer;
    }
    std::optional<Held> Find(const void* pointer) const
    {
        const std::scoped_lock lock(m_Mutex);
        const auto found = m_Held.find(pointer);
        return found != m_Held.end() ? std::optional(found->second) : std::nullopt;
    }
    bool GiveBack(const void* pointer, const char* misuse)
    {
        const std::scoped_lock lock(m_Mutex);
        const auto held = m_Held.extract(pointer);
        if (held.empty()) {
            m_Machine.ReportMisuse(fmt::format("Wmi::{}", misuse));
            return false;
        }
        --CountOf(held.mapped().kind);
        return true;
    }

    Hresult Keep(Hresult result, ComObject** object, Kind kind)
    {
        Keep(*object, kind);
        return result;
    }
    // The interface itself, or null in place of one that may not be used so; null fails in every operation.
    ComObject* Checked(ComObject* object, Kind kind, const char* operation)
    {
        const auto held = Find(object);
        CheckThread(held, operation);
        if (object != nullptr && (!held || held->kind != kind)) {
            m_Machine.ReportMisuse(fmt::format("Wmi::{} on an interface that is not held or of another kind", operation));
            return nullptr;
        }
        return object;
    }
    void CheckThread(const std::optional<Held>& held, const char* operation)
    {
        if (held && held->thread != std::this_thread::get_id()) {
            m_Machine.ReportMisuse(fmt::format("Wmi::{} on a thread that did not make the interface", operation));
        }
    }

    MachineState& m_Machine;
    mutable std::mutex m_Mutex;
    std::map<const void*, Held> m_Held;
};

}  // namespace

std::unique_ptr<platform::Wmi> MakeCheckedWmi(MachineState& machine, platform::Wmi& inner)
{
    return std::make_unique<CheckedWmi>(machine, inner);
}

}  // namespace orbis::simulated
