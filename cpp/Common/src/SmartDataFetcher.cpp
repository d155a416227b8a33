#include "Common/SmartDataFetcher.h"

#include <algorithm>
#include <exception>

#include "Common/ResultException.h"
#include "platform/Errors.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Scsi.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using namespace orbis::platform;
namespace ata = orbis::protocol::ata;
using HardwareAccessLib::BasicDiskInfo;
using HardwareAccessLib::DiskDriveMediaType;
using HardwareAccessLib::Sector;

// The line numbers of failures here are no contract: each failure has the line that raised it.
constexpr std::string_view kSmartUnit = R"(cpp\Common\src\SmartDataFetcher)";

// A block begins with a 2-byte revision; entries of 12 bytes follow.
constexpr std::size_t kFirstEntry = 2;
constexpr std::size_t kEntrySize = 12;
constexpr std::size_t kDataEntries = 30;

std::uint16_t Word(const Sector& identify, std::size_t index)
{
    return static_cast<std::uint16_t>(identify[2 * index] | (identify[2 * index + 1] << 8U));
}

std::uint64_t Raw48(const std::uint8_t* entry)
{
    std::uint64_t raw = 0;
    for (std::size_t byte = 10; byte >= 5; --byte) {
        raw = (raw << 8U) | entry[byte];
    }
    return raw;
}

}  // namespace

SmartDataCollection SmartDataFetcher::GetSmartInformation(const BasicDiskInfo& disk, const std::vector<std::uint8_t>& wmiBlock)
{
    SmartDataCollection collection;
    collection.physicalDriveNumber = disk.physicalDriveNumber;
    const std::u16string& path = disk.physicalDrivePath;
    try {
        if (ReadSmartData(path, collection)) {
            Sector thresholds{};
            if (ReadSmartThresholds(path, thresholds) && thresholds[kFirstEntry] != 0) {
                ParseSmartThresholds(collection, thresholds);
            }
        }
        if (!wmiBlock.empty()) {
            Sector block{};
            std::copy_n(wmiBlock.begin(), std::min(wmiBlock.size(), block.size()), block.begin());
            ParseSmartAttributes(collection, block);
        }
        if (std::string eppid = GetStringFromLogPage9A(path); !eppid.empty()) {
            collection.eppid = std::move(eppid);
        }
        if (std::string model = GetModelFromIdentify(path); !model.empty()) {
            collection.modelName = std::move(model);
        }
        collection.name = IsSolidState(disk, collection) ? "SSD" : "SMART" + std::to_string(disk.physicalDriveNumber);
    } catch (...) {
        // The values read so far are returned; the name is empty if the failure came before it.
    }
    return collection;
}

bool SmartDataFetcher::ReadSmartData(const std::u16string& devicePath, SmartDataCollection& collection)
{
    try {
        Sector block{};
        if (!ProbeScsiInquiry(devicePath) || !ReadSmartBlock(devicePath, ata::kSmartReadData, block)) {
            return false;
        }
        ParseSmartAttributes(collection, block);
        return true;
    } catch (...) {
        return false;
    }
}

bool SmartDataFetcher::ReadSmartThresholds(const std::u16string& devicePath, Sector& thresholds)
{
    return ReadSmartBlock(devicePath, ata::kSmartReadThresholds, thresholds);
}

bool SmartDataFetcher::ReadSmartBlock(const std::u16string& devicePath, std::uint8_t features, Sector& block)
{
    const auto command = MakeAtaPassThrough16(features, 0, ata::kSmartLbaMid, ata::kSmartLbaHigh, ata::kSmart);
    const std::uint8_t status = ReadByScsi(devicePath, command, block, {kSmartUnit, __LINE__, __LINE__});
    return (status & orbis::protocol::scsi::kCheckCondition) == 0 && HasData(block);
}

void SmartDataFetcher::ParseSmartAttributes(SmartDataCollection& collection, const Sector& block)
{
    for (std::size_t entry = 0; entry < kDataEntries; ++entry) {
        const std::uint8_t* bytes = block.data() + kFirstEntry + entry * kEntrySize;
        const std::uint8_t id = bytes[0];
        SmartAttribute* attribute = collection.Find(id);
        if (attribute == nullptr) {
            continue;
        }
        if (id == kSmartTemperature) {
            // Only the current temperature; the bytes above it are the lowest and highest. No normalised, worst or threshold
            // value.
            attribute->raw = bytes[5];
            continue;
        }
        // Spin-up time, power-on hours and head-flying hours have other counts above their low 32 bits.
        const bool isNarrow = id == kSmartSpinUpTime || id == kSmartPowerOnHours || id == kSmartHeadFlyingHours;
        attribute->raw = isNarrow ? Raw48(bytes) & 0xFFFFFFFFU : Raw48(bytes);
        attribute->normalised = bytes[3];
        attribute->worst = bytes[4];
    }
}

void SmartDataFetcher::ParseSmartThresholds(SmartDataCollection& collection, const Sector& block)
{
    for (std::size_t at = kFirstEntry; at + kEntrySize < block.size() && block[at] != 0; at += kEntrySize) {
        SmartAttribute* attribute = collection.Find(block[at]);
        if (attribute != nullptr && block[at] != kSmartTemperature) {
            attribute->threshold = block[at + 1];
        }
    }
}

bool SmartDataFetcher::IsSolidState(const BasicDiskInfo& disk, const SmartDataCollection& collection)
{
    try {
        if (collection.attributes[SmartSlotOf(kSmartWearLevelingCount)].raw.has_value()) {
            return true;
        }
        if (collection.modelName &&
            (collection.modelName->find("SSD") != std::string::npos || collection.modelName->find("NVMe") != std::string::npos)) {
            return true;
        }
        if (disk.mediaType == DiskDriveMediaType::SolidState) {
            return true;
        }
        const auto identify = ReadIdentifyData(disk.physicalDrivePath);
        if (!identify) {
            return false;
        }
        constexpr std::uint16_t kNonRotating = 1;           // word 217, nominal media rotation rate
        constexpr std::uint16_t kCompactFlash = 0x848A;     // word 0
        constexpr std::uint16_t kCfaFeatureSet = 1U << 2U;  // word 83
        if (Word(*identify, 217) == kNonRotating || Word(*identify, 0) == kCompactFlash) {
            return true;
        }
        return (Word(*identify, 83) & kCfaFeatureSet) != 0;
    } catch (...) {
        return false;
    }
}

std::vector<SmartDataCollection> SmartDataFetcher::GetAllSmartInformation()
{
    const std::vector<BasicDiskInfo> disks = GetAllBasicDiskInfo({});
    if (disks.empty()) {
        throw ResultException(hresult::kUnexpected, kSmartUnit, __LINE__);
    }
    std::vector<SmartDataCollection> collections;
    collections.reserve(disks.size());
    for (const BasicDiskInfo& disk : disks) {
        collections.push_back(GetSmartInformation(disk, {}));
    }
    return collections;
}

std::vector<BasicDiskInfo> SmartDataProvider::GetAllBasicDiskInfo(const HardwareAccessLib::MediaTypeList& mediaTypes) const
{
    return SmartDataFetcher().GetAllBasicDiskInfo(mediaTypes);
}

SmartDataCollection SmartDataProvider::GetSmartInformation(const BasicDiskInfo& disk,
                                                           const std::vector<std::uint8_t>& wmiBlock) const
{
    return SmartDataFetcher().GetSmartInformation(disk, wmiBlock);
}

}  // namespace Veyra::Orbis::Cpp::Common
