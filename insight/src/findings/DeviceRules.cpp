#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

#include "Rules.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/Text.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Nvme.h"
#include "platform/protocol/Scsi.h"

namespace orbis::insight {
namespace {

namespace win32 = platform::win32;
constexpr std::uint32_t kReadWrite = platform::kGenericRead | platform::kGenericWrite;

// Devices that were refused because of missing rights.
class AccessRule final : public FindingRule {
    void Read(const Record& record, Notes& notes) override
    {
        if (const auto* open = record.As<call::Open>()) {
            Look(open->device->path, open->error == win32::kAccessDenied, notes);
        } else if (const auto* control = record.As<call::Control>()) {
            Look(control->device->path, control->error == win32::kAccessDenied, notes);
        } else if (const auto* connect = record.As<call::ConnectServer>()) {
            Look(connect->path, IsDenied(connect->result), notes);
        } else if (const auto* query = record.As<call::ExecQuery>()) {
            Look(query->query->space, IsDenied(query->result), notes);
        } else if (const auto* next = record.As<call::Next>()) {
            Look(next->query->space, IsDenied(next->result), notes);
        }
    }

    static bool IsDenied(platform::Hresult result)
    {
        constexpr platform::Hresult kWbemAccessDenied = platform::hresult::Make(0x80041003);
        return result == platform::hresult::kAccessDenied || result == kWbemAccessDenied;
    }
    static void Look(std::u16string_view path, bool isDenied, Notes& notes)
    {
        const std::string subject = SubjectOf(path);
        notes.Asked(kAccessDenied, subject);
        if (isDenied) {
            notes.Raise({kAccessDenied, subject, std::string(kNoAccess) + platform::Utf16ToUtf8(path), kMoreRights, {}});
        }
    }
};

// The disk or letter whose failure ends a collection, and requests that a disk refuses.
class DeviceRule final : public FindingRule {
    // The stage of a collection on a thread. The full record of a disk begins when the walk has ended, and continues across queries
    // once the size was requested. At other stages a disk that cannot be opened does not end a collection.
    enum class Stage { Elsewhere, AfterWalk, InDiskRecord };

    void Read(const Record& record, Notes& notes) override
    {
        Stage& stage = m_Stages[record.thread];
        if (const auto* entry = record.As<call::EnumDeviceInterfaces>(); entry != nullptr && !entry->succeeded) {
            stage = Stage::AfterWalk;
        } else if (record.As<call::UtcNow>() != nullptr ||
                   (record.As<call::InitializeCom>() != nullptr && stage == Stage::AfterWalk)) {
            stage = Stage::Elsewhere;
        } else if (const auto* open = record.As<call::Open>()) {
            ReadOpen(*open, stage != Stage::Elsewhere, notes);
        } else if (const auto* control = record.As<call::Control>()) {
            if (DrivePaths::LetterOf(control->device->path) != '\0') {
                ReadLetter(*control, notes);
            } else if (DriveNumberOf(control->device->path)) {
                stage = control->code == platform::kIoctlDiskGetDriveGeometry ? Stage::InDiskRecord : stage;
                ReadDisk(*control, notes);
            }
        }
    }

    static constexpr const char* kEndsBoth = "; PhysicalDiskStaticInfo fails and PhysicalDiskDynamicInfo is empty, for every disk";
    static constexpr const char* kLetter = "letter-ended-collection";
    static constexpr const char* kLetterActivity = "letter-without-activity";
    static constexpr const char* kDisk = "disk-ended-collection";
    static constexpr const char* kNoMedium = "drive-without-medium";
    static constexpr const char* kThresholds = "smart-thresholds-refused";

    static void ReadOpen(const call::Open& open, bool isInDiskRecord, Notes& notes)
    {
        const std::string subject = SubjectOf(open.device->path);
        const std::string problem = fmt::format("could not be opened: {}", ErrorText(open.error));
        if (DrivePaths::LetterOf(open.device->path) != '\0') {
            const bool isForActivity = open.device->access == platform::kFileReadAttributes;
            notes.Asked(isForActivity ? kLetterActivity : kLetter, subject);
            if (open.handle == 0) {
                isForActivity ? RaiseActivity(subject, problem, open.error, notes)
                              : RaiseLetter(subject, problem, open.error, notes);
            }
        } else if (DriveNumberOf(open.device->path)) {
            const bool endsCollection = isInDiskRecord && open.device->access == kReadWrite;
            notes.Asked(endsCollection ? kDisk : kNoMedium, subject);
            if (open.handle == 0 && endsCollection) {
                RaiseDisk(subject, problem, open.error, notes);
            } else if (open.handle == 0 && MeansNoMedium(open.error)) {
                notes.Raise(
                    {kNoMedium, subject, subject + " has no medium and is left out", "insert one to have it collected", {}});
            }
        }
    }

