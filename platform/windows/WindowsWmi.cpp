#include "WindowsWmi.h"

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

}  // namespace

Hresult WindowsWmi::InitializeCom(std::uint32_t flags) { return ::CoInitializeEx(nullptr, flags); }

Hresult WindowsWmi::InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                                       std::uint32_t impersonationLevel, std::uint32_t capabilities)
{
    return ::CoInitializeSecurity(nullptr, authenticationServices, nullptr, nullptr, authenticationLevel, impersonationLevel,
                                  nullptr, capabilities, nullptr);
}

void WindowsWmi::UninitializeCom() noexcept { ::CoUninitialize(); }

Bstr WindowsWmi::AllocateString(const char16_t* text) { return reinterpret_cast<Bstr>(::SysAllocString(AsWide(text))); }

void WindowsWmi::FreeString(Bstr text) noexcept { ::SysFreeString(AsBstr(text)); }

std::uint32_t WindowsWmi::StringLength(Bstr text) const noexcept { return ::SysStringLen(AsBstr(text)); }

Hresult WindowsWmi::CreateLocator(ComObject** locator)
{
    IWbemLocator* created = nullptr;
    const HRESULT result =
        ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator, reinterpret_cast<void**>(&created));
    *locator = FromInterface(created);
    return result;
}

Hresult WindowsWmi::ConnectServer(ComObject* locator, Bstr path, ComObject** services)
{
    IWbemServices* connected = nullptr;
    const HRESULT result =
        As<IWbemLocator>(locator)->ConnectServer(AsBstr(path), nullptr, nullptr, nullptr, 0, nullptr, nullptr, &connected);
    *services = FromInterface(connected);
    return result;
}

Hresult WindowsWmi::SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                                    std::uint32_t authenticationLevel, std::uint32_t impersonationLevel, std::uint32_t capabilities)
{
    return ::CoSetProxyBlanket(As<IUnknown>(services), authentication, authorization, nullptr, authenticationLevel,
                               impersonationLevel, nullptr, capabilities);
}

Hresult WindowsWmi::ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator)
{
    IEnumWbemClassObject* rows = nullptr;
    const HRESULT result = As<IWbemServices>(services)->ExecQuery(AsBstr(language), AsBstr(query), flags, nullptr, &rows);
    *enumerator = FromInterface(rows);
    return result;
}

Hresult WindowsWmi::Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned)
{
    IWbemClassObject* row = nullptr;
    ULONG count = 0;
    const HRESULT result = As<IEnumWbemClassObject>(enumerator)->Next(static_cast<LONG>(timeout), 1, &row, &count);
    *object = FromInterface(row);
    *returned = count;
    return result;
}

Hresult WindowsWmi::Get(ComObject* object, const char16_t* name, Variant* value)
{
    // All zero: VariantInit and a NULL property set the type alone, and readers take the payload of NULL for a null pointer.
    VARIANT native{};
    const HRESULT result = As<IWbemClassObject>(object)->Get(AsWide(name), 0, &native, nullptr, nullptr);
    value->type = static_cast<VariantType>(native.vt);
    value->payload = native.ullVal;
    return result;
}

void WindowsWmi::Release(ComObject* object) noexcept
{
    if (object != nullptr) {
        As<IUnknown>(object)->Release();
    }
}

void WindowsWmi::ClearVariant(Variant* value) noexcept
{
    VARIANT native;
    ::VariantInit(&native);
    native.vt = static_cast<VARTYPE>(value->type);
    native.ullVal = value->payload;
    ::VariantClear(&native);
    *value = Variant{};
}

Hresult WindowsWmi::ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound)
{
    LONG upper = 0;
    const HRESULT result = ::SafeArrayGetUBound(AsSafeArray(array), dimension, &upper);
    *bound = upper;
    return result;
}

Hresult WindowsWmi::ArrayElement(SafeArray* array, std::int32_t index, void* element)
{
    LONG at = index;
    return ::SafeArrayGetElement(AsSafeArray(array), &at, element);
}

SafeArrayBounds WindowsWmi::ArrayBounds(const SafeArray* array) const noexcept
{
    const SAFEARRAYBOUND& first = reinterpret_cast<const SAFEARRAY*>(array)->rgsabound[0];
    return {first.lLbound, first.cElements};
}

}  // namespace orbis::platform
