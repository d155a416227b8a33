#include "CommandLine.h"

// Only a want of memory can leave it, before there is anything to lose.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) { return orbis::host::RunProgram(argc, argv); }
