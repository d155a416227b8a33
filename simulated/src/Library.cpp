#include "simulated/Library.h"

#include <utility>

#include "orbis/simulated/machine.pb.h"
#include "simulated/MachineFile.h"

namespace orbis::simulated {
namespace {

std::unique_ptr<platform::Platform> Load(const std::string& path, std::string& reason)
{
    try {
        return LoadMachineFile(path);
    } catch (const MachineFileError& error) {
        reason = error.what();
        return nullptr;
    }
}

void OnDelay(platform::Platform& machine, std::function<void(std::chrono::nanoseconds)> wait)
{
    static_cast<Machine&>(machine).OnDelay(std::move(wait));
}

std::vector<Library::Finding> Validate(const std::string& path)
{
    std::vector<Library::Finding> found;
    for (const Finding& finding : ValidateMachineFile(path)) {
        found.push_back({finding.severity == Finding::Severity::Error, finding.Text()});
    }
    return found;
}

bool Show(const std::string& path, std::string& text)
{
    try {
        text = ShowMachineFile(path);
        return true;
    } catch (const MachineFileError& error) {
        text = error.what();
        return false;
    }
}

void Describe(const platform::Platform& machine, insight::Recording& recording)
{
    const description::Machine& origin = static_cast<const Machine&>(machine).Description();
    if (origin.has_recording()) {
        recording.set_system(origin.recording().system());
        recording.set_code_page(origin.recording().code_page());
        recording.set_elevated(origin.recording().elevated());
    } else {
        constexpr std::uint32_t kUtf8 = 65001;
        recording.set_system("a simulated machine");
        recording.set_code_page(origin.has_code_page() ? origin.code_page() : kUtf8);
        recording.set_elevated(!origin.has_elevated() || origin.elevated());
    }
    recording.set_title(!origin.title().empty() ? origin.title() : origin.recording().title());
}

std::vector<std::string> NotRecorded(const platform::Platform& machine)
{
    return static_cast<const Machine&>(machine).NotRecorded();
}

}  // namespace
}  // namespace orbis::simulated

extern "C" const orbis::simulated::Library* OrbisSimulatedLibrary() noexcept
{
    static constexpr orbis::simulated::Library kLibrary{orbis::simulated::Load,     orbis::simulated::OnDelay,
                                                        orbis::simulated::Validate, orbis::simulated::Show,
                                                        orbis::simulated::Describe, orbis::simulated::NotRecorded};
    return &kLibrary;
}
