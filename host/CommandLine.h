#pragma once

#include "Output.h"

namespace orbis::host {

// Understands the arguments, runs the command that they name and returns the exit status. Nothing is thrown: what goes wrong is
// reported on standard error.
[[nodiscard]] int RunCommandLine(int argc, const char* const* argv, Output& output);

}  // namespace orbis::host
