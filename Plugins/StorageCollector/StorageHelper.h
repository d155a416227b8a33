#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "HostSdk/ItemId.h"

namespace Veyra::Orbis::Plugins {

// One disk drive as WMI reports it: a row of Win32_DiskDrive. Texts are narrow, as the WMI layer gives them.
struct DiskDeviceInfo {
    std::uint32_t index = 0;       // Index: the physical drive number
    std::uint32_t scsiPort = 0;    // SCSIPort
    std::string model;             // Model
    std::string pnpDeviceId;       // PNPDeviceID
    std::string firmwareRevision;  // FirmwareRevision
};

// What the collectors share: the list of disks with the one item id by which all of them know a disk, and the rules for texts and
// buffers that drives fill.
class StorageHelper {
public:
    StorageHelper() = delete;

    // All disk drives in the order of WMI's rows, read anew at each call. A row of which a property cannot be read is left out
    // without a word; a failure of the query itself leaves as the WMI layer raised it.
    [[nodiscard]] static std::vector<DiskDeviceInfo> getDeviceInfo();
    // A copy of the first record with this drive number, or a default record when there is none.
    [[nodiscard]] static DiskDeviceInfo findDeviceIdByPhysicalDriveNumber(const std::vector<DiskDeviceInfo>& devices,
                                                                          std::uint32_t physicalDriveNumber);
    // The item id of a disk in every datatype: "Disk_" and its PnP device id. A disk without a record is "Disk_".
    [[nodiscard]] static Sdk::Common::Identifiers::ItemId toItemId(const DiskDeviceInfo& device);

    // Without zero characters at both ends.
    [[nodiscard]] static std::string TrimZeros(const std::string& text);
    // Without white space (as isspace has it in the "C" locale, whatever the process's locale is) at both ends.
    [[nodiscard]] static std::string TrimSpace(const std::string& text);
    // Without backspaces (code 8) at both ends.
    [[nodiscard]] static std::string TrimInvalidChar(const std::string& text);
    // Zeros, then white space, then backspaces, each pass once. The order shows: a backspace at an end shields the white space
    // before it.
    [[nodiscard]] static std::string Trim(const std::string& text);

    // A copy of `length` bytes; `bytes` is not read when there are none.
    [[nodiscard]] static std::string RawBufferToByteString(const char* bytes, std::int32_t length);

private:
    // From the first character that is kept to the last one.
    template <bool (*keep)(char)>
    [[nodiscard]] static std::string_view Trim(std::string_view text);
};

}  // namespace Veyra::Orbis::Plugins
