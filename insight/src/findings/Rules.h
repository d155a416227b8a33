#pragma once

#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "DrivePaths.h"
#include "insight/ErrorText.h"
#include "insight/Findings.h"

namespace orbis::insight {

// Collects the findings of a pass.
class Notes {
public:
    // The subject was asked: a finding of this kind that is not raised in this pass no longer holds.
    void Asked(std::string_view kind, const std::string& subject) { asked.insert({std::string(kind), subject}); }
    // Adds a finding; the first one of a kind and subject counts.
    void Raise(Finding finding)
    {
        Asked(finding.kind, finding.subject);
        raised.try_emplace({finding.kind, finding.subject}, std::move(finding));
    }

    using Key = std::pair<std::string, std::string>;  // kind and subject
    std::set<Key> asked;
    std::map<Key, Finding> raised;
};

// One rule: reads the calls in order and adds its findings. It may keep state from pass to pass.
class FindingRule {
public:
    virtual ~FindingRule() = default;
    virtual void Read(const Record& record, Notes& notes) = 0;
    virtual void EndPass(Notes& /*notes*/) {}
};

[[nodiscard]] std::unique_ptr<FindingRule> MakeAccessRule();
[[nodiscard]] std::unique_ptr<FindingRule> MakeDeviceRule();
[[nodiscard]] std::unique_ptr<FindingRule> MakeWalkRule();
[[nodiscard]] std::unique_ptr<FindingRule> MakeNvmeRule();
[[nodiscard]] std::unique_ptr<FindingRule> MakeInventoryRule();
[[nodiscard]] std::unique_ptr<FindingRule> MakeLibraryRule();
[[nodiscard]] std::unique_ptr<FindingRule> MakeCounterRule();

inline constexpr const char* kMoreRights = "run this program as administrator, on Linux as root";
// The remedy for a Win32 error of an open or a request if the error implies one, else `otherwise`.
[[nodiscard]] const char* RemedyFor(std::uint32_t error, const char* otherwise) noexcept;

// Names of the datatypes.
namespace datatype {
inline constexpr const char* kDiskStatic = "PhysicalDiskStaticInfo";
inline constexpr const char* kDiskDynamic = "PhysicalDiskDynamicInfo";
inline constexpr const char* kSmartStatic = "SmartStaticInfo";
inline constexpr const char* kSmartDynamic = "SmartDynamicInfo";
inline constexpr const char* kNvmeHealth = "SmartNvmeInfo";
inline constexpr const char* kNvmeIdentify = "NvmeIdentifyControllerData";
}  // namespace datatype

// The query of the inventory.
inline constexpr std::u16string_view kInventoryQuery = u"SELECT * FROM Win32_DiskDrive";

// "DISK0" of \\.\PhysicalDrive0, "C:" of \\.\C:, else the path.
[[nodiscard]] std::string SubjectOf(std::u16string_view path);
// The number of \\.\PhysicalDriveN.
[[nodiscard]] std::optional<std::uint32_t> DriveNumberOf(std::u16string_view path);
[[nodiscard]] std::string DiskName(std::uint32_t number);

// A structure at the start of bytes that are long enough for it.
template <class T>
[[nodiscard]] std::optional<T> HeadOf(const Bytes& bytes)
{
    if (bytes.size() < sizeof(T)) {
        return std::nullopt;
    }
    T value;
    std::memcpy(static_cast<void*>(&value), bytes.data(), sizeof(T));
    return value;
}
// The number that a successful request for the storage device number answered.
[[nodiscard]] std::optional<std::uint32_t> DeviceNumberOf(const call::Control& control);

}  // namespace orbis::insight