    static void ReadLetter(const call::Control& control, Notes& notes)
    {
        const std::string subject = SubjectOf(control.device->path);
        const std::string problem =
            control.succeeded ? "answered with a wrong length" : fmt::format("refused a request: {}", ErrorText(control.error));
        if (control.code == platform::kIoctlDiskPerformance && (!control.succeeded || control.returned == 0)) {
            RaiseActivity(subject, problem, control.error, notes);
        } else if (control.code == platform::kIoctlDiskGetPartitionInfoEx && control.error == win32::kInvalidFunction) {
            RaiseLetter(subject, "is not a partition of a disk; it is an optical drive, for example", 0, notes,
                        "remove the drive letter");
        } else if ((control.code == platform::kIoctlDiskGetPartitionInfoEx && !control.succeeded) ||
                   (control.code == platform::kIoctlStorageGetDeviceNumber && !DeviceNumberOf(control))) {
            RaiseLetter(subject, problem, control.error, notes);
        }
    }

    static void ReadDisk(const call::Control& control, Notes& notes)
    {
        const std::string subject = SubjectOf(control.device->path);
        const std::string error = ErrorText(control.error);
        const bool isTooSmall = control.error == win32::kInsufficientBuffer || control.error == win32::kMoreData;
        if (control.code == platform::kIoctlDiskGetDriveGeometry && !control.succeeded) {
            RaiseDisk(subject, fmt::format("does not report its size: {}", error), control.error, notes);
        } else if (control.code == platform::kIoctlDiskGetDriveLayoutEx && !control.succeeded && !isTooSmall) {
            RaiseDisk(subject, fmt::format("does not report its partitions: {}", error), control.error, notes);
        } else if (IsThresholds(control)) {
            notes.Asked(kThresholds, subject);
            if (!control.succeeded) {
                notes.Raise({kThresholds,
                             subject,
                             fmt::format("{} refuses the request for its SMART thresholds: {}; its name, part identifier and the "
                                         "values that only WMI has are missing",
                                         subject, error),
                             "update the driver of its controller or bridge",
                             {datatype::kSmartStatic, datatype::kSmartDynamic}});
            }
        }
    }

    // SMART READ ATTRIBUTE THRESHOLDS inside ATA PASS-THROUGH(16).
    static bool IsThresholds(const call::Control& control)
    {
        const auto request = HeadOf<platform::ScsiPassThroughDirect>(control.request);
        return control.code == platform::kIoctlScsiPassThroughDirect && request &&
               request->cdb[0] == protocol::scsi::kAtaPassThrough16 &&
               request->cdb[protocol::scsi::ata_pass_through::kFeatures16] == protocol::ata::kSmartReadThresholds &&
               request->cdb[protocol::scsi::ata_pass_through::kCommand16] == protocol::ata::kSmart;
    }

    static void RaiseLetter(const std::string& letter, const std::string& problem, std::uint32_t code, Notes& notes,
                            const char* remedy = "insert its medium, connect its drive, or remove the drive letter")
    {
        notes.Raise({kLetter,
                     letter,
                     letter + ' ' + problem + kEndsBoth,
                     RemedyFor(code, remedy),
                     {datatype::kDiskStatic, datatype::kDiskDynamic}});
    }
    static void RaiseActivity(const std::string& letter, const std::string& problem, std::uint32_t code, Notes& notes)
    {
        notes.Raise({kLetterActivity,
                     letter,
                     fmt::format("{} {}; its disk is missing from PhysicalDiskDynamicInfo", letter, problem),
                     RemedyFor(code, "connect its drive, or switch its counters on with diskperf -y"),
                     {datatype::kDiskDynamic}});
    }
    static void RaiseDisk(const std::string& disk, const std::string& problem, std::uint32_t code, Notes& notes)
    {
        notes.Raise({kDisk,
                     disk,
                     disk + ' ' + problem + kEndsBoth,
                     MeansNoMedium(code) ? "insert its medium, or remove the drive"
                                         : RemedyFor(code, "connect, replace or remove the disk"),
                     {datatype::kDiskStatic, datatype::kDiskDynamic}});
    }

    std::map<std::uint32_t, Stage> m_Stages;  // by thread
};

// An NVMe drive whose driver does not pass the protocol query on. A RAID driver reports its controller's bus type (8) for every
// drive, so such a drive counts as NVMe only when it does not answer ATA requests either.
class NvmeRule final : public FindingRule {
    struct Drive {
        platform::BusType busType = platform::BusType::Unknown;
        bool isAtaAsked = false;
        bool isAta = false;
        std::map<std::string, std::uint32_t> queryErrors;  // in this pass, by the datatype that is asked for; 0: answered
    };

