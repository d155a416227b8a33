#include "Common/ResultException.h"

#include <fmt/format.h>

namespace Veyra::Orbis::Cpp::Common {

ResultException::ResultException(Hresult result, std::string_view unit, std::int32_t line)
    : m_Result(result),
      m_Unit(unit),
      m_Line(line),
      m_What(fmt::format("HRESULT 0x{:08X} at {} line {}", static_cast<std::uint32_t>(result), unit, line))
{}

void ThrowWin32(std::uint32_t error, std::string_view unit, std::int32_t line)
{
    const Hresult result = orbis::platform::HresultFromWin32(error);
    throw ResultException(orbis::platform::Failed(result) ? result : orbis::platform::hresult::kUnexpected, unit, line);
}

}  // namespace Veyra::Orbis::Cpp::Common
