#include <sstream>
#include <string>

#include "Commands.h"
#include "Say.h"
#include "SimulatedMachine.h"
#include "Table.h"

namespace orbis::host {
namespace {

std::string Utf8(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace

int ValidateMachineFiles(const std::vector<std::filesystem::path>& files, Output& output)
{
    bool isUsable = true;
    for (const std::filesystem::path& file : files) {
        const auto findings = ValidateMachine(file);
        for (const auto& finding : findings) {
            isUsable = isUsable && !finding.isError;
            SayPlace(finding.text);
        }
        if (findings.empty()) {
            output.Write(Shown(Utf8(file), output.GetStyle()) + ": ok\n");
        }
    }
    return isUsable ? kExitOk : kExitUsage;
}

int ShowMachineFile(const std::filesystem::path& file, Output& output)
{
    std::istringstream lines(DescribeMachine(file));
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        text += Shown(line, output.GetStyle()) + '\n';
    }
    output.Write(text);
    return kExitOk;
}

}  // namespace orbis::host
