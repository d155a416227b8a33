#pragma once

#include <string>
#include <string_view>

namespace Veyra::Orbis::Cpp::Common {

// The text in lower case, character by character and the same under every locale: Latin (basic, Latin-1, Extended-A and the
// full-width forms), Greek, Cyrillic and Armenian letters by Unicode's simple case mapping. Everything else is not changed. The
// function has its own table, because the result of towlower depends on the locale of the host process.
[[nodiscard]] std::u16string GetLower(std::u16string_view text);

}  // namespace Veyra::Orbis::Cpp::Common
