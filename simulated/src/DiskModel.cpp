#include "DiskModel.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "emulated/Control.h"
#include "emulated/DeviceIo.h"
#include "emulated/Pdh.h"
#include "platform/protocol/Nvme.h"

namespace orbis::simulated {
namespace {

using description::DiskKind;
using platform::BusType;

constexpr std::uint32_t kMakerHealthLog = 0xD1;

constexpr std::array<KindTraits, 8> kKinds{{
    // kind, bus, media, removable, NVMe, ATA, ATA pass-through, SCSI pass-through, translation, rotation, summary
    {DiskKind::DISK_KIND_UNSPECIFIED, BusType::Unknown, 0, false, false, false, false, true, false, 0, "disk"},
    {DiskKind::NVME, BusType::Nvme, 4, false, true, false, false, true, false, 0, "NVMe"},
    {DiskKind::NVME_RAID, BusType::Raid, 4, false, true, false, false, true, false, 0, "NVMe behind RAID"},
    {DiskKind::SATA_HDD, BusType::Sata, 3, false, false, true, true, true, true, 7200, "SATA HDD"},
    {DiskKind::SATA_SSD, BusType::Sata, 4, false, false, true, true, true, true, 1, "SATA SSD"},
    {DiskKind::USB_STICK, BusType::Usb, 0, true, false, false, false, true, false, 0, "USB stick"},
    {DiskKind::USB_SATA, BusType::Usb, 0, false, false, true, false, true, true, 5400, "USB to SATA"},
    {DiskKind::SCM, BusType::Scm, 5, false, false, false, false, false, false, 0, "SCM"},
}};

std::string TrimBlanks(std::string text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\0'; };
    text.erase(std::find_if_not(text.rbegin(), text.rend(), isBlank).base(), text.end());
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isBlank));
    return text;
}

// A part of a device id: blanks and what Windows does not take become underscores.
std::string IdPart(std::string_view text, std::size_t width)
{
    std::string part = ToUpper(text.substr(0, width));
    std::replace_if(
        part.begin(), part.end(), [](char c) { return c <= ' ' || c > '~' || c == ',' || c == '\\' || c == '&'; }, '_');
    return part;
}

std::string DefaultPnpDeviceId(const DiskModel& disk)
{
    const std::string& model = disk.windowsModel;
    const std::size_t blank = std::min(model.find(' '), model.size());
    const std::string vendor = IdPart(model.substr(0, blank), 8);
    const std::string product = IdPart(blank < model.size() ? model.substr(blank + 1) : model, 16);
    switch (disk.description->kind()) {
        case DiskKind::NVME:
        case DiskKind::NVME_RAID:
            return fmt::format("SCSI\\DISK&VEN_NVME&PROD_{}\\5&{:08X}&0&000000", IdPart(model, 16), 0x1A2B3C00 + disk.number);
        case DiskKind::USB_STICK:
        case DiskKind::USB_SATA:
            return fmt::format("USBSTOR\\DISK&VEN_{}&PROD_{}&REV_{}\\{}&0", vendor, product, IdPart(disk.firmware, 4),
                               IdPart(disk.serial, 20));
        case DiskKind::SCM:
            return fmt::format("SCMDISK\\DISK&VEN_{}&PROD_{}\\6&{:08X}&0&{:04}", vendor, product, 0x2B3C4D00 + disk.number,
                               disk.number);
        default:
            return fmt::format("SCSI\\DISK&VEN_{}&PROD_{}\\4&{:08X}&0&{:02}0000", vendor, product, 0x3C4D5E00 + disk.number,
                               disk.number);
    }
}

std::string LettersOf(const DiskModel& disk)
{
    std::string letters;
    for (const auto& volume : disk.volumes) {
        letters += volume->letter;
    }
    std::erase(letters, '\0');
    return letters;
}

