#include <fmt/format.h>

#include "Rules.h"
#include "platform/Errors.h"
#include "platform/Pdh.h"
#include "platform/Requests.h"
#include "platform/Text.h"

namespace orbis::insight {
namespace {

namespace win32 = platform::win32;
using platform::Utf16ToUtf8;

std::vector<std::string> OfEveryDisk()
{
    return {datatype::kDiskStatic, datatype::kDiskDynamic, datatype::kSmartStatic, datatype::kSmartDynamic};
}

// The walk over the disk devices: whether it reached its end, and which drives it found.
class WalkRule final : public FindingRule {
    static constexpr const char* kWalk = "disk-walk-ended";
    static constexpr const char* kInstanceId = "instance-id-unreadable";
    static constexpr const char* kNumber = "drive-number-above-31";

    void Read(const Record& record, Notes& notes) override
    {
        if (const auto* set = record.As<call::ClassDevices>()) {
            notes.Asked(kWalk, {});
            if (set->set == 0) {
                Raise(fmt::format("the system does not list its disk devices: {}", ErrorText(set->error)), notes, kRestart);
            }
        } else if (const auto* entry = record.As<call::EnumDeviceInterfaces>()) {
            ReadEntry(*entry, notes);
        } else if (const auto* detail = record.As<call::DeviceInterfaceDetail>()) {
            ReadDetail(*detail, notes);
        } else if (const auto* device = record.As<call::EnumDeviceInfo>()) {
            if (!device->succeeded) {
                EndsAt(device->index, fmt::format("its device: {}", ErrorText(device->error)), notes);
            }
        } else if (const auto* property = record.As<call::DeviceProperty>()) {
            m_InstanceIdErrors[property->index] = property->succeeded ? 0 : property->error;
        } else if (const auto* open = record.As<call::Open>()) {
            const auto index = m_Indices.find(open->device->path);
            if (index != m_Indices.end() && open->handle == 0) {
                const std::string text =
                    TextOf(index->second, fmt::format(", which could not be opened: {}", ErrorText(open->error)));
                Raise(text, notes, RemedyFor(open->error, kReconnect));
            }
        } else if (const auto* control = record.As<call::Control>()) {
            const auto index = m_Indices.find(control->device->path);
            if (index != m_Indices.end() && control->code == platform::kIoctlStorageGetDeviceNumber) {
                ReadNumber(*control, index->second, notes);
            }
        }
    }

    static void ReadEntry(const call::EnumDeviceInterfaces& entry, Notes& notes)
    {
        if (entry.succeeded) {
            return;
        }
        const bool isEnd = entry.error == win32::kNoMoreItems;
        if (entry.index != 0 && !isEnd) {
            EndsAt(entry.index, ErrorText(entry.error), notes);
        } else if (entry.index == 0) {
            isEnd ? Raise("the system's list of disk devices is empty", notes,
                          "connect a disk, or update the driver of its controller")
                  : Raise(fmt::format("the system's list of disk devices cannot be read: {}", ErrorText(entry.error)), notes,
                          kRestart);
        }
    }

    void ReadDetail(const call::DeviceInterfaceDetail& detail, Notes& notes)
    {
        if (detail.detail.empty()) {  // asks for the size, and fails by design
            if (detail.succeeded || detail.required == 0) {
                EndsAt(detail.index, "its path has no size", notes);
            }
        } else if (!detail.succeeded || detail.path.empty()) {
            EndsAt(detail.index, detail.succeeded ? "its path is empty" : ErrorText(detail.error), notes);
        } else {
            m_Indices[detail.path] = detail.index;
        }
    }

    void ReadNumber(const call::Control& control, std::uint32_t index, Notes& notes)
    {
        constexpr std::uint32_t kLastInMask = 31;
        const auto number = DeviceNumberOf(control);
        if (!number) {
            EndsAt(index, control.succeeded ? "its number has a wrong length" : ErrorText(control.error), notes);
            return;
        }
        const std::string disk = DiskName(*number);
        notes.Asked(kNumber, disk);
        // Windows' NVMe driver and the translation of NVMe to SCSI give the vendor "NVMe", which is part of every id.
        const bool isNvme = LowerAscii(control.device->path).find(u"&ven_nvme") != std::u16string::npos;
        if (*number > kLastInMask && isNvme) {
            notes.Raise({kNumber,
                         disk,
                         fmt::format("{} is an NVMe drive with a number above 31; its NVMe data are not collected", disk),
                         "remove other drives and restart, so that it gets a lower number",
                         {datatype::kNvmeIdentify, datatype::kNvmeHealth}});
        }
        notes.Asked(kInstanceId, disk);
        if (const std::uint32_t error = m_InstanceIdErrors[index]; error != 0) {
            notes.Raise({kInstanceId,
                         disk,
                         fmt::format("the instance id of {} cannot be read: {}; its SMART values may be those of another disk",
                                     disk, ErrorText(error)),
                         "compare them with the tool of the disk's maker",
                         {datatype::kSmartDynamic}});
        }
    }

