#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "simulated/Export.h"
#include "simulated/Machine.h"

namespace orbis::simulated {

// Something wrong, or worth a second look, at a place of a machine file.
struct Finding {
    enum class Severity {
        Error,    // no machine can be made of the file
        Warning,  // a machine can be made, but no ordinary one looks like this
    };
    Severity severity = Severity::Error;
    std::string file;
    int line = 0;         // from 1; 0 when the place is not known
    int column = 0;       // from 1; 0 when the place is not known
    std::string field;    // path, such as disk[1].nvme.log_page[0].content.hex
    std::string message;  // what is wrong
    std::string hint;     // what to do about it

    // "file:line:column: severity: field: message; way out" with what is known of it.
    [[nodiscard]] ORBIS_SIMULATED_EXPORT std::string Text() const;
};

// No machine can be made of a file. what() is the finding's text.
class ORBIS_SIMULATED_EXPORT MachineFileError : public std::runtime_error {
public:
    explicit MachineFileError(Finding finding);
    ~MachineFileError() override;

    [[nodiscard]] const Finding& What() const noexcept { return m_Finding; }

private:
    Finding m_Finding;
};

// The machine that the file at `path` (UTF-8) describes. Throws MachineFileError, also when the file cannot be read.
[[nodiscard]] ORBIS_SIMULATED_EXPORT std::unique_ptr<Machine> LoadMachineFile(const std::string& path);
// The machine that `text` describes; `name` is the file's name in messages. Throws MachineFileError.
[[nodiscard]] ORBIS_SIMULATED_EXPORT std::unique_ptr<Machine> ParseMachine(std::string_view text,
                                                                           const std::string& name = "machine");

// Everything that is wrong or odd with a machine file, in the order of the file; empty for an ordinary machine. Never throws for
// the file's content; a file that cannot be read is a finding too.
[[nodiscard]] ORBIS_SIMULATED_EXPORT std::vector<Finding> ValidateMachine(std::string_view text,
                                                                          const std::string& name = "machine");
[[nodiscard]] ORBIS_SIMULATED_EXPORT std::vector<Finding> ValidateMachineFile(const std::string& path);

// A description of a file's machine for people: disks, partitions, volumes, firmware, WMI classes. Throws MachineFileError.
[[nodiscard]] ORBIS_SIMULATED_EXPORT std::string ShowMachine(std::string_view text, const std::string& name = "machine");
[[nodiscard]] ORBIS_SIMULATED_EXPORT std::string ShowMachineFile(const std::string& path);

}  // namespace orbis::simulated
