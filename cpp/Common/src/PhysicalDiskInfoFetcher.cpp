#include "Common/PhysicalDiskInfoFetcher.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <iterator>
#include <optional>
#include <stdexcept>

#include <fmt/format.h>

#include "Common/ResultException.h"
#include "Common/WideText.h"
#include "Common/WmiCommonLib.h"
#include "ReadSized.h"
#include "platform/Errors.h"
#include "platform/Requests.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using namespace orbis::platform;
using HardwareAccessLib::DiskDriveMediaType;

// Failures have fixed line numbers, because support quotes them; they are not lines of this file. Plain numbers are documented
// lines; named ones are lines that this project added.
constexpr std::string_view kDiskInfoUnit = R"(cpp\Common\src\PhysicalDiskInfoFetcher)";
constexpr std::int32_t kOwnLineDriveStrings = 57;
constexpr std::int32_t kOwnLineLayoutOpen = 203;
constexpr std::int32_t kOwnLineLayout = 207;
constexpr std::int32_t kOwnLineLayoutHead = 211;
constexpr std::int32_t kOwnLineLayoutEntries = 212;

// Text of the identifier of a partition that has none. No volume is joined to it.
constexpr std::string_view kNoIdentifier = "00000000-0000-0000-0000-000000000000";

// Windows reserves 128 entries for a GPT disk; tables made by other systems may have more. A reply that needs more than the second
// number is not a partition table.
constexpr std::uint32_t kUsualEntries = 128;
constexpr std::uint32_t kMostEntries = 1024;

// As StringFromCLSID prints it, without the braces.
std::string ToText(const Guid& guid)
{
    const auto& tail = guid.data4;
    return fmt::format("{:08X}-{:04X}-{:04X}-{:02X}{:02X}-{:02X}{:02X}{:02X}{:02X}{:02X}{:02X}", guid.data1, guid.data2, guid.data3,
                       tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
}

// Text of a partition's GPT identifier. An MBR partition has none: Windows assigns it an identifier elsewhere in the entry, which
// depends on the disk signature and is not stored in the partition table.
std::string GuidOf(const PartitionInformationEx& partition)
{
    return partition.partitionStyle == PartitionStyle::Gpt ? ToText(partition.gpt.partitionId) : std::string(kNoIdentifier);
}

std::string NameOf(const PartitionInformationEx& partition, std::string_view guid)
{
    if (guid == kNoIdentifier) {
        return "Not Used";
    }
    const auto& name = partition.gpt.name;
    return WideToUtf8({name.begin(), std::find(name.begin(), name.end(), u'\0')});
}

std::u16string VolumePath(std::string_view driveLetter)
{
    std::u16string path = uR"(\\.\)";
    std::transform(driveLetter.begin(), driveLetter.end(), std::back_inserter(path),
                   [](char character) { return static_cast<unsigned char>(character); });
    return path + u':';
}

// The drive letters of the system, one character each.
std::string LogicalDriveLetters()
{
    const auto drives = ReadSized<char16_t>([&devices = DeviceIo::Current()](char16_t* buffer, std::uint32_t characters) {
        const std::uint32_t result = devices.LogicalDriveStrings(characters, buffer);
        // A system without drive letters returns 0 as well, but only in the second call: the first one counts the closing zero.
        if (result == 0 && characters == 0) {
            ThrowWin32(devices.LastError(), kDiskInfoUnit, kOwnLineDriveStrings);
        }
        return result;
    });
    std::string letters;
    char16_t before = u'\0';
    for (const char16_t character : drives) {  // "C:\", zero, "D:\", zero
        if (before == u'\0' && character != u'\0') {
            letters += static_cast<char>(character);
        }
        before = character;
    }
    return letters;
}

// The value that `read` returns, or empty for a property that is NULL, missing or of another type.
template <class Read>
auto IfKnown(Read&& read) -> std::optional<decltype(read())>
{
    try {
        return read();
    } catch (const ResultException& exception) {
        if (exception.Result() != hresult::kUnexpected && exception.Result() != hresult::kWbemNotFound) {
            throw;
        }
        return std::nullopt;
    }
}

std::optional<std::string> KnownText(const WmiCommonLib& row, const char16_t* name)
{
    return IfKnown([&] { return row.GetStringByField(name); });
}

bool KnownTrue(const WmiCommonLib& row, const char16_t* name)
{
    return IfKnown([&] { return row.GetBoolByField(name); }).value_or(false);
}

// "C:" of "C:\Windows\Minidump"; empty for a path without a drive letter. The path may be in lower case.
std::string DriveOf(std::string_view path)
{
    if (path.size() < 2 || path[1] != ':') {
        return {};
    }
    const char letter = path[0];
    return {letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter, ':'};
}

// The value of a key, or an empty one.
template <class Value>
Value ValueOr(const std::map<std::string, Value>& values, const std::string& key)
{
    const auto found = values.find(key);
    return found == values.end() ? Value{} : found->second;
}

}  // namespace

