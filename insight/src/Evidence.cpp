#include "insight/Evidence.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>

#include "DrivePaths.h"
#include "insight/Calls.h"
#include "insight/ErrorText.h"
#include "insight/Pages.h"
#include "platform/Requests.h"
#include "platform/Setup.h"
#include "platform/Text.h"

namespace orbis::insight {
namespace {

using platform::Utf16ToUtf8;

// A text field of a page without its padding.
std::string TextOf(std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view kPadding("\0 \t", 3);
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    text = text.substr(0, text.find_last_not_of(kPadding) + 1);
    text.remove_prefix(std::min(text.find_first_not_of(kPadding), text.size()));
    return platform::ValidUtf8(text);
}

// An ATA text: the bytes of each word are swapped (ACS-3, 3.4.9).
std::string AtaTextOf(std::span<const std::uint8_t> bytes)
{
    std::vector<std::uint8_t> swapped(bytes.begin(), bytes.end());
    for (std::size_t at = 0; at + 1 < swapped.size(); at += 2) {
        std::swap(swapped[at], swapped[at + 1]);
    }
    return TextOf(swapped);
}

class Collector {
public:
    explicit Collector(std::span<const Record> records) : m_Paths(records)
    {
        LearnNumbers();
        for (const Record& record : records) {
            LearnPage(record);
            LearnRow(record);
        }
        UseRows();
    }

    std::vector<DiskEvidence> Take()
    {
        std::vector<DiskEvidence> disks;
        disks.reserve(m_Disks.size());
        for (auto& [number, disk] : m_Disks) {
            Name(disk);
            std::sort(disk.letters.begin(), disk.letters.end());
            disks.push_back(std::move(disk));
        }
        return disks;
    }

private:
    struct Row {
        std::u16string kind;
        std::map<std::u16string, Value> values;
    };
    struct Walked {
        std::u16string path;
        std::u16string instanceId;
    };

    DiskEvidence& Disk(std::uint32_t number)
    {
        DiskEvidence& disk = m_Disks[number];
        disk.number = number;
        return disk;
    }

    void LearnNumbers()
    {
        for (const auto& [path, number] : m_Paths.Numbers()) {
            DiskEvidence& disk = Disk(number);
            if (const char letter = DrivePaths::LetterOf(path); letter != 0) {
                disk.letters.push_back({letter, ':'});
            }
        }
    }

    static bool IsLetter(std::u16string_view path) { return DrivePaths::LetterOf(path) != 0; }

    void LearnPage(const Record& record)
    {
        if (const auto* open = record.As<call::Open>()) {
            LearnOpen(*open);
        } else if (const auto* control = record.As<call::Control>()) {
            const auto number = m_Paths.NumberOf(control->device->path);
            if (!number || IsLetter(control->device->path)) {
                return;
            }
            DiskEvidence& disk = Disk(*number);
            if (!control->succeeded && !disk.requestError) {
                disk.requestError = control->error;
            }
            if (const auto page = PageOf(*control)) {
                Keep(disk, *page);
            } else if (control->code == platform::kIoctlStorageQueryProperty) {
                LearnDescriptor(disk, *control);
            }
        }
    }

    // A failed open counts until another one succeeds, because several requests open the same disk.
    void LearnOpen(const call::Open& open)
    {
        const auto number =
            open.device == nullptr || IsLetter(open.device->path) ? std::nullopt : m_Paths.NumberOf(open.device->path);
        if (!number) {
            return;
        }
        const auto known = m_Disks.find(*number);
        if (open.handle == 0 && known == m_Disks.end()) {
            constexpr std::uint32_t kFileNotFound = 2;
            if (open.error == kFileNotFound || MeansNoMedium(open.error)) {
                return;  // all drive numbers are tried, and an empty card reader does not count as a disk
            }
        }
        DiskEvidence& disk = Disk(*number);
        if (open.handle == 0) {
            disk.openError = disk.openError.value_or(open.error);
        } else if (open.device->access != 0) {
            m_Opened.insert_or_assign(*number, true);
        }
    }

    static void LearnDescriptor(DiskEvidence& disk, const call::Control& control)
    {
        platform::StorageDeviceDescriptorHead head;
        const std::size_t size = std::min<std::size_t>(control.returned, control.output.size());
        if (!control.succeeded || size < sizeof head) {
            return;
        }
        std::memcpy(&head, control.output.data(), sizeof head);
        disk.busType = static_cast<std::uint32_t>(head.busType);
        if (head.serialNumberOffset >= sizeof head && head.serialNumberOffset < size) {
            const std::span text(control.output.data() + head.serialNumberOffset, size - head.serialNumberOffset);
            disk.serialNumber = TextOf(text.first(static_cast<std::size_t>(std::find(text.begin(), text.end(), 0) - text.begin())));
        }
    }

