#include <cstdio>
#include <string>

#include "Commands.h"
#include "Table.h"
#include "simulated/MachineFile.h"

namespace orbis::host {
namespace {

// The path as UTF-8, as the machine library takes it.
std::string Utf8(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace

int ValidateMachineFiles(const std::vector<std::filesystem::path>& files)
{
    bool isUsable = true;
    for (const std::filesystem::path& file : files) {
        const auto findings = simulated::ValidateMachineFile(Utf8(file));
        for (const simulated::Finding& finding : findings) {
            isUsable = isUsable && finding.severity != simulated::Finding::Severity::Error;
            std::fprintf(stderr, "%s\n", Printable(finding.Text()).c_str());
        }
        if (findings.empty()) {
            std::printf("%s: ok\n", Printable(Utf8(file)).c_str());
        }
    }
    return isUsable ? kExitOk : kExitUsage;
}

int ShowMachineFile(const std::filesystem::path& file)
{
    try {
        const std::string text = simulated::ShowMachineFile(Utf8(file));
        std::fwrite(text.data(), 1, text.size(), stdout);
        return kExitOk;
    } catch (const simulated::MachineFileError& error) {
        std::fprintf(stderr, "%s\n", Printable(error.what()).c_str());
        return kExitUsage;
    }
}

}  // namespace orbis::host
