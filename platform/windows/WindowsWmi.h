#pragma once

#include "platform/Wmi.h"

namespace orbis::platform {

// COM and WMI. A ComObject* of this port is the COM interface pointer itself, a Bstr the BSTR, a SafeArray* the SAFEARRAY*.
class WindowsWmi final : public Wmi {
public:
    Hresult InitializeCom(std::uint32_t flags) override;
    Hresult InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                               std::uint32_t impersonationLevel, std::uint32_t capabilities) override;
    void UninitializeCom() noexcept override;

    Bstr AllocateString(const char16_t* text) override;
    void FreeString(Bstr text) noexcept override;
    std::uint32_t StringLength(Bstr text) const noexcept override;

    Hresult CreateLocator(ComObject** locator) override;
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override;
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                            std::uint32_t authenticationLevel, std::uint32_t impersonationLevel,
                            std::uint32_t capabilities) override;
    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override;
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override;
    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override;
    void Release(ComObject* object) noexcept override;

    void ClearVariant(Variant* value) noexcept override;
    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override;
    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override;
    SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override;
};

}  // namespace orbis::platform
