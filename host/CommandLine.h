#pragma once

namespace orbis::host {

// The whole program: parses the arguments, which are UTF-8 on every system, runs the command that they name and returns the exit
// status. Errors are reported on standard error.
[[nodiscard]] int RunProgram(int argc, const char* const* argv);

}  // namespace orbis::host
