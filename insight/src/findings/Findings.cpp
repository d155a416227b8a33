#include "insight/Findings.h"

#include <charconv>

#include <fmt/format.h>

#include "Rules.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/SystemPath.h"
#include "platform/Text.h"

namespace orbis::insight {

class Findings::Passes {
public:
    std::vector<std::unique_ptr<FindingRule>> rules;
    Notes notes;                           // of the current pass
    std::map<Notes::Key, Finding> active;  // findings that hold after the passes that ended
    bool isOfSystem = false;
};

Findings::Findings() : m_Passes(std::make_unique<Passes>())
{
    for (const auto make :
         {MakeAccessRule, MakeDeviceRule, MakeWalkRule, MakeNvmeRule, MakeInventoryRule, MakeLibraryRule, MakeCounterRule}) {
        m_Passes->rules.push_back(make());
    }
}
Findings::~Findings() = default;

void Findings::Read(const Extract& extract)
{
    constexpr const char* kFull = "journal-full";
    for (const Record& record : extract.records) {
        for (const auto& rule : m_Passes->rules) {
            rule->Read(record, m_Passes->notes);
        }
    }
    m_Passes->isOfSystem = extract.isOfSystem;
    m_Passes->notes.Asked(kFull, {});
    if (extract.lost > 0) {
        m_Passes->notes.Raise({kFull,
                               {},
                               fmt::format("{} requests were not observed: the journal was full", extract.lost),
                               "collect fewer datatypes in a pass",
                               {}});
    }
}

std::vector<Finding> Findings::EndPass()
{
    Notes& notes = m_Passes->notes;
    for (const auto& rule : m_Passes->rules) {
        rule->EndPass(notes);
    }
    // Adds the system's own path to the name that Windows would use.
    for (auto& [key, finding] : notes.raised) {
        if (m_Passes->isOfSystem && finding.kind == kAccessDenied) {
            const auto number = DriveNumberOf(platform::Utf8ToUtf16(finding.text.substr(kNoAccess.size())));
            const std::string path = number ? platform::SystemPathOfDrive(*number) : std::string();
            finding.text += path.empty() ? "" : fmt::format(" ({})", path);
        }
    }
    auto& active = m_Passes->active;
    std::erase_if(active, [&](const auto& one) { return notes.asked.contains(one.first) && !notes.raised.contains(one.first); });
    std::vector<Finding> fresh;
    for (auto& [key, finding] : notes.raised) {
        if (active.insert_or_assign(key, finding).second) {
            fresh.push_back(std::move(finding));
        }
    }
    notes = {};
    return fresh;
}

std::vector<Finding> Findings::Current() const
{
    std::vector<Finding> current;
    for (const auto& [key, finding] : m_Passes->active) {
        current.push_back(finding);
    }
    return current;
}

std::optional<std::uint32_t> DriveNumberOf(std::u16string_view path)
{
    constexpr std::string_view kPrefix = "\\\\.\\PhysicalDrive";
    const std::string text = platform::Utf16ToUtf8(path);
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    if (!text.starts_with(kPrefix) || text.size() == kPrefix.size() ||
        std::from_chars(text.data() + kPrefix.size(), end, number).ptr != end) {
        return std::nullopt;
    }
    return number;
}

const char* RemedyFor(std::uint32_t error, const char* otherwise) noexcept
{
    return error == platform::win32::kAccessDenied       ? kMoreRights
           : error == platform::win32::kSharingViolation ? "close the program that uses it"
                                                         : otherwise;
}

std::string DiskName(std::uint32_t number) { return fmt::format("DISK{}", number); }

std::string SubjectOf(std::u16string_view path)
{
    if (const auto number = DriveNumberOf(path)) {
        return DiskName(*number);
    }
    const char letter = DrivePaths::LetterOf(path);
    return letter != '\0' ? std::string{letter, ':'} : platform::Utf16ToUtf8(path);
}

std::optional<std::uint32_t> DeviceNumberOf(const call::Control& control)
{
    const auto answer = HeadOf<platform::StorageDeviceNumber>(control.output);
    if (control.code != platform::kIoctlStorageGetDeviceNumber || !control.succeeded || control.returned != sizeof(*answer)) {
        return std::nullopt;
    }
    return answer ? std::optional(answer->deviceNumber) : std::nullopt;
}

}  // namespace orbis::insight
