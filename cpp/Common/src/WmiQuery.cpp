#include "Common/WmiQuery.h"

#include <string_view>

#include "Common/ResultException.h"

namespace Veyra::Orbis::Cpp::Common {

using orbis::platform::ComObject;
using orbis::platform::ComReference;
using orbis::platform::ComString;
using orbis::platform::ComVariant;
namespace hresult = orbis::platform::hresult;

namespace {

// The lines that failures carry are fixed, because logs quote them; they are not lines of this file.
constexpr std::string_view kQueryUnit = R"(cpp\Common\src\WmiQuery)";

constexpr std::uint32_t kAuthenticationWinNt = 10;    // RPC_C_AUTHN_WINNT
constexpr std::uint32_t kAuthorizationNone = 0;       // RPC_C_AUTHZ_NONE
constexpr std::uint32_t kAuthenticationCall = 3;      // RPC_C_AUTHN_LEVEL_CALL
constexpr std::uint32_t kImpersonate = 3;             // RPC_C_IMP_LEVEL_IMPERSONATE
constexpr std::uint32_t kNoCapabilities = 0;          // EOAC_NONE
constexpr std::int32_t kForwardOnlyImmediate = 0x30;  // WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY
constexpr std::uint32_t kInfinite = 0xFFFFFFFF;       // WBEM_INFINITE

// A new string of `text`; freed by the caller's ComString.
orbis::platform::Bstr Allocate(orbis::platform::Wmi& port, const char16_t* text, std::int32_t line)
{
    const orbis::platform::Bstr string = port.AllocateString(text);
    if (string == nullptr) {
        throw ResultException(hresult::kOutOfMemory, kQueryUnit, line);
    }
    return string;
}

}  // namespace

void WmiQuery::Connect(const char16_t* path)
{
    const ComString pathString(Port(), Allocate(Port(), path, 34));

    m_Locator.Reset();
    ComObject* locator = nullptr;
    const Hresult created = Port().CreateLocator(&locator);
    m_Locator = ComReference(Port(), locator);
    ThrowIfFailed(created, kQueryUnit, 35);

    m_Services.Reset();
    ComObject* services = nullptr;
    const Hresult connected = Port().ConnectServer(m_Locator.Get(), pathString.Get(), &services);
    m_Services = ComReference(Port(), services);
    ThrowIfFailed(connected, kQueryUnit, 36);

    ThrowIfFailed(Port().SetProxyBlanket(m_Services.Get(), kAuthenticationWinNt, kAuthorizationNone, kAuthenticationCall,
                                         kImpersonate, kNoCapabilities),
                  kQueryUnit, 37);
}

void WmiQuery::Execute(const char16_t* query)
{
    if (!m_Services) {
        throw ResultException(hresult::kFail, kQueryUnit, 42);
    }
    const ComString queryString(Port(), Allocate(Port(), query, 44));
    const ComString language(Port(), Allocate(Port(), u"WQL", 46));

    m_Enumerator.Reset();
    ComObject* enumerator = nullptr;
    const Hresult executed =
        Port().ExecQuery(m_Services.Get(), language.Get(), queryString.Get(), kForwardOnlyImmediate, &enumerator);
    m_Enumerator = ComReference(Port(), enumerator);
    ThrowIfFailed(executed, kQueryUnit, 48);
}

Hresult WmiQuery::Next()
{
    m_CurrentRow.Reset();
    ComObject* row = nullptr;
    const Hresult fetched = Port().Next(m_Enumerator.Get(), kInfinite, &row, &m_ReturnedCount);
    m_CurrentRow = ComReference(Port(), row);
    return fetched;
}

Hresult WmiQuery::Get(const char16_t* name, ComVariant& value) const
{
    return m_CurrentRow ? Port().Get(m_CurrentRow.Get(), name, value.Put()) : hresult::kUnexpected;
}

}  // namespace Veyra::Orbis::Cpp::Common
