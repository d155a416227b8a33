#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulated/Library.h"

// Simulated machines. Their library is loaded by the first call of one of these functions, because most runs do not need it.
namespace orbis::host {

// A file that describes no valid machine; what() names the place and the way out.
class MachineFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws MachineFileError.
[[nodiscard]] std::unique_ptr<platform::Platform> LoadMachine(const std::filesystem::path& file);
[[nodiscard]] std::vector<simulated::Library::Finding> ValidateMachine(const std::filesystem::path& file);
// A description of a file's machine for people. Throws MachineFileError.
[[nodiscard]] std::string DescribeMachine(const std::filesystem::path& file);
// Fills in title, system, code page and rights of a recording of a machine that LoadMachine returned.
void DescribeForRecording(const platform::Platform& machine, insight::Recording& recording);
// The requests that a recording lacks, for people.
[[nodiscard]] std::vector<std::string> NotRecorded(const platform::Platform& machine);

// The loaded library. Throws std::runtime_error when it cannot be loaded.
[[nodiscard]] const simulated::Library& SimulatedLibrary();

}  // namespace orbis::host