bool PhysicalDiskInfoFetcher::IsDrivePresent(std::uint32_t physicalDriveNumber)
{
    try {
        return GetDeviceNumber(MakePhysicalDrivePath(physicalDriveNumber)) == physicalDriveNumber;
    } catch (const std::exception&) {
        return false;
    }
}

PhysicalDiskInfoFetcher::VolumeRecords PhysicalDiskInfoFetcher::FetchVolumeRecords()
{
    VolumeRecords records;
    for (const char letter : LogicalDriveLetters()) {
        const std::u16string path = VolumePath({&letter, 1});
        std::string guid = ReadPartitionGuid(path);
        records.insert({std::move(guid), {letter, ':'}, GetDeviceNumber(path)});
    }
    return records;
}

PhysicalDiskInfoFetcher::LogicalDisks PhysicalDiskInfoFetcher::FetchLogicalDisks()
{
    LogicalDisks disks;
    for (WmiCommonLib rows(u"SELECT * FROM Win32_LogicalDisk", WmiNamespace::CimV2); !rows.IsEnd(); rows.Next()) {
        std::string caption = rows.GetStringByField(u"Caption");
        std::string serial = KnownText(rows, u"VolumeSerialNumber").value_or("");
        if (!disks.emplace(std::move(caption), std::move(serial)).second) {
            throw std::runtime_error("Duplicate drive letter found!");
        }
    }
    return disks;
}

PhysicalDiskInfoFetcher::VolumeFactsByDrive PhysicalDiskInfoFetcher::FetchVolumeFacts()
{
    VolumeFactsByDrive volumes;
    for (WmiCommonLib rows(u"SELECT * FROM Win32_Volume", WmiNamespace::CimV2); !rows.IsEnd(); rows.Next()) {
        VolumeFacts facts;
        facts.deviceId = rows.GetStringByField(u"DeviceID");
        facts.isBootVolume = KnownTrue(rows, u"BootVolume");
        facts.isPageFilePresent = KnownTrue(rows, u"PageFilePresent");
        if (const auto drive = KnownText(rows, u"DriveLetter")) {
            volumes.emplace(*drive, std::move(facts));
        }
    }
    return volumes;
}

std::string PhysicalDiskInfoFetcher::FetchCrashDumpDirectory()
{
    const WmiCommonLib rows(u"SELECT * FROM Win32_OSRecoveryConfiguration", WmiNamespace::CimV2);
    return rows.IsEnd() ? std::string() : KnownText(rows, u"ExpandedMiniDumpDirectory").value_or("");
}