    void Read(const Record& record, Notes& /*notes*/) override
    {
        const auto* control = record.As<call::Control>();
        const auto number = control != nullptr ? DriveNumberOf(control->device->path) : std::nullopt;
        if (!number) {
            return;
        }
        Drive& drive = m_Drives[*number];
        switch (control->code) {
            case platform::kIoctlStorageQueryProperty:
                ReadProperty(*control, drive);
                break;
            case platform::kIoctlAtaPassThroughDirect:
            case platform::kIoctlScsiPassThroughDirect:
                drive.isAtaAsked = true;
                drive.isAta = drive.isAta || (control->succeeded && !IsInquiry(*control) &&
                                              std::ranges::any_of(control->dataAfter, [](int byte) { return byte != 0; }));
                break;
            default:
                break;
        }
    }

    static bool IsInquiry(const call::Control& control)
    {
        const auto request = HeadOf<platform::ScsiPassThroughDirect>(control.request);
        return control.code == platform::kIoctlScsiPassThroughDirect && request && request->cdb[0] == protocol::scsi::kInquiry;
    }

    static void ReadProperty(const call::Control& control, Drive& drive)
    {
        const auto head = HeadOf<platform::StoragePropertyQueryHead>(control.request);
        const auto descriptor = HeadOf<platform::StorageDeviceDescriptorHead>(control.output);
        if (head && head->propertyId == platform::kStorageDeviceProperty && control.succeeded && descriptor &&
            control.returned >= sizeof(*descriptor)) {
            drive.busType = descriptor->busType;
        }
        const auto query = HeadOf<platform::StorageProtocolQuery>(control.request);
        if (head && query && head->propertyId == platform::kStorageAdapterProtocolSpecificProperty) {
            const std::uint32_t error = control.succeeded ? 0 : control.error;
            const auto& asked = query->protocol;
            if (asked.dataType == platform::kNvmeDataTypeIdentify) {
                drive.queryErrors[datatype::kNvmeIdentify] = error;
            } else if (asked.requestValue == protocol::nvme::kLogSmartHealth) {  // drivers refuse makers' logs as a rule
                drive.queryErrors[datatype::kNvmeHealth] = error;
            }
        }
    }

    void EndPass(Notes& notes) override
    {
        for (auto& [number, drive] : m_Drives) {
            const bool isRaid = drive.busType == platform::BusType::Raid && drive.isAtaAsked && !drive.isAta;
            const bool isNvme = drive.busType == platform::BusType::Nvme || isRaid;
            std::map<std::uint32_t, std::vector<std::string>> datatypesOf;  // by error
            for (const auto& [datatype, error] : std::exchange(drive.queryErrors, {})) {
                for (const char* kind : {kRefused, kFailed}) {
                    notes.Asked(kind, DiskName(number));
                }
                if (isNvme && error != 0 && error != win32::kAccessDenied) {  // which has its own finding
                    datatypesOf[error].push_back(datatype);
                }
            }
            for (const auto& [error, datatypes] : datatypesOf) {
                notes.Raise(Describe(DiskName(number), isRaid, datatypes, error));
            }
        }
    }

    static Finding Describe(const std::string& disk, bool isRaid, const std::vector<std::string>& datatypes, std::uint32_t error)
    {
        const bool isRefusal =
            error == win32::kInvalidFunction || error == win32::kNotSupported || error == win32::kInvalidParameter;
        const char* remedy = !isRefusal ? "check the drive and its connection"
                             : isRaid
                                 ? "update the RAID driver, or set the controller to AHCI or NVMe mode in the firmware's set-up"
                                 : "update the drive's driver, or use the one of the system";
        return {
            isRefusal ? kRefused : kFailed, disk,
            fmt::format("{} {}, but {} the NVMe query: {}; its data are missing from {}", disk,
                        isRaid ? "is behind a RAID driver (bus type 8) and is not an ATA drive" : "is an NVMe drive (bus type 17)",
                        isRefusal ? "its driver refuses" : "does not answer", ErrorText(error), fmt::join(datatypes, " and ")),
            remedy, datatypes};
    }

    static constexpr const char* kRefused = "nvme-query-refused";
    static constexpr const char* kFailed = "nvme-query-failed";
    std::map<std::uint32_t, Drive> m_Drives;
};

}  // namespace

std::unique_ptr<FindingRule> MakeAccessRule() { return std::make_unique<AccessRule>(); }
std::unique_ptr<FindingRule> MakeDeviceRule() { return std::make_unique<DeviceRule>(); }
std::unique_ptr<FindingRule> MakeNvmeRule() { return std::make_unique<NvmeRule>(); }

}  // namespace orbis::insight