    static void EndsAt(std::uint32_t index, const std::string& why, Notes& notes) { Raise(TextOf(index, ": " + why), notes); }
    static std::string TextOf(std::uint32_t index, const std::string& why)
    {
        return fmt::format("the list of disk devices ended at entry {}{}; this disk and those after it are missing", index, why);
    }
    static constexpr const char* kReconnect = "reconnect or remove that device, or update its driver";
    static constexpr const char* kRestart = "restart the computer, or update the drivers of its disk controllers";
    static void Raise(std::string text, Notes& notes, const char* remedy = kReconnect)
    {
        notes.Raise({kWalk, {}, std::move(text), remedy, OfEveryDisk()});
    }

    std::map<std::u16string, std::uint32_t> m_Indices;          // of the walk, by interface path
    std::map<std::uint32_t, std::uint32_t> m_InstanceIdErrors;  // by index; 0: read
};

// The rows of Win32_DiskDrive, which give the item ids: rows that cannot be read, and disks that get the same id.
class InventoryRule final : public FindingRule {
    static constexpr const char* kRow = "inventory-record-unreadable";
    static constexpr const char* kMissing = "inventory-record-missing";
    static constexpr const char* kShared = "item-id-shared";

    struct Row {
        std::string drive;  // its name, once its number was read
        std::optional<std::uint32_t> number;
        std::string pnpDeviceId;
    };

    void Read(const Record& record, Notes& notes) override
    {
        if (const auto* next = record.As<call::Next>(); next != nullptr && next->query->text == kInventoryQuery) {
            m_IsListed = m_IsListed || next->result == platform::hresult::kWbemSFalse;
        } else if (const auto* get = record.As<call::Get>(); get != nullptr && get->query->text == kInventoryQuery) {
            ReadProperty(*get, notes);
        } else if (const auto* control = record.As<call::Control>();
                   control != nullptr && DrivePaths::LetterOf(control->device->path) == '\0') {
            if (const auto number = DeviceNumberOf(*control)) {
                m_Walked.insert(*number);
            }
        }
    }

    void ReadProperty(const call::Get& get, Notes& notes)
    {
        Row& row = m_Rows[get.row];
        const std::string property = Utf16ToUtf8(get.name);
        const bool isFailed = platform::Failed(get.result);
        if (property == "Index") {  // only the inventory reads the number first
            row.drive = isFailed ? "a drive" : fmt::format("drive {}", static_cast<std::uint32_t>(get.value.payload));
            if (!isFailed) {
                row.number = static_cast<std::uint32_t>(get.value.payload);
            }
        }
        if (row.drive.empty()) {
            return;
        }
        const std::string subject = row.number ? DiskName(*row.number) : std::string();
        notes.Asked(kRow, subject);
        const bool isText = property != "Index" && property != "SCSIPort";  // a missing number reads as 0
        std::string problem;
        if (isFailed) {
            problem = fmt::format("{} has no id: its row of Win32_DiskDrive has no {} (0x{:08X})", row.drive, property,
                                  static_cast<std::uint32_t>(get.result));
        } else if (isText && (get.value.type != platform::VariantType::String || get.value.isNullPointer)) {
            problem = fmt::format("{} has no id: the {} of its row of Win32_DiskDrive is no text", row.drive, property);
        }
        if (!problem.empty()) {
            notes.Raise({kRow, subject, std::move(problem), "check the WMI repository (winmgmt /verifyrepository)", OfEveryDisk()});
            if (row.number) {
                m_Unreadable.insert(*row.number);
            }
        } else if (property == "PNPDeviceID") {
            row.pnpDeviceId = Utf16ToUtf8(get.value.text);
        } else if (property == "FirmwareRevision" && row.number) {
            m_Ids.try_emplace(*row.number, row.pnpDeviceId);  // the first row of a number counts
        }
    }

    void EndPass(Notes& notes) override
    {
        std::map<std::string, std::vector<std::uint32_t>> drivesOfId;
        if (m_IsListed) {
            drivesOfId[{}];  // asked in every pass
        }
        for (const std::uint32_t number : m_IsListed ? m_Walked : std::set<std::uint32_t>{}) {
            const auto found = m_Ids.find(number);
            notes.Asked(kMissing, DiskName(number));
            drivesOfId[found != m_Ids.end() ? found->second : std::string()].push_back(number);
        }
        for (const auto& [id, drives] : drivesOfId) {
            notes.Asked(kShared, id);
            if (drives.size() > 1) {
                notes.Raise(
                    {kShared,
                     id,
                     fmt::format("{} {} the item id \"Disk_{}\"; PhysicalDiskStaticInfo, SmartStaticInfo and SmartDynamicInfo "
                                 "fail, for every disk",
                                 NamesOf(drives), id.empty() ? "have no usable record in Win32_DiskDrive and share" : "share", id),
                     kRescan,
                     {datatype::kDiskStatic, datatype::kSmartStatic, datatype::kSmartDynamic}});
            } else if (id.empty() && !drives.empty() && !m_Unreadable.contains(drives.front())) {
                const std::string disk = DiskName(drives.front());
                notes.Raise({kMissing, disk, disk + " has no record in Win32_DiskDrive; its item id is only \"Disk_\"", kRescan,
                             OfEveryDisk()});
            }
        }
        m_Rows.clear();
        m_Ids.clear();
        m_Walked.clear();
        m_Unreadable.clear();
        m_IsListed = false;
    }

