#include "linux/disks/InstanceId.h"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

namespace orbis::platform::linux_system {
namespace {

constexpr std::size_t kVendorLength = 8;
constexpr std::size_t kProductLength = 16;
constexpr std::size_t kRevisionLength = 4;
constexpr std::size_t kSerialLength = 40;  // keeps the id below the 126 characters that callers make room for

std::string Part(std::string_view text, std::size_t limit)
{
    std::string out(text.substr(0, limit));
    out.resize(out.find_last_not_of(' ') + 1);
    for (char& c : out) {
        const bool isPlain = c > ' ' && c < 0x7F && std::string_view(",\\/#&").find(c) == std::string_view::npos;
        c = !isPlain ? '_' : c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return out;
}

struct Product {
    std::string vendor;
    std::string product;
};

Product SplitModel(const Disk& disk)
{
    if (disk.vendor != "ATA") {
        return {disk.vendor, disk.model};
    }
    const std::size_t blank = disk.model.find(' ');
    const bool hasVendor = blank <= kVendorLength;  // no blank at all is the greatest place of all
    const std::size_t end = std::min(hasVendor ? blank : kVendorLength, disk.model.size());
    return {disk.model.substr(0, end), disk.model.substr(std::min(end + (hasVendor ? 1 : 0), disk.model.size()))};
}

std::string_view Enumerator(BusType busType)
{
    switch (busType) {
        case BusType::Usb:
            return "USBSTOR";
        case BusType::Sd:
        case BusType::Mmc:
            return "SD";
        case BusType::Scm:
            return "SCM";
        default:
            return "SCSI";
    }
}

}  // namespace

std::string SlotDigits(const Disk& disk)
{
    std::uint32_t hash = 2166136261U;  // FNV-1a
    for (const char c : disk.position) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    }
    return fmt::format("{:08X}", hash);
}

std::string InstanceIdOf(const Disk& disk)
{
    const auto [vendor, product] = SplitModel(disk);
    std::string id = fmt::format("{}\\DISK", Enumerator(disk.busType));
    if (!vendor.empty()) {
        id += "&VEN_" + Part(vendor, kVendorLength);
    }
    if (!product.empty()) {
        id += "&PROD_" + Part(product, kProductLength);
    }
    if (disk.busType == BusType::Usb && !disk.firmwareRevision.empty()) {
        id += "&REV_" + Part(disk.firmwareRevision, kRevisionLength);
    }
    const std::string serial = Part(disk.serial, kSerialLength);
    return fmt::format("{}\\{}&{}", id, serial.empty() ? "4&" + SlotDigits(disk) : serial, disk.address.unit);
}

}  // namespace orbis::platform::linux_system
