#pragma once

#include <map>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "platform/Platform.h"
#include "platform/Text.h"

namespace orbis::tests {

// The machine in force with every WMI call noted, what gives things back too. In force while it lives; the machine outlives it.
class WmiTrace final : public platform::Platform, private platform::Wmi {
public:
    WmiTrace() : m_Machine(Platform::Current()), m_Inner(m_Machine.WmiPort()) { Replace(this); }
    ~WmiTrace() override { Replace(&m_Machine); }

    std::vector<std::string> calls;

    platform::DeviceIo& DeviceIoPort() noexcept override { return m_Machine.DeviceIoPort(); }
    platform::Setup& SetupPort() noexcept override { return m_Machine.SetupPort(); }
    platform::Wmi& WmiPort() noexcept override { return *this; }
    platform::Firmware& FirmwarePort() noexcept override { return m_Machine.FirmwarePort(); }
    platform::Pdh& PdhPort() noexcept override { return m_Machine.PdhPort(); }
    platform::Time& TimePort() noexcept override { return m_Machine.TimePort(); }
    platform::Text& TextPort() noexcept override { return m_Machine.TextPort(); }

private:
    using Object = platform::ComObject;
    using Result = platform::Hresult;

    template <class... Arguments>
    void Note(const char* operation, const Arguments&... arguments)
    {
        calls.emplace_back(operation);
        ((calls.back() += fmt::format(" {}", arguments)), ...);
    }
    static std::string Utf8(platform::Bstr text) { return platform::Utf16ToUtf8(text != nullptr ? text : u"null"); }
    // Remembers what an interface is by what it was asked of.
    Result HandedOut(Result result, Object** object, const char* kind)
    {
        m_Kinds[*object] = kind;
        return result;
    }

    Result InitializeCom(std::uint32_t flags) override
    {
        Note("InitializeCom", flags);
        return m_Inner.InitializeCom(flags);
    }
    Result InitializeSecurity(std::int32_t services, std::uint32_t level, std::uint32_t impersonation, std::uint32_t more) override
    {
        Note("InitializeSecurity", services, level, impersonation, more);
        return m_Inner.InitializeSecurity(services, level, impersonation, more);
    }
    void UninitializeCom() noexcept override
    {
        Note("UninitializeCom");
        m_Inner.UninitializeCom();
    }
    platform::Bstr AllocateString(const char16_t* text) override
    {
        Note("AllocateString", Utf8(text));
        return m_Inner.AllocateString(text);
    }
    void FreeString(platform::Bstr text) noexcept override
    {
        Note("FreeString", Utf8(text));
        m_Inner.FreeString(text);
    }
    std::uint32_t StringLength(platform::Bstr text) const noexcept override { return m_Inner.StringLength(text); }
    Result CreateLocator(Object** locator) override
    {
        Note("CreateLocator");
        return HandedOut(m_Inner.CreateLocator(locator), locator, "locator");
    }
    Result ConnectServer(Object* locator, platform::Bstr path, Object** services) override
    {
        Note("ConnectServer", Utf8(path));
        return HandedOut(m_Inner.ConnectServer(locator, path, services), services, "services");
    }
    Result SetProxyBlanket(Object* services, std::uint32_t authentication, std::uint32_t authorization, std::uint32_t level,
                           std::uint32_t impersonation, std::uint32_t more) override
    {
        Note("SetProxyBlanket", authentication, authorization, level, impersonation, more);
        return m_Inner.SetProxyBlanket(services, authentication, authorization, level, impersonation, more);
    }
    Result ExecQuery(Object* services, platform::Bstr language, platform::Bstr query, std::int32_t flags, Object** rows) override
    {
        Note("ExecQuery", Utf8(language), Utf8(query), flags);
        return HandedOut(m_Inner.ExecQuery(services, language, query, flags, rows), rows, "enumerator");
    }
    Result Next(Object* enumerator, std::uint32_t timeout, Object** row, std::uint32_t* returned) override
    {
        Note("Next", timeout);
        return HandedOut(m_Inner.Next(enumerator, timeout, row, returned), row, "row");
    }
    Result Get(Object* row, const char16_t* name, platform::Variant* value) override
    {
        Note("Get", Utf8(name));
        return m_Inner.Get(row, name, value);
    }
    void Release(Object* object) noexcept override
    {
        Note("Release", m_Kinds[object]);
        m_Inner.Release(object);
    }
    void ClearVariant(platform::Variant* value) noexcept override { m_Inner.ClearVariant(value); }
    Result ArrayUpperBound(platform::SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        return m_Inner.ArrayUpperBound(array, dimension, bound);
    }
    Result ArrayElement(platform::SafeArray* array, std::int32_t index, void* element) override
    {
        return m_Inner.ArrayElement(array, index, element);
    }
    platform::SafeArrayBounds ArrayBounds(const platform::SafeArray* array) const noexcept override
    {
        return m_Inner.ArrayBounds(array);
    }

    platform::Platform& m_Machine;
    platform::Wmi& m_Inner;
    std::map<Object*, std::string> m_Kinds;
};

}  // namespace orbis::tests