    // "DISK1, DISK2 and DISK3"
    static std::string NamesOf(const std::vector<std::uint32_t>& drives)
    {
        std::string names = DiskName(drives.front());
        for (auto drive = drives.begin() + 1; drive != drives.end(); ++drive) {
            names += (drive + 1 == drives.end() ? " and " : ", ") + DiskName(*drive);
        }
        return names;
    }

    static constexpr const char* kRescan = "rescan the disks in Device Manager, or update the driver of their controller";

    std::map<Serial, Row> m_Rows;                // of this pass, as are those below
    std::map<std::uint32_t, std::string> m_Ids;  // PnP device ids by drive number
    std::set<std::uint32_t> m_Unreadable;
    std::set<std::uint32_t> m_Walked;
    bool m_IsListed = false;  // an enumeration was complete in this pass
};

// NVMe data from a device-query library other than this project's, whose requests do not pass the ports. A collection reads the
// inventory and then opens disks; one that reads the inventory and opens none got its data elsewhere.
class LibraryRule final : public FindingRule {
    static constexpr const char* kKind = "foreign-device-query-library";

    void Read(const Record& record, Notes& notes) override
    {
        auto& [isOpen, hasWalked] = m_Collections[record.thread];
        if (const auto* get = record.As<call::Get>()) {
            // Other collections read a list of models, and ask for the model first.
            if (get->query->text == kInventoryQuery && get->rowIndex == 0 && get->name == u"Index") {
                isOpen = !hasWalked;
            }
        } else if (record.As<call::UtcNow>() != nullptr) {
            Close(isOpen, notes);
            hasWalked = false;
        } else if (record.As<call::InitializeCom>() != nullptr || record.As<call::ClassDevices>() != nullptr ||
                   record.As<call::Open>() != nullptr) {
            if (isOpen && record.As<call::Open>() != nullptr) {
                notes.Asked(kKind, {});
            }
            isOpen = false;
            hasWalked = hasWalked || record.As<call::ClassDevices>() != nullptr;
        }
    }

    void EndPass(Notes& notes) override
    {
        for (auto& [thread, collection] : m_Collections) {
            Close(collection.isOpen, notes);
        }
    }

    static void Close(bool& isOpen, Notes& notes)
    {
        if (isOpen) {
            notes.Raise(
                {kKind,
                 {},
                 "the NVMe data come from a device-query library (sondix) that is not this project's: nothing of its requests "
                 "is observed",
                 "for findings and explanations of NVMe data, use the library that comes with the plug-in",
                 {datatype::kNvmeIdentify, datatype::kNvmeHealth}});
        }
        isOpen = false;
    }

    struct Collection {
        bool isOpen = false;     // after an inventory, before anything else
        bool hasWalked = false;  // before the inventory: the SMART collections do, and end there when they find no disk
    };
    std::map<std::uint32_t, Collection> m_Collections;  // by thread
};

// Counters whose instance disappeared: the collection skips them until a new plug-in object is created.
class CounterRule final : public FindingRule {
    void Read(const Record& record, Notes& notes) override
    {
        constexpr const char* kKind = "counters-without-instance";
        const auto* read = record.As<call::FormattedValue>();
        if (read == nullptr || read->path == nullptr) {
            return;
        }
        const std::string path = Utf16ToUtf8(*read->path);  // "\PhysicalDisk(0 C:)\% Idle Time"
        const std::size_t begin = path.find('(') + 1;
        const std::string instance = path.substr(begin, path.rfind(')') - begin);
        notes.Asked(kKind, instance);
        if (read->value.status == platform::pdh::kNoInstance) {
            notes.Raise(
                {kKind,
                 instance,
                 fmt::format("the counters \"{}\" are gone: the disk was removed, or its drive letters changed; it is missing from "
                             "PhysicalDiskDynamicInfo",
                             instance),
                 "if the disk is still there, restart this program",
                 {datatype::kDiskDynamic}});
        }
    }
};

}  // namespace

std::unique_ptr<FindingRule> MakeCounterRule() { return std::make_unique<CounterRule>(); }
std::unique_ptr<FindingRule> MakeWalkRule() { return std::make_unique<WalkRule>(); }
std::unique_ptr<FindingRule> MakeInventoryRule() { return std::make_unique<InventoryRule>(); }
std::unique_ptr<FindingRule> MakeLibraryRule() { return std::make_unique<LibraryRule>(); }

}  // namespace orbis::insight
