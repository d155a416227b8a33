#include "WindowsPorts.h"

#include "WindowsHeaders.h"
// After windows.h, which they need.
#include <oleauto.h>
#include <wbemidl.h>

#include <cstddef>
#include <cstring>

namespace orbis::platform {
namespace {

// The eight bytes that Variant keeps are where every type that WMI hands out has its whole payload.
static_assert(offsetof(VARIANT, vt) == 0 && offsetof(VARIANT, ullVal) == 8 && sizeof(VARIANT::ullVal) == sizeof(Variant::payload));
static_assert(static_cast<int>(VariantType::Empty) == VT_EMPTY && static_cast<int>(VariantType::Null) == VT_NULL &&
              static_cast<int>(VariantType::Int16) == VT_I2 && static_cast<int>(VariantType::Int32) == VT_I4 &&
              static_cast<int>(VariantType::Float32) == VT_R4 && static_cast<int>(VariantType::Float64) == VT_R8 &&
              static_cast<int>(VariantType::String) == VT_BSTR && static_cast<int>(VariantType::Bool) == VT_BOOL &&
              static_cast<int>(VariantType::UInt8) == VT_UI1 && static_cast<int>(VariantType::UInt32) == VT_UI4 &&
              static_cast<int>(VariantType::UInt8Array) == (VT_ARRAY | VT_UI1) &&
              static_cast<int>(VariantType::StringArray) == (VT_ARRAY | VT_BSTR));
static_assert(hresult::kOk == S_OK && hresult::kFalse == S_FALSE && hresult::kUnexpected == E_UNEXPECTED &&
              hresult::kOutOfMemory == E_OUTOFMEMORY && hresult::kFail == E_FAIL &&
              hresult::kRpcChangedMode == RPC_E_CHANGED_MODE && hresult::kRpcTooLate == RPC_E_TOO_LATE &&
              hresult::kDispBadIndex == DISP_E_BADINDEX && hresult::kCoNotInitialized == CO_E_NOTINITIALIZED &&
              hresult::kNoInterface == E_NOINTERFACE &&
              hresult::kRpcServerUnavailable == HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE));
static_assert(hresult::kWbemSFalse == WBEM_S_FALSE && hresult::kWbemFailed == static_cast<Hresult>(WBEM_E_FAILED) &&
              hresult::kWbemNotFound == static_cast<Hresult>(WBEM_E_NOT_FOUND) &&
              hresult::kWbemInvalidNamespace == static_cast<Hresult>(WBEM_E_INVALID_NAMESPACE) &&
              hresult::kWbemInvalidClass == static_cast<Hresult>(WBEM_E_INVALID_CLASS) &&
              hresult::kWbemInvalidQuery == static_cast<Hresult>(WBEM_E_INVALID_QUERY) &&
              hresult::kWbemInvalidQueryType == static_cast<Hresult>(WBEM_E_INVALID_QUERY_TYPE) &&
              hresult::kWbemInvalidParameter == static_cast<Hresult>(WBEM_E_INVALID_PARAMETER));

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
