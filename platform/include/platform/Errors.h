#pragma once

#include <cstdint>

// HRESULTs and Win32 error codes, numbered as in winerror.h. The ports use them on every operating system.
namespace orbis::platform {

using Hresult = std::int32_t;

[[nodiscard]] constexpr bool Failed(Hresult result) noexcept { return result < 0; }

namespace hresult {
constexpr Hresult Make(std::uint32_t bits) noexcept { return static_cast<Hresult>(bits); }

inline constexpr Hresult kOk = 0;
inline constexpr Hresult kFalse = 1;
inline constexpr Hresult kNotImplemented = Make(0x80004001);        // E_NOTIMPL
inline constexpr Hresult kNoInterface = Make(0x80004002);           // E_NOINTERFACE
inline constexpr Hresult kFail = Make(0x80004005);                  // E_FAIL
inline constexpr Hresult kUnexpected = Make(0x8000FFFF);            // E_UNEXPECTED
inline constexpr Hresult kCoNotInitialized = Make(0x800401F0);      // CO_E_NOTINITIALIZED
inline constexpr Hresult kAccessDenied = Make(0x80070005);          // E_ACCESSDENIED
inline constexpr Hresult kOutOfMemory = Make(0x8007000E);           // E_OUTOFMEMORY
inline constexpr Hresult kInvalidArgument = Make(0x80070057);       // E_INVALIDARG
inline constexpr Hresult kRpcChangedMode = Make(0x80010106);        // RPC_E_CHANGED_MODE
inline constexpr Hresult kRpcTooLate = Make(0x80010119);            // RPC_E_TOO_LATE
inline constexpr Hresult kRpcServerUnavailable = Make(0x800706BA);  // RPC_S_SERVER_UNAVAILABLE
inline constexpr Hresult kDispBadIndex = Make(0x8002000B);          // DISP_E_BADINDEX
inline constexpr Hresult kWbemSFalse = 1;                           // WBEM_S_FALSE
inline constexpr Hresult kWbemFailed = Make(0x80041001);            // WBEM_E_FAILED
inline constexpr Hresult kWbemNotFound = Make(0x80041002);          // WBEM_E_NOT_FOUND
inline constexpr Hresult kWbemInvalidParameter = Make(0x80041008);
inline constexpr Hresult kWbemInvalidNamespace = Make(0x8004100E);
inline constexpr Hresult kWbemInvalidClass = Make(0x80041010);
inline constexpr Hresult kWbemInvalidQuery = Make(0x80041017);
inline constexpr Hresult kWbemInvalidQueryType = Make(0x80041018);
inline constexpr Hresult kClassNotRegistered = Make(0x80040154);  // REGDB_E_CLASSNOTREG
}  // namespace hresult

namespace win32 {
inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kInvalidFunction = 1;  // ERROR_INVALID_FUNCTION: the device does not have this request
inline constexpr std::uint32_t kFileNotFound = 2;
inline constexpr std::uint32_t kPathNotFound = 3;
inline constexpr std::uint32_t kTooManyOpenFiles = 4;
inline constexpr std::uint32_t kAccessDenied = 5;
inline constexpr std::uint32_t kInvalidHandle = 6;
inline constexpr std::uint32_t kNotEnoughMemory = 8;
inline constexpr std::uint32_t kInvalidData = 13;
inline constexpr std::uint32_t kBadUnit = 20;
inline constexpr std::uint32_t kNotReady = 21;
inline constexpr std::uint32_t kCrc = 23;
inline constexpr std::uint32_t kBadLength = 24;
inline constexpr std::uint32_t kGenFailure = 31;
inline constexpr std::uint32_t kSharingViolation = 32;
inline constexpr std::uint32_t kNotSupported = 50;
inline constexpr std::uint32_t kDevNotExist = 55;
inline constexpr std::uint32_t kInvalidParameter = 87;
inline constexpr std::uint32_t kSemTimeout = 121;
inline constexpr std::uint32_t kInsufficientBuffer = 122;
inline constexpr std::uint32_t kInvalidName = 123;
inline constexpr std::uint32_t kBusy = 170;
inline constexpr std::uint32_t kMoreData = 234;
inline constexpr std::uint32_t kNoMoreItems = 259;
inline constexpr std::uint32_t kInvalidFlags = 1004;
inline constexpr std::uint32_t kIoDevice = 1117;
inline constexpr std::uint32_t kDeviceNotConnected = 1167;
inline constexpr std::uint32_t kNotFound = 1168;
inline constexpr std::uint32_t kInvalidUserBuffer = 1784;
inline constexpr std::uint32_t kNoSuchDevice = 433;
}  // namespace win32

// HRESULT_FROM_WIN32: an error code as an HRESULT of the Win32 facility; 0 stays S_OK.
[[nodiscard]] constexpr Hresult HresultFromWin32(std::uint32_t error) noexcept
{
    const auto bits = static_cast<Hresult>(error);
    return bits <= 0 ? bits : hresult::Make((error & 0x0000FFFFU) | 0x80070000U);
}

}  // namespace orbis::platform
