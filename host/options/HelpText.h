#pragma once

#include <cstddef>
#include <string>

namespace orbis::host {

// A help text with its lines wrapped at so many columns; 0: not wrapped.
[[nodiscard]] std::string Fitted(const std::string& help, std::size_t width);

// The exit statuses, one line each.
[[nodiscard]] std::string ExitStatusFooter();

}  // namespace orbis::host
