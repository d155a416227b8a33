#pragma once

#include <map>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "platform/Forwarding.h"
#include "platform/Text.h"

namespace orbis::tests {

// Records every WMI call of the machine in force, releases included. In force while it lives; the machine outlives it.
class WmiTrace final : public platform::ForwardingPlatform, private platform::ForwardingWmi {
public:
    WmiTrace() : ForwardingPlatform(Platform::Current()), ForwardingWmi(Inner().WmiPort()) { Replace(this); }
    ~WmiTrace() override { Replace(&Inner()); }

    std::vector<std::string> calls;
    bool isConnectionRefused = false;  // although the call hands out an object

    platform::Wmi& WmiPort() noexcept override { return *this; }

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
    // Names an interface after the call that returned it.
    Result HandedOut(Result result, Object** object, const char* kind)
    {
        m_Kinds[*object] = kind;
        return result;
    }

    Result InitializeCom(std::uint32_t flags) override
    {
        Note("InitializeCom", flags);
        return ForwardingWmi::InitializeCom(flags);
    }
    Result InitializeSecurity(std::int32_t services, std::uint32_t level, std::uint32_t impersonation, std::uint32_t more) override
    {
        Note("InitializeSecurity", services, level, impersonation, more);
        return ForwardingWmi::InitializeSecurity(services, level, impersonation, more);
    }
    void UninitializeCom() noexcept override
    {
        Note("UninitializeCom");
        ForwardingWmi::UninitializeCom();
    }
    platform::Bstr AllocateString(const char16_t* text) override
    {
        Note("AllocateString", Utf8(text));
        return ForwardingWmi::AllocateString(text);
    }
    void FreeString(platform::Bstr text) noexcept override
    {
        Note("FreeString", Utf8(text));
        ForwardingWmi::FreeString(text);
    }
    Result CreateLocator(Object** locator) override
    {
        Note("CreateLocator");
        return HandedOut(ForwardingWmi::CreateLocator(locator), locator, "locator");
    }
    Result ConnectServer(Object* locator, platform::Bstr path, Object** services) override
    {
        Note("ConnectServer", Utf8(path));
        const Result result = HandedOut(ForwardingWmi::ConnectServer(locator, path, services), services, "services");
        return isConnectionRefused ? platform::hresult::kAccessDenied : result;
    }
    Result SetProxyBlanket(Object* services, std::uint32_t authentication, std::uint32_t authorization, std::uint32_t level,
                           std::uint32_t impersonation, std::uint32_t more) override
    {
        Note("SetProxyBlanket", authentication, authorization, level, impersonation, more);
        return ForwardingWmi::SetProxyBlanket(services, authentication, authorization, level, impersonation, more);
    }
    Result ExecQuery(Object* services, platform::Bstr language, platform::Bstr query, std::int32_t flags, Object** rows) override
    {
        Note("ExecQuery", Utf8(language), Utf8(query), flags);
        return HandedOut(ForwardingWmi::ExecQuery(services, language, query, flags, rows), rows, "enumerator");
    }
    Result Next(Object* enumerator, std::uint32_t timeout, Object** row, std::uint32_t* returned) override
    {
        Note("Next", timeout);
        return HandedOut(ForwardingWmi::Next(enumerator, timeout, row, returned), row, "row");
    }
    Result Get(Object* row, const char16_t* name, platform::Variant* value) override
    {
        Note("Get", Utf8(name));
        return ForwardingWmi::Get(row, name, value);
    }
    void Release(Object* object) noexcept override
    {
        Note("Release", m_Kinds[object]);
        ForwardingWmi::Release(object);
    }

    std::map<Object*, std::string> m_Kinds;
};

}  // namespace orbis::tests