PhysicalDiskInfoFetcher::MediaTypeList PhysicalDiskInfoFetcher::FetchMediaTypes()
{
    MediaTypeList mediaTypes;
    for (WmiCommonLib rows(u"SELECT * FROM MSFT_PhysicalDisk", WmiNamespace::Storage); !rows.IsEnd(); rows.Next()) {
        const std::string deviceId = rows.GetStringByField(u"DeviceId");
        int number = 0;
        try {
            number = std::stoi(deviceId);
        } catch (const std::logic_error&) {  // no number, or one out of range
            throw std::runtime_error("PhysicalDiskInfoFetcher::FetchMediaTypes: Invalid device id :" + deviceId);
        }
        const auto mediaType = static_cast<DiskDriveMediaType>(rows.GetUint32ByField(u"MediaType"));
        mediaTypes.emplace_back(static_cast<std::uint32_t>(number), mediaType);
    }
    return mediaTypes;
}

PhysicalDiskInfo PhysicalDiskInfoFetcher::GetPhysicalDiskInfo(const BasicDiskInfo& basic)
{
    PhysicalDiskInfo disk;
    disk.diskNumber = basic.physicalDriveNumber;
    disk.mediaType = basic.mediaType;
    disk.name = "DISK" + std::to_string(disk.diskNumber);
    disk.size = GetDiskSizeInMegaBytes(disk.diskNumber);
    if (std::string model = GetModelFromIdentify(basic.physicalDrivePath); !model.empty()) {
        disk.model = std::move(model);
    }
    if (std::string eppid = GetStringFromLogPage9A(basic.physicalDrivePath); !eppid.empty()) {
        disk.eppid = std::move(eppid);
    }
    ReadDriveLayout(disk);
    JoinVolumes(disk.partitions);
    return disk;
}

void PhysicalDiskInfoFetcher::GetBytesTransferred(std::string_view driveLetter, std::int64_t& bytesRead, std::int64_t& bytesWritten)
{
    DiskPerformance performance;
    if (Ask(VolumePath(driveLetter), kFileReadAttributes, kIoctlDiskPerformance, performance, {kDiskInfoUnit, 409, 412}) == 0) {
        throw ResultException(hresult::kUnexpected, kDiskInfoUnit, 413);
    }
    bytesRead = performance.bytesRead;
    bytesWritten = performance.bytesWritten;
}

void PhysicalDiskInfoFetcher::ReadDriveLayout(PhysicalDiskInfo& disk)
{
    const std::vector<std::uint8_t> reply = RequestDriveLayout(disk.diskNumber);
    DriveLayoutHead head;
    if (reply.size() < sizeof(head)) {
        throw ResultException(hresult::kUnexpected, kDiskInfoUnit, kOwnLineLayoutHead);
    }
    std::memcpy(&head, reply.data(), sizeof(head));
    if (head.partitionCount > (reply.size() - sizeof(head)) / sizeof(PartitionInformationEx)) {
        throw ResultException(hresult::kUnexpected, kDiskInfoUnit, kOwnLineLayoutEntries);
    }
    if (head.partitionStyle == PartitionStyle::Gpt && head.gpt.diskId != Guid{}) {
        disk.guid = ToText(head.gpt.diskId);
    }
    // Every entry, including the empty ones that fill an MBR up to a multiple of four: "Not Used" and without a size.
    for (std::uint32_t at = 0; at < head.partitionCount; ++at) {
        PartitionInformationEx entry;
        std::memcpy(&entry, reply.data() + sizeof(head) + at * sizeof(entry), sizeof(entry));
        PartitionInfo partition;
        partition.guid = GuidOf(entry);
        partition.index = entry.partitionNumber;
        partition.size = static_cast<std::uint64_t>(entry.partitionLength) >> 20U;
        partition.name = NameOf(entry, partition.guid);
        disk.partitions.push_back(std::move(partition));
    }
}

