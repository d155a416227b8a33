#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Common/HardwareAccess.h"
#include "Common/SmartData.h"

namespace Veyra::Orbis::Cpp::Common {

// Reads the ATA SMART state of a disk from the device and merges it with the block that WMI reports for the same disk. Stateless.
class SmartDataFetcher : protected HardwareAccessLib::HardwareAccess {
public:
    using Sector = HardwareAccessLib::Sector;

    ~SmartDataFetcher() override = default;

    // `wmiBlock`: VendorSpecific of MSStorageDriver_ATAPISmartData (normally 362 bytes), or empty. Never raises: values that could
    // not be read are absent. After a failure that comes later than the device's own values, the values read so far are returned.
    [[nodiscard]] SmartDataCollection GetSmartInformation(const HardwareAccessLib::BasicDiskInfo& disk,
                                                          const std::vector<std::uint8_t>& wmiBlock);
    // SMART READ DATA into the collection; true when attributes were read from the device. Raises nothing.
    [[nodiscard]] bool ReadSmartData(const std::u16string& devicePath, SmartDataCollection& collection);
    // SMART READ THRESHOLDS; true when the block holds data. Raises ResultException when the device cannot be opened or asked.
    [[nodiscard]] bool ReadSmartThresholds(const std::u16string& devicePath, Sector& thresholds);
    // The 30 entries of a SMART data block (ACS-4 A.6, vendor specific): ids that are not in the table are skipped.
    static void ParseSmartAttributes(SmartDataCollection& collection, const Sector& block);
    // The entries of a thresholds block up to the first id 0.
    static void ParseSmartThresholds(SmartDataCollection& collection, const Sector& block);
    // Whether the disk is solid state, by the first of seven rules that holds. Raises nothing.
    [[nodiscard]] bool IsSolidState(const HardwareAccessLib::BasicDiskInfo& disk, const SmartDataCollection& collection);
    // Every present disk, without WMI data. Raises E_UNEXPECTED when there is none.
    [[nodiscard]] std::vector<SmartDataCollection> GetAllSmartInformation();

    using HardwareAccess::GetAllBasicDiskInfo;

private:
    // One SMART command with `features`; true when the device answered without CHECK CONDITION and not with zeros alone.
    [[nodiscard]] bool ReadSmartBlock(const std::u16string& devicePath, std::uint8_t features, Sector& block);
};

// The interface for the collectors: each operation uses its own fetcher.
class SmartDataProvider {
public:
    [[nodiscard]] std::vector<HardwareAccessLib::BasicDiskInfo> GetAllBasicDiskInfo(
        const HardwareAccessLib::MediaTypeList& mediaTypes) const;
    [[nodiscard]] SmartDataCollection GetSmartInformation(const HardwareAccessLib::BasicDiskInfo& disk,
                                                          const std::vector<std::uint8_t>& wmiBlock) const;
};

}  // namespace Veyra::Orbis::Cpp::Common
