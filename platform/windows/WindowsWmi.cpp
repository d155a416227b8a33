#include "WindowsPorts.h"

#include "WindowsHeaders.h"
// After windows.h, which they need.
#include <oleauto.h>
#include <wbemidl.h>

#include <cstddef>

namespace orbis::platform {
namespace {

// The eight bytes that Variant keeps are where every type that WMI hands out has its whole payload.
static_assert(offsetof(VARIANT, vt) == 0 && offsetof(VARIANT, ullVal) == 8 && sizeof(VARIANT::ullVal) == sizeof(Variant::payload));

template <class Interface>
Interface* As(ComObject* object) noexcept
{
    return reinterpret_cast<Interface*>(object);
}

template <class Interface>
ComObject* FromInterface(Interface* object) noexcept
{
    return reinterpret_cast<ComObject*>(object);
}

BSTR AsBstr(Bstr text) noexcept { return const_cast<BSTR>(AsWide(text)); }
SAFEARRAY* AsSafeArray(SafeArray* array) noexcept { return reinterpret_cast<SAFEARRAY*>(array); }

// COM and WMI. A ComObject* of this port is the COM interface pointer itself, a Bstr the BSTR, a SafeArray* the SAFEARRAY*.
class WindowsWmi final : public Wmi {
public:
    Hresult InitializeCom(std::uint32_t flags) override { return ::CoInitializeEx(nullptr, flags); }

    Hresult InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                               std::uint32_t impersonationLevel, std::uint32_t capabilities) override
    {
        return ::CoInitializeSecurity(nullptr, authenticationServices, nullptr, nullptr, authenticationLevel, impersonationLevel,
                                      nullptr, capabilities, nullptr);
    }

    void UninitializeCom() noexcept override { ::CoUninitialize(); }

    Bstr AllocateString(const char16_t* text) override { return reinterpret_cast<Bstr>(::SysAllocString(AsWide(text))); }

    void FreeString(Bstr text) noexcept override { ::SysFreeString(AsBstr(text)); }

    std::uint32_t StringLength(Bstr text) const noexcept override { return ::SysStringLen(AsBstr(text)); }

    Hresult CreateLocator(ComObject** locator) override
    {
        IWbemLocator* created = nullptr;
        const HRESULT result = ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                                  reinterpret_cast<void**>(&created));
        *locator = FromInterface(created);
        return result;
    }

    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        IWbemServices* connected = nullptr;
        const HRESULT result =
            As<IWbemLocator>(locator)->ConnectServer(AsBstr(path), nullptr, nullptr, nullptr, 0, nullptr, nullptr, &connected);
        *services = FromInterface(connected);
        return result;
    }

    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                            std::uint32_t authenticationLevel, std::uint32_t impersonationLevel,
                            std::uint32_t capabilities) override
    {
        return ::CoSetProxyBlanket(As<IUnknown>(services), authentication, authorization, nullptr, authenticationLevel,
                                   impersonationLevel, nullptr, capabilities);
    }

    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override
    {
        IEnumWbemClassObject* rows = nullptr;
        const HRESULT result = As<IWbemServices>(services)->ExecQuery(AsBstr(language), AsBstr(query), flags, nullptr, &rows);
        *enumerator = FromInterface(rows);
        return result;
    }

    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override
    {
        IWbemClassObject* row = nullptr;
        ULONG count = 0;
        const HRESULT result = As<IEnumWbemClassObject>(enumerator)->Next(static_cast<LONG>(timeout), 1, &row, &count);
        *object = FromInterface(row);
        *returned = count;
        return result;
    }

    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override
    {
        // All zero: VariantInit and a NULL property set the type alone, and readers take the payload of NULL for a null pointer.
        VARIANT native{};
        const HRESULT result = As<IWbemClassObject>(object)->Get(AsWide(name), 0, &native, nullptr, nullptr);
        value->type = static_cast<VariantType>(native.vt);
        value->payload = native.ullVal;
        return result;
    }

    void Release(ComObject* object) noexcept override
    {
        if (object != nullptr) {
            As<IUnknown>(object)->Release();
        }
    }

    void ClearVariant(Variant* value) noexcept override
    {
        VARIANT native;
        ::VariantInit(&native);
        native.vt = static_cast<VARTYPE>(value->type);
        native.ullVal = value->payload;
        ::VariantClear(&native);
        *value = Variant{};
    }

    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        LONG upper = 0;
        const HRESULT result = ::SafeArrayGetUBound(AsSafeArray(array), dimension, &upper);
        *bound = upper;
        return result;
    }

    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override
    {
        LONG at = index;
        return ::SafeArrayGetElement(AsSafeArray(array), &at, element);
    }

    SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override
    {
        const SAFEARRAYBOUND& first = reinterpret_cast<const SAFEARRAY*>(array)->rgsabound[0];
        return {first.lLbound, first.cElements};
    }
};

}  // namespace

std::unique_ptr<Wmi> MakeWindowsWmi() { return std::make_unique<WindowsWmi>(); }

}  // namespace orbis::platform
