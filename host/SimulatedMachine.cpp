#include "SimulatedMachine.h"

namespace orbis::host {
namespace {

std::string NameOf(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace

std::unique_ptr<platform::Platform> LoadMachine(const std::filesystem::path& file)
{
    std::string reason;
    std::unique_ptr<platform::Platform> machine = SimulatedLibrary().load(NameOf(file), reason);
    if (machine == nullptr) {
        throw MachineFileError(reason);
    }
    return machine;
}

std::vector<simulated::Library::Finding> ValidateMachine(const std::filesystem::path& file)
{
    return SimulatedLibrary().validate(NameOf(file));
}

std::string DescribeMachine(const std::filesystem::path& file)
{
    std::string text;
    if (!SimulatedLibrary().show(NameOf(file), text)) {
        throw MachineFileError(text);
    }
    return text;
}

void DescribeForRecording(const platform::Platform& machine, insight::Recording& recording)
{
    SimulatedLibrary().describe(machine, recording);
}

std::vector<std::string> NotRecorded(const platform::Platform& machine) { return SimulatedLibrary().notRecorded(machine); }

}  // namespace orbis::host
