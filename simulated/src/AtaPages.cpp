// ATA pages, word by word from ATA/ATAPI Command Set 3 (IDENTIFY DEVICE, READ LOG EXT) and from ATA-3's SMART tables, and the
// standard INQUIRY data of SCSI Primary Commands 4.
#include <algorithm>
#include <numeric>

#include "DiskModel.h"
#include "platform/protocol/Ata.h"

namespace orbis::simulated {
namespace {

constexpr std::size_t Word(std::size_t index) { return 2 * index; }

// The last byte of a checked sector makes the sum of all its bytes zero.
void PutChecksum(ByteVector& sector)
{
    const unsigned sum = std::accumulate(sector.begin(), sector.end() - 1, 0U);
    sector.back() = static_cast<std::uint8_t>(0U - sum);
}

}  // namespace

ByteVector BuildIdentifyDevice(const description::Disk& disk, std::uint32_t sectorSize, std::uint32_t rotationRate)
{
    const description::AtaDevice& ata = disk.ata();
    const bool smart = !ata.has_smart() || ata.smart();
    const std::uint64_t sectors = disk.size() / sectorSize;
    PageWriter page(protocol::ata::kSectorSize);
    page.Put16(Word(0), 0x0040);
    page.Put16(Word(1), 16383).Put16(Word(3), 16).Put16(Word(6), 63);
    page.PutAtaText(Word(10), 20, disk.serial());
    page.PutAtaText(Word(23), 8, disk.firmware());
    page.PutAtaText(Word(27), 40, disk.model());
    page.Put16(Word(47), 0x8010);
    page.Put16(Word(49), 0x2F00);
    page.Put32(Word(60), std::min<std::uint64_t>(sectors, 0x0FFFFFFF));
    page.Put16(Word(80), 0x07F0);                                     // ATA-4 to ACS-3
    page.Put16(Word(82), smart ? 0x0001 : 0x0000);                    // SMART feature set
    page.Put16(Word(83), 0x4000 | 0x0400);                            // 48-bit addresses
    page.Put16(Word(84), ata.log_page_size() > 0 ? 0x4023 : 0x4003);  // bit 5: general purpose logging
    page.Put16(Word(85), smart ? 0x0001 : 0x0000);
    page.Put16(Word(86), 0x0400);
    page.Put16(Word(87), 0x4003);
    page.Put64(Word(100), sectors);
    page.Put16(Word(217), rotationRate);
    page.Put16(Word(222), 0x10FF);  // serial transport, SATA 2.5 to 3.2
    page.Put16(Word(255), 0x00A5);  // signature; the checksum follows it
    PutChecksum(page.Page());
    ApplyPatches(page.Page(), ata.identify());
    return page.Take();
}

ByteVector BuildSmartData(const description::AtaDevice& ata)
{
    PageWriter page(protocol::ata::kSectorSize);
    page.Put16(0, 0x0010);
    for (int i = 0; i < std::min(ata.attribute_size(), 30); ++i) {
        const description::SmartAttribute& attribute = ata.attribute(i);
        const std::size_t entry = 2 + 12 * static_cast<std::size_t>(i);
        page.Put8(entry, attribute.id());
        page.Put16(entry + 1, attribute.flags());
        page.Put8(entry + 3, attribute.has_value() ? attribute.value() : 100);
        page.Put8(entry + 4, attribute.has_worst() ? attribute.worst() : 100);
        page.Put48(entry + 5, attribute.raw());
    }
    page.Put8(367, 0x53);     // off-line data collection: immediate, abort on command, self-test, selective
    page.Put16(368, 0x0003);  // SMART capability
    page.Put8(370, 0x01);     // error logging
    PutChecksum(page.Page());
    ApplyPatches(page.Page(), ata.smart_data());
    return page.Take();
}

ByteVector BuildSmartThresholds(const description::AtaDevice& ata)
{
    PageWriter page(protocol::ata::kSectorSize);
    page.Put16(0, 0x0010);
    for (int i = 0; i < std::min(ata.attribute_size(), 30); ++i) {
        const std::size_t entry = 2 + 12 * static_cast<std::size_t>(i);
        page.Put8(entry, ata.attribute(i).id());
        page.Put8(entry + 1, ata.attribute(i).threshold());
    }
    PutChecksum(page.Page());
    ApplyPatches(page.Page(), ata.smart_thresholds());
    return page.Take();
}

ByteVector BuildAtaLogPage(const description::AtaLogPage& description)
{
    PageWriter page(protocol::ata::kSectorSize);
    if (!description.text().empty()) {
        page.PutAtaText(0, 20, description.text());
    }
    ApplyPatches(page.Page(), description.sector());
    return page.Take();
}

ByteVector BuildInquiry(const DiskModel& disk)
{
    const std::string& model = disk.description->model();
    const std::size_t blank = model.find(' ');
    const bool ata = disk.traits->isAta;
    const bool named = !ata && !disk.traits->isNvme && blank != std::string::npos && blank <= 8;
    PageWriter page(36);
    page.Put8(1, disk.removable ? 0x80 : 0x00);
    page.Put8(2, 0x06);  // SPC-4
    page.Put8(3, 0x02);
    page.Put8(4, 31);  // additional length
    page.PutText(8, 8, ata ? "ATA" : disk.traits->isNvme ? "NVMe" : named ? model.substr(0, blank) : std::string{});
    page.PutText(16, 16, named ? model.substr(blank + 1) : model);
    page.PutText(32, 4, disk.description->firmware());
    ApplyPatches(page.Page(), disk.description->scsi().inquiry());
    return page.Take();
}

}  // namespace orbis::simulated
