#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "platform/Errors.h"

namespace Veyra::Orbis::Cpp::Common {

using orbis::platform::Hresult;

// The native library's failure: an HRESULT with the source unit and line that raised it, which support engineers quote.
class ResultException : public std::exception {
public:
    // `unit` is the source path below the source root without extension and must outlive the exception (a literal).
    ResultException(Hresult result, std::string_view unit, std::int32_t line);

    [[nodiscard]] Hresult Result() const noexcept { return m_Result; }
    [[nodiscard]] std::string_view Unit() const noexcept { return m_Unit; }
    [[nodiscard]] std::int32_t Line() const noexcept { return m_Line; }
    // "HRESULT 0x80070005 at cpp\Common\src\HardwareAccess line 48"
    [[nodiscard]] const char* what() const noexcept override { return m_What.c_str(); }

private:
    Hresult m_Result;
    std::string_view m_Unit;
    std::int32_t m_Line;
    std::string m_What;
};

// Raises the HRESULT of a Win32 error code. A code of 0 (a failing call that set none) raises E_UNEXPECTED, never success.
[[noreturn]] void ThrowWin32(std::uint32_t error, std::string_view unit, std::int32_t line);

// Raises a failing HRESULT; does nothing for success codes.
inline void ThrowIfFailed(Hresult result, std::string_view unit, std::int32_t line)
{
    if (orbis::platform::Failed(result)) {
        throw ResultException(result, unit, line);
    }
}

}  // namespace Veyra::Orbis::Cpp::Common