    static void Keep(DiskEvidence& disk, const PageRead& page)
    {
        PageAnswer* answer = nullptr;
        switch (page.request) {
            case NVME_IDENTIFY:
                answer = &disk.nvmeIdentify;
                break;
            case NVME_HEALTH_LOG:
                answer = &disk.nvmeHealth;
                break;
            case MAKER_HEALTH_LOG:
                answer = &disk.makerHealth;
                break;
            case ATA_IDENTIFY:
                answer = &disk.ataIdentify;
                break;
            case SMART_DATA:
                answer = &disk.smartData;
                break;
            case SMART_THRESHOLDS:
                answer = &disk.smartThresholds;
                break;
            default:
                return;
        }
        // When the first request fails, the collectors try another one; the one that answers counts.
        if (page.answer.IsAnswered() || !answer->IsAnswered()) {
            *answer = page.answer;
        }
    }

    void LearnRow(const Record& record)
    {
        if (const auto* get = record.As<call::Get>()) {
            if (!platform::Failed(get->result) && get->query != nullptr) {
                Row& row = m_Rows[get->row];
                row.kind = ClassOf(get->query->text);
                row.values[get->name] = get->value;
            }
        } else if (const auto* elements = record.As<call::ArrayElements>()) {
            auto& bytes = m_Arrays[elements->array];
            bytes.insert(bytes.end(), elements->bytes.begin(), elements->bytes.end());
        } else if (const auto* detail = record.As<call::DeviceInterfaceDetail>()) {
            if (detail->succeeded && !detail->path.empty()) {
                m_Walked[{detail->set, detail->index}].path = detail->path;
            }
        } else if (const auto* property = record.As<call::DeviceProperty>()) {
            if (property->succeeded && property->key.category == platform::kDeviceInstanceIdKey.category &&
                property->key.id == platform::kDeviceInstanceIdKey.id) {
                std::u16string text(property->value.size() / sizeof(char16_t), u'\0');
                std::memcpy(text.data(), property->value.data(), text.size() * sizeof(char16_t));
                m_Walked[{property->set, property->index}].instanceId = text.substr(0, text.find(u'\0'));
            }
        }
    }

    void UseRows()
    {
        for (const auto& [serial, row] : m_Rows) {
            if (row.kind == u"Win32_DiskDrive") {
                UseDrive(row);
            } else if (row.kind == u"MSStorageDriver_ATAPISmartData") {
                UseSmart(row);
            }
        }
        for (auto& [number, disk] : m_Disks) {
            if (m_Opened.contains(number)) {
                disk.openError.reset();
            }
        }
    }

    void UseDrive(const Row& row)
    {
        const auto index = row.values.find(u"Index");
        if (index == row.values.end()) {
            return;
        }
        DiskEvidence& disk = Disk(static_cast<std::uint32_t>(index->second.payload));
        const auto text = [&row](const char16_t* name) {
            const auto found = row.values.find(name);
            return found == row.values.end() ? std::string() : Utf16ToUtf8(found->second.text);
        };
        disk.model = text(u"Model");
        disk.firmwareRevision = text(u"FirmwareRevision");
    }

    // WMI can report the table of a disk whose driver refuses the request itself.
    void UseSmart(const Row& row)
    {
        const auto name = row.values.find(u"InstanceName");
        const auto data = row.values.find(u"VendorSpecific");
        if (name == row.values.end() || data == row.values.end() || !m_Arrays.contains(data->second.array)) {
            return;
        }
        const std::u16string instance = LowerAscii(name->second.text);
        for (const auto& [place, walked] : m_Walked) {
            const auto number = m_Paths.NumberOf(walked.path);
            if (walked.instanceId.empty() || !number || instance.find(LowerAscii(walked.instanceId)) == std::u16string::npos) {
                continue;
            }
            DiskEvidence& disk = Disk(*number);
            if (!disk.smartData.IsAnswered()) {
                disk.smartData.state = PageAnswer::State::Answered;
                disk.smartData.bytes = m_Arrays.at(data->second.array);
            }
            return;
        }
    }

    // The drive's own data takes precedence over that of Windows.
    static void Name(DiskEvidence& disk)
    {
        const auto set = [](std::string& field, std::string text) {
            if (!text.empty()) {
                field = std::move(text);
            }
        };
        if (disk.ataIdentify.IsAnswered() && disk.ataIdentify.bytes.size() >= 512) {
            const auto page = disk.ataIdentify.Bytes();
            set(disk.serialNumber, AtaTextOf(page.subspan(20, 20)));
            set(disk.firmwareRevision, AtaTextOf(page.subspan(46, 8)));
            set(disk.model, AtaTextOf(page.subspan(54, 40)));
        }
        if (disk.nvmeIdentify.IsAnswered() && disk.nvmeIdentify.bytes.size() >= 72) {
            const auto page = disk.nvmeIdentify.Bytes();
            set(disk.serialNumber, TextOf(page.subspan(4, 20)));
            set(disk.model, TextOf(page.subspan(24, 40)));
            set(disk.firmwareRevision, TextOf(page.subspan(64, 8)));
        }
    }

    const DrivePaths m_Paths;
    std::map<std::uint32_t, DiskEvidence> m_Disks;
    std::map<std::uint32_t, bool> m_Opened;
    std::map<Serial, Row> m_Rows;
    std::map<Serial, Bytes> m_Arrays;
    std::map<std::pair<Serial, std::uint32_t>, Walked> m_Walked;  // by device set and index
};

}  // namespace

std::vector<DiskEvidence> EvidenceOf(std::span<const Record> records) { return Collector(records).Take(); }

}  // namespace orbis::insight
