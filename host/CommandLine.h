#pragma once

namespace orbis::host {

// The whole program: understands the arguments, which are UTF-8 on every system, runs the command that they name and returns the
// exit status. What goes wrong is reported on standard error.
[[nodiscard]] int RunProgram(int argc, const char* const* argv);

}  // namespace orbis::host