void BuildPages(DiskModel& disk)
{
    const description::Disk& description = *disk.description;
    disk.descriptor = BuildDescriptor(disk);
    disk.inquiry = BuildInquiry(disk);
    if (disk.traits->isNvme) {
        disk.identifyController = BuildIdentifyController(description);
        disk.nvmeLogPages[protocol::nvme::kLogSmartHealth].content = BuildHealthLog(description.nvme().health());
        if (const description::MakerArea& maker = description.nvme().maker(); maker.has_health()) {
            disk.nvmeLogPages[kMakerHealthLog] = {BuildMakerHealthLog(maker.health()), maker.health().query_error(), 0};
        }
        for (const description::NvmeLogPage& page : description.nvme().log_page()) {
            disk.nvmeLogPages[page.identifier()] = {ToBytes(page.content()), page.query_error(), page.device_status()};
        }
    }
    if (disk.traits->isAta) {
        const description::AtaDevice& ata = description.ata();
        const std::uint32_t rotation = ata.has_rotation_rate() ? ata.rotation_rate() : disk.traits->rotationRate;
        disk.identifyDevice = BuildIdentifyDevice(description, disk.sectorSize, rotation);
        disk.smartData = BuildSmartData(ata);
        disk.smartThresholds = BuildSmartThresholds(ata);
        for (const description::AtaLogPage& page : ata.log_page()) {
            disk.ataLogPages[page.address()] = BuildAtaLogPage(page);
        }
    }
}

}  // namespace

const KindTraits& TraitsOf(description::DiskKind kind)
{
    const auto found = std::find_if(kKinds.begin(), kKinds.end(), [&](const KindTraits& traits) { return traits.kind == kind; });
    return found != kKinds.end() ? *found : kKinds.front();
}

ExchangeModel::ExchangeModel(const description::Exchange& exchange)
    : description(exchange), input(ToBytes(exchange.input())), output(ToBytes(exchange.output())), data(ToBytes(exchange.data()))
{}

ExchangeList BuildExchanges(const google::protobuf::RepeatedPtrField<description::Exchange>& exchanges)
{
    ExchangeList list;
    for (const description::Exchange& exchange : exchanges) {
        list.push_back(std::make_unique<ExchangeModel>(exchange));
    }
    return list;
}

bool DiskModel::AsleepAt(double seconds) const
{
    return description->has_sleeps_at() && seconds >= description->sleeps_at() &&
           (!description->has_wakes_at() || seconds < description->wakes_at()) && !isWoken;
}

bool DiskModel::PresentAt(double seconds) const
{
    return (!description->has_arrives_at() || seconds >= description->arrives_at()) &&
           (!description->has_leaves_at() || seconds < description->leaves_at());
}

ByteVector BuildDescriptor(const DiskModel& disk)
{
    const auto bytes = platform::emulated::DeviceDescriptor(
        {static_cast<BusType>(disk.busType), disk.removable, {}, disk.windowsModel, disk.firmware, disk.serial});
    ByteVector descriptor(bytes.size());
    std::memcpy(descriptor.data(), bytes.data(), bytes.size());
    ApplyPatches(descriptor, disk.description->device_descriptor());
    return descriptor;
}

std::unique_ptr<DiskModel> BuildDisk(const description::Disk& description, std::uint32_t position)
{
    auto disk = std::make_unique<DiskModel>();
    const KindTraits& traits = TraitsOf(description.kind());
    disk->description = &description;
    disk->traits = &traits;
    disk->number = description.number();
    disk->sectorSize = description.has_sector_size() ? description.sector_size() : 512;
    disk->busType = description.has_bus_type() ? description.bus_type() : static_cast<std::uint32_t>(traits.busType);
    disk->mediaType = description.has_media_type() ? description.media_type() : traits.mediaType;
    disk->removable = description.has_removable() ? description.removable() : traits.removable;
    disk->serial = TrimBlanks(description.serial());
    disk->firmware = TrimBlanks(description.firmware());
    disk->windowsModel = description.has_windows_model() ? description.windows_model() : TrimBlanks(description.model());
    disk->pnpDeviceId = description.has_pnp_device_id() ? description.pnp_device_id() : DefaultPnpDeviceId(*disk);
    disk->instanceId = description.has_instance_id() ? description.instance_id() : disk->pnpDeviceId;
    disk->interfacePath =
        description.has_interface_path() ? description.interface_path() : platform::emulated::DiskInterfacePath(disk->instanceId);
    disk->scsiPort = description.has_scsi_port() ? description.scsi_port() : position;

    const description::AtaDevice& ata = description.ata();
    disk->ataPassThrough = ata.has_ata_pass_through() ? ata.ata_pass_through() : traits.ataPassThrough;
    disk->scsiTranslation = ata.has_scsi_translation() ? ata.scsi_translation() : traits.scsiTranslation;
    disk->scsiPassThrough = description.scsi().has_pass_through() ? description.scsi().pass_through() : traits.scsiPassThrough;
    BuildPages(*disk);
    BuildPartitions(*disk);
    disk->counterInstance = platform::emulated::DiskInstanceName(disk->number, LettersOf(*disk));
    disk->exchanges = BuildExchanges(description.exchange());
    return disk;
}

}  // namespace orbis::simulated
