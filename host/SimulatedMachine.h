#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulated/Library.h"

// Simulated machines. Their library is loaded when the first of these functions is called: most runs never need it.
namespace orbis::host {

// No machine can be made of a file; what() names the place and the way out.
class MachineFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws MachineFileError.
[[nodiscard]] std::unique_ptr<platform::Platform> LoadMachine(const std::filesystem::path& file);
[[nodiscard]] std::vector<simulated::Library::Finding> ValidateMachine(const std::filesystem::path& file);
// What a file describes, for people. Throws MachineFileError.
[[nodiscard]] std::string DescribeMachine(const std::filesystem::path& file);
// Of a machine that LoadMachine gave: title, system, code page and rights for a recording of it.
void DescribeForRecording(const platform::Platform& machine, insight::Recording& recording);
// Of a machine that is a recording: requests that it lacks, for people.
[[nodiscard]] std::vector<std::string> NotRecorded(const platform::Platform& machine);

// The library, of the operating system's kind. Throws std::runtime_error when it cannot be loaded.
[[nodiscard]] const simulated::Library& SimulatedLibrary();

}  // namespace orbis::host
