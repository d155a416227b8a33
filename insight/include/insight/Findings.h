#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "insight/Export.h"
#include "insight/Journal.h"

namespace orbis::insight {

// Something that a reader of the datatypes would take for "nothing is wrong", because the collectors do not report it.
struct Finding {
    std::string kind;     // stable name for programs, such as "access-denied"
    std::string subject;  // the disk ("DISK0"), letter ("C:"), device path or WMI namespace concerned; empty: the system
    std::string text;     // for people: what was found and which data is missing because of it; no full stop at the end
    std::string remedy;   // what can be done
    std::vector<std::string> datatypes;  // short names of the datatypes that lack data because of it

    friend bool operator==(const Finding&, const Finding&) = default;
};

// The kind of a refusal because of missing rights. Its text is this and the path that was refused, with the system's own path of
// the disk where there is one: "no access to \\.\PhysicalDrive0 (/dev/nvme0n1)".
inline constexpr const char* kAccessDenied = "access-denied";
inline constexpr std::string_view kNoAccess = "no access to ";

// Reads findings from a journal, pass by pass. A finding is reported once, and again if it returns after a pass in which its
// subject was asked and it did not hold. For one thread at a time.
class ORBIS_INSIGHT_EXPORT Findings {
public:
    Findings();
    ~Findings();
    Findings(const Findings&) = delete;
    Findings& operator=(const Findings&) = delete;

    // Reads what was kept; any number of times during a pass.
    void Read(const Extract& extract);
    // Ends the pass and gives what was found in it and not already before, in the order of kind and subject.
    [[nodiscard]] std::vector<Finding> EndPass();
    // All findings that hold now.
    [[nodiscard]] std::vector<Finding> Current() const;

private:
    class Passes;
    std::unique_ptr<Passes> m_Passes;
};

}  // namespace orbis::insight