std::vector<std::uint8_t> PhysicalDiskInfoFetcher::RequestDriveLayout(std::uint32_t diskNumber)
{
    const DeviceHandle drive =
        OpenOrRaise(MakePhysicalDrivePath(diskNumber), kGenericRead | kGenericWrite, kDiskInfoUnit, kOwnLineLayoutOpen);
    for (std::uint32_t entries = kUsualEntries;; entries *= 2) {
        std::vector<std::uint8_t> reply(sizeof(DriveLayoutHead) + entries * sizeof(PartitionInformationEx));
        std::uint32_t returned = 0;
        if (DeviceControl(drive, kIoctlDiskGetDriveLayoutEx, nullptr, 0, reply.data(), static_cast<std::uint32_t>(reply.size()),
                          &returned, nullptr)) {
            reply.resize(std::min<std::size_t>(returned, reply.size()));
            return reply;
        }
        const std::uint32_t error = DeviceIo::Current().LastError();
        const bool isTooSmall = error == win32::kInsufficientBuffer || error == win32::kMoreData;
        if (!isTooSmall || entries == kMostEntries) {
            ThrowWin32(error, kDiskInfoUnit, kOwnLineLayout);
        }
    }
}

std::string PhysicalDiskInfoFetcher::ReadPartitionGuid(const std::u16string& volumePath)
{
    PartitionInformationEx partition;
    Ask(volumePath, kGenericRead, kIoctlDiskGetPartitionInfoEx, partition, {kDiskInfoUnit, 64, 66});
    return GuidOf(partition);
}

void PhysicalDiskInfoFetcher::JoinVolumes(std::vector<PartitionInfo>& partitions)
{
    const VolumeRecords records = FetchVolumeRecords();
    const LogicalDisks logicalDisks = FetchLogicalDisks();
    const VolumeFactsByDrive volumes = FetchVolumeFacts();
    const std::string crashDumpDrive = DriveOf(FetchCrashDumpDirectory());
    for (PartitionInfo& partition : partitions) {
        const auto record = records.lower_bound({partition.guid, "", 0});
        if (partition.guid == kNoIdentifier || record == records.end() || record->partitionGuid != partition.guid) {
            continue;
        }
        const VolumeFacts facts = ValueOr(volumes, record->drive);
        partition.serial = ValueOr(logicalDisks, record->drive);
        partition.isBootVolume = facts.isBootVolume;
        partition.isPageFilePresent = facts.isPageFilePresent;
        partition.isCrashDump = record->drive == crashDumpDrive;
    }
}

HardwareAccessLib::MediaTypeList PhysicalDiskInfoProvider::FetchMediaTypes() const
{
    return PhysicalDiskInfoFetcher().FetchMediaTypes();
}

std::vector<HardwareAccessLib::BasicDiskInfo> PhysicalDiskInfoProvider::GetAllBasicDiskInfo(
    const HardwareAccessLib::MediaTypeList& mediaTypes) const
{
    return PhysicalDiskInfoFetcher().GetAllBasicDiskInfo(mediaTypes);
}

PhysicalDiskInfo PhysicalDiskInfoProvider::GetPhysicalDiskInfo(const HardwareAccessLib::BasicDiskInfo& basic) const
{
    return PhysicalDiskInfoFetcher().GetPhysicalDiskInfo(basic);
}

void PhysicalDiskInfoProvider::GetMegaBytesTransferred(std::string_view driveLetter, std::int64_t& megaBytesRead,
                                                       std::int64_t& megaBytesWritten) const
{
    std::int64_t bytesRead = 0;
    std::int64_t bytesWritten = 0;
    PhysicalDiskInfoFetcher().GetBytesTransferred(driveLetter, bytesRead, bytesWritten);
    megaBytesRead = bytesRead >> 20;
    megaBytesWritten = bytesWritten >> 20;
}

bool PhysicalDiskInfoProvider::IsInvalidDisk(const PhysicalDiskInfo& disk) const noexcept
{
    const bool isKnownMedia = disk.mediaType == DiskDriveMediaType::HardDisk || disk.mediaType == DiskDriveMediaType::SolidState ||
                              disk.mediaType == DiskDriveMediaType::StorageClassMemory;
    return disk.size == 0 && disk.guid.empty() && !isKnownMedia;
}

}  // namespace Veyra::Orbis::Cpp::Common
