#include "CommandLine.h"
#include "Output.h"
#include "Terminal.h"

using namespace orbis::host;

// Only a want of memory can leave it, before there is anything to lose.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv)
{
    RestrictLibrarySearch();
    PrepareStandardStreams();
    Output output(GetOutputStyle());
    return output.Finish(RunCommandLine(argc, argv, output));
}
