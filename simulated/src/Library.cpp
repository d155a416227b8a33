#include "simulated/Library.h"

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

}  // namespace
}  // namespace orbis::simulated

extern "C" const orbis::simulated::Library* OrbisSimulatedLibrary() noexcept
{
    static constexpr orbis::simulated::Library kLibrary{orbis::simulated::Load, orbis::simulated::Validate, orbis::simulated::Show};
    return &kLibrary;
}
