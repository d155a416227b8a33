#include "CommandLine.h"

// Only std::bad_alloc can leave RunProgram, before anything was collected.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) { return orbis::host::RunProgram(argc, argv); }
