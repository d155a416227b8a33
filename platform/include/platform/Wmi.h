#pragma once

#include <cstdint>

#include "platform/Errors.h"
#include "platform/Export.h"
#include "platform/Owned.h"

namespace orbis::platform {

struct ComObject;              // an interface pointer: IWbemLocator, IWbemServices, IEnumWbemClassObject or IWbemClassObject
struct SafeArray;              // SAFEARRAY
using Bstr = const char16_t*;  // BSTR; null is no string

// Variant types (VARENUM) that WMI properties have.
enum class VariantType : std::uint16_t {
    Empty = 0,
    Null = 1,
    Int16 = 2,
    Int32 = 3,
    Float32 = 4,
    Float64 = 5,
    String = 8,  // VT_BSTR; its pointer may be null
    Bool = 11,   // VARIANT_BOOL: 0 or -1 in the low 16 bits
    UInt8 = 17,
    UInt32 = 19,
    ArrayFlag = 0x2000,
    UInt8Array = 0x2011,
    StringArray = 0x2008,
};

// A VARIANT's type and the first eight bytes of its payload, as they are in memory. A property keeps its type here: a reader that
// does not look at the type gets the raw payload, as on Windows.
struct Variant {
    VariantType type = VariantType::Empty;
    std::uint64_t payload = 0;

    [[nodiscard]] Bstr AsString() const noexcept { return reinterpret_cast<Bstr>(static_cast<std::uintptr_t>(payload)); }
    [[nodiscard]] SafeArray* AsArray() const noexcept { return reinterpret_cast<SafeArray*>(static_cast<std::uintptr_t>(payload)); }
};

// First dimension of a safe array, read from its descriptor.
struct SafeArrayBounds {
    std::int32_t lower = 0;
    std::uint32_t count = 0;
};

// COM and WMI, one operation per call that can fail on its own. Objects are confined to the thread that made them.
class Wmi {
public:
    virtual ~Wmi() = default;

    // CoInitializeEx(NULL, flags): kOk, kFalse (already initialised), or kRpcChangedMode on a single-threaded-apartment thread.
    virtual Hresult InitializeCom(std::uint32_t flags) = 0;
    // CoInitializeSecurity(NULL, authenticationServices, NULL, NULL, authenticationLevel, impersonationLevel, NULL, capabilities,
    // NULL).
    virtual Hresult InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                                       std::uint32_t impersonationLevel, std::uint32_t capabilities) = 0;
    // CoUninitialize.
    virtual void UninitializeCom() noexcept = 0;

    // SysAllocString of a zero-terminated text; null when memory is short. Free with FreeString.
    [[nodiscard]] virtual Bstr AllocateString(const char16_t* text) = 0;
    virtual void FreeString(Bstr text) noexcept = 0;
    // SysStringLen: characters without the terminator; 0 for null.
    [[nodiscard]] virtual std::uint32_t StringLength(Bstr text) const noexcept = 0;

    // CoCreateInstance(CLSID_WbemLocator, NULL, CLSCTX_INPROC_SERVER, IID_IWbemLocator). Results of this and of the following
    // operations are owned by the caller and given back with Release.
    [[nodiscard]] virtual Hresult CreateLocator(ComObject** locator) = 0;
    // IWbemLocator::ConnectServer(path, no user, password, locale, flags, authority, context). Unknown path: kWbemInvalidNamespace.
    [[nodiscard]] virtual Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) = 0;
    // CoSetProxyBlanket(services, authentication, authorization, NULL, authenticationLevel, impersonationLevel, NULL,
    // capabilities).
    [[nodiscard]] virtual Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                                                  std::uint32_t authenticationLevel, std::uint32_t impersonationLevel,
                                                  std::uint32_t capabilities) = 0;
    // IWbemServices::ExecQuery(language, query, flags, no context). Rows of any class come by the query's FROM. With
    // WBEM_FLAG_RETURN_IMMEDIATELY an unknown class may be reported by the first Next instead.
    [[nodiscard]] virtual Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags,
                                            ComObject** enumerator) = 0;
    // IEnumWbemClassObject::Next(timeout, 1, object, returned). The end of the rows: kWbemSFalse, *returned 0, *object null.
    [[nodiscard]] virtual Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object,
                                       std::uint32_t* returned) = 0;
    // IWbemClassObject::Get(name, 0, value, NULL, NULL). `value` is cleared by the caller. No such property: kWbemNotFound.
    [[nodiscard]] virtual Hresult Get(ComObject* object, const char16_t* name, Variant* value) = 0;
    // IUnknown::Release; null is ignored.
    virtual void Release(ComObject* object) noexcept = 0;

    // VariantClear: frees what the variant holds and makes it empty.
    virtual void ClearVariant(Variant* value) noexcept = 0;
    // SafeArrayGetUBound of dimension `dimension` (from 1).
    [[nodiscard]] virtual Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) = 0;
    // SafeArrayGetElement of a one-dimensional array: copies one element; a string element is a new one, freed with FreeString.
    [[nodiscard]] virtual Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) = 0;
    // rgsabound[0] of the array's descriptor.
    [[nodiscard]] virtual SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept = 0;

    // The port that is in force now (see Platform::Current).
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static Wmi& Current() noexcept;
};

// One interface.
using ComReference = Owned<Wmi, ComObject*, &Wmi::Release, nullptr>;

// Owns one BSTR.
class ComString {
public:
    ComString(Wmi& port, Bstr text) noexcept : m_Port(port), m_Text(text) {}
    ComString(const ComString&) = delete;
    ComString& operator=(const ComString&) = delete;
    ~ComString()
    {
        if (m_Text != nullptr) {
            m_Port.FreeString(m_Text);
        }
    }

    [[nodiscard]] Bstr Get() const noexcept { return m_Text; }

private:
    Wmi& m_Port;
    Bstr m_Text;
};

// Owns one variant; starts empty (VariantInit) and is cleared at the end.
class ComVariant {
public:
    explicit ComVariant(Wmi& port) noexcept : m_Port(port) {}
    ComVariant(const ComVariant&) = delete;
    ComVariant& operator=(const ComVariant&) = delete;
    ~ComVariant() { m_Port.ClearVariant(&m_Value); }

    [[nodiscard]] const Variant& Get() const noexcept { return m_Value; }
    [[nodiscard]] Variant* Put() noexcept { return &m_Value; }

private:
    Wmi& m_Port;
    Variant m_Value{};
};

}  // namespace orbis::platform
