#include "PlatformContract.h"

#include <algorithm>
#include <array>
#include <set>

#include "PortHelpers.h"

namespace orbis::tests {
namespace {

using namespace platform;

constexpr std::array<std::uint32_t, 2> kUnsupported{win32::kInvalidFunction, win32::kNotSupported};

bool IsOneOf(std::uint32_t error, const auto& errors) { return std::find(errors.begin(), errors.end(), error) != errors.end(); }

std::uint32_t NumberOf(DeviceIo& io, const DeviceHandle& device)
{
    return Ask(io, device, kIoctlStorageGetDeviceNumber, {}, sizeof(StorageDeviceNumber)).As<StorageDeviceNumber>().deviceNumber;
}

}  // namespace

TEST_P(PlatformContract, OpeningMissingDeviceFailsAsAbsent)
{
    DeviceIo& io = ports.DeviceIoPort();
    for (const char16_t* path : {u"\\\\.\\PhysicalDrive4711", u"\\\\.\\NoSuchDevice", u"\\\\.\\1:", u""}) {
        EXPECT_FALSE(OpenDevice(io, path).IsValid());
        EXPECT_TRUE(IsOneOf(io.LastError(), std::array{win32::kFileNotFound, win32::kPathNotFound})) << io.LastError();
        EXPECT_EQ(io.DiskPowerState(path), PowerState::Unknown);
        EXPECT_TRUE(IsOneOf(io.LastError(), std::array{win32::kFileNotFound, win32::kPathNotFound})) << io.LastError();
    }
}

TEST_P(PlatformContract, ClosedOrNullHandleIsAnError)
{
    subject->ExpectMisuses();
    DeviceIo& io = ports.DeviceIoPort();
    EXPECT_EQ(io.Open(nullptr, 0, 0, nullptr, kOpenExisting, 0, 0), kInvalidHandle);
    EXPECT_EQ(io.LastError(), win32::kPathNotFound);
    std::vector<NativeHandle> handles{0x7FFC};  // one that was never opened
    for (const WalkedDisk& disk : WalkDisks(ports.SetupPort())) {
        handles.push_back(io.Open(disk.path.c_str(), 0, 0, nullptr, kOpenExisting, 0, 0));
        EXPECT_TRUE(io.Close(handles.back()));
    }
    for (const NativeHandle handle : handles) {
        std::uint32_t returned = 1;
        EXPECT_FALSE(io.Control(handle, kIoctlStorageGetDeviceNumber, nullptr, 0, nullptr, 0, &returned, nullptr));
        EXPECT_EQ(io.LastError(), win32::kInvalidHandle);
        EXPECT_EQ(returned, 0U);
        EXPECT_FALSE(io.Close(handle));
        EXPECT_EQ(io.LastError(), win32::kInvalidHandle);
    }

    platform::Setup& setup = ports.SetupPort();
    DeviceInterfaceData data;
    DeviceInfoData info;
    EXPECT_FALSE(setup.EnumDeviceInterfaces(kInvalidDeviceInfoSet, kDiskInterfaceGuid, 0, &data));
    EXPECT_EQ(setup.LastError(), win32::kInvalidHandle);
    EXPECT_FALSE(setup.EnumDeviceInfo(kInvalidDeviceInfoSet, 0, &info));
    EXPECT_EQ(setup.LastError(), win32::kInvalidHandle);
    EXPECT_FALSE(setup.DeviceProperty(kInvalidDeviceInfoSet, info, kDeviceInstanceIdKey, nullptr, nullptr, 0, nullptr, 0));
    EXPECT_EQ(setup.LastError(), win32::kInvalidHandle);
    EXPECT_FALSE(setup.DestroyDeviceInfoList(kInvalidDeviceInfoSet));
    EXPECT_EQ(setup.LastError(), win32::kInvalidHandle);

    Pdh& pdh = ports.PdhPort();
    PdhQueryObject* query = nullptr;
    auto* counter = reinterpret_cast<PdhCounterObject*>(&query);
    PdhCounterValue value;
    EXPECT_EQ(pdh.AddEnglishCounter(nullptr, u"\\PhysicalDisk(_Total)\\% Idle Time", 0, &counter), pdh::kInvalidHandle);
    EXPECT_EQ(pdh.FormattedValue(nullptr, pdh::kFormatDouble, &value), pdh::kInvalidHandle);
    ASSERT_EQ(pdh.OpenQuery(nullptr, 0, &query), pdh::kOk);
    EXPECT_NE(pdh.AddEnglishCounter(query, u"\\No Such Object(*)\\No Such Counter", 0, &counter), pdh::kOk);
    EXPECT_EQ(counter, nullptr) << "a counter that is not added is null";
    EXPECT_EQ(pdh.CloseQuery(query), pdh::kOk);
    EXPECT_EQ(pdh.CloseQuery(query), pdh::kInvalidHandle);
    EXPECT_EQ(pdh.CollectQueryData(nullptr), pdh::kInvalidHandle);
}

TEST_P(PlatformContract, EveryDiskOfTheWalkIsTheOneOfItsDriveNumber)
{
    DeviceIo& io = ports.DeviceIoPort();
    std::set<std::uint32_t> numbers;
    for (const WalkedDisk& disk : WalkDisks(ports.SetupPort())) {
        EXPECT_FALSE(disk.instanceId.empty());
        const DeviceHandle byPath = OpenDevice(io, disk.path, kGenericRead);
        ASSERT_TRUE(byPath.IsValid()) << io.LastError();
        const Answer answer = Ask(io, byPath, kIoctlStorageGetDeviceNumber, {}, 64);
        ASSERT_EQ(answer.bytes.size(), sizeof(StorageDeviceNumber));
        const auto number = answer.As<StorageDeviceNumber>();
        EXPECT_EQ(number.deviceType, kFileDeviceDisk);
        EXPECT_EQ(number.partitionNumber, 0U);
        EXPECT_TRUE(numbers.insert(number.deviceNumber).second) << "drive number " << number.deviceNumber << " twice";
        const DeviceHandle byNumber = OpenDevice(io, DrivePath(number.deviceNumber), 0);
        ASSERT_TRUE(byNumber.IsValid());
        EXPECT_EQ(NumberOf(io, byNumber), number.deviceNumber);
        EXPECT_EQ(io.DiskPowerState(disk.path.c_str()), io.DiskPowerState(DrivePath(number.deviceNumber).c_str()));
    }
}

TEST_P(PlatformContract, TheWalkCountsInBytesAndEndsWithNoMoreItems)
{
    platform::Setup& setup = ports.SetupPort();
    const std::size_t disks = WalkDisks(setup).size();
    const DeviceInfoSet set(setup,
                            setup.ClassDevices(&kDiskInterfaceGuid, nullptr, nullptr, kDigcfPresent | kDigcfDeviceInterface));
    ASSERT_TRUE(set.IsValid());
    DeviceInterfaceData data;
    DeviceInfoData info;
    EXPECT_FALSE(setup.EnumDeviceInterfaces(set.Get(), kDiskInterfaceGuid, static_cast<std::uint32_t>(disks), &data));
    EXPECT_EQ(setup.LastError(), win32::kNoMoreItems);
    EXPECT_FALSE(setup.EnumDeviceInfo(set.Get(), static_cast<std::uint32_t>(disks), &info));
    EXPECT_EQ(setup.LastError(), win32::kNoMoreItems);
    if (disks == 0) {
        return;
    }
    ASSERT_TRUE(setup.EnumDeviceInterfaces(set.Get(), kDiskInterfaceGuid, 0, &data));
    std::uint32_t required = 0;
    EXPECT_FALSE(setup.DeviceInterfaceDetail(set.Get(), data, nullptr, 8, &required));
    EXPECT_EQ(setup.LastError(), win32::kInvalidUserBuffer);
    EXPECT_FALSE(setup.DeviceInterfaceDetail(set.Get(), data, nullptr, 0, &required));
    EXPECT_EQ(setup.LastError(), win32::kInsufficientBuffer);
    EXPECT_EQ(required % 2, 0U);

    ASSERT_TRUE(setup.EnumDeviceInfo(set.Get(), 0, &info));
    std::array<char16_t, 512> id{};
    std::uint32_t type = 0;
    ASSERT_TRUE(setup.DeviceProperty(set.Get(), info, kDeviceInstanceIdKey, &type, id.data(), sizeof(id), &required, 0));
    EXPECT_EQ(type, kDevicePropertyTypeString);
    EXPECT_EQ(required, (std::u16string(id.data()).size() + 1) * sizeof(char16_t));
    EXPECT_TRUE(setup.DeviceProperty(set.Get(), info, kDeviceInstanceIdKey, &type, id.data(), required, nullptr, 0));
    EXPECT_FALSE(setup.DeviceProperty(set.Get(), info, kDeviceInstanceIdKey, &type, id.data(), required - 1, nullptr, 0));
    EXPECT_EQ(setup.LastError(), win32::kInsufficientBuffer);
    EXPECT_FALSE(
        setup.DeviceProperty(set.Get(), info, {kDeviceInstanceIdKey.category, 4711}, &type, id.data(), sizeof(id), nullptr, 0));
    EXPECT_EQ(setup.LastError(), win32::kNotFound);
    EXPECT_EQ(type, kDevicePropertyTypeEmpty);
    EXPECT_FALSE(setup.DeviceProperty(set.Get(), info, kDeviceInstanceIdKey, nullptr, id.data(), sizeof(id), nullptr, 0));
    EXPECT_EQ(setup.LastError(), win32::kInvalidUserBuffer) << "the type is not optional";
    EXPECT_FALSE(setup.DeviceProperty(set.Get(), info, kDeviceInstanceIdKey, &type, id.data(), sizeof(id), nullptr, 1));
    EXPECT_EQ(setup.LastError(), win32::kInvalidFlags);
    info.size = 1;
    EXPECT_FALSE(setup.EnumDeviceInfo(set.Get(), 0, &info));
    EXPECT_EQ(setup.LastError(), win32::kInvalidUserBuffer);
}

TEST_P(PlatformContract, RequestsAnswerWholeStructuresOrSayThatTheBufferIsShort)
{
    DeviceIo& io = ports.DeviceIoPort();
    for (const WalkedDisk& disk : WalkDisks(ports.SetupPort())) {
        const DeviceHandle device = OpenDevice(io, disk.path);
        if (!device.IsValid()) {
            EXPECT_EQ(io.LastError(), win32::kAccessDenied);
            continue;
        }
        EXPECT_TRUE(IsOneOf(Ask(io, device, 0x00070FFC, {}, 64).error, kUnsupported)) << "an unknown control code";
        EXPECT_EQ(Ask(io, device, kIoctlStorageGetDeviceNumber, {}, 11).error, win32::kInsufficientBuffer);
        EXPECT_EQ(Ask(io, device, kIoctlDiskGetDriveGeometry, {}, 23).error, win32::kInsufficientBuffer);
        const Answer geometry = Ask(io, device, kIoctlDiskGetDriveGeometry, {}, 64);
        EXPECT_EQ(geometry.bytes.size(), sizeof(DiskGeometry));
        EXPECT_GE(geometry.As<DiskGeometry>().bytesPerSector, 512U);

        EXPECT_EQ(Ask(io, device, kIoctlDiskGetDriveLayoutEx, {}, 0x2F).error, win32::kInsufficientBuffer);
        const Answer layout = Ask(io, device, kIoctlDiskGetDriveLayoutEx, {}, 0x30 + 0x90 * 256);
        const auto head = layout.As<DriveLayoutHead>();
        EXPECT_LE(static_cast<std::uint32_t>(head.partitionStyle), 2U);
        EXPECT_EQ(layout.bytes.size(), 0x30 + std::size_t{0x90} * head.partitionCount);
        if (head.partitionCount > 0) {
            EXPECT_EQ(Ask(io, device, kIoctlDiskGetDriveLayoutEx, {}, layout.bytes.size() - 1).error, win32::kInsufficientBuffer);
        }

        EXPECT_EQ(Ask(io, OpenDevice(io, disk.path, 0), kIoctlScsiPassThroughDirect, BytesOf(ScsiPassThroughDirect{}), 56).error,
                  win32::kAccessDenied)
            << "the handle is for attributes alone";
        const auto query = BytesOf(StoragePropertyQueryHead{}, 12);
        EXPECT_EQ(Ask(io, device, kIoctlStorageQueryProperty, BytesOf(StoragePropertyQueryHead{}), 1024).error, win32::kBadLength);
        EXPECT_EQ(
            Ask(io, device, kIoctlStorageQueryProperty, BytesOf(StoragePropertyQueryHead{0, kPropertyExistsQuery}, 12), 0).error,
            win32::kSuccess);
        EXPECT_GE(Ask(io, device, kIoctlStorageQueryProperty, BytesOf(StoragePropertyQueryHead{kStorageAdapterProperty, 0}, 12), 64)
                      .bytes.size(),
                  32U);
        const Answer descriptor = Ask(io, device, kIoctlStorageQueryProperty, query, 1024);
        EXPECT_EQ(descriptor.As<StorageDeviceDescriptorHead>().version, kStorageDeviceDescriptorSize);
        EXPECT_EQ(descriptor.As<StorageDeviceDescriptorHead>().size, descriptor.bytes.size());
    }
}

TEST_P(PlatformContract, MalformedCommandsAreRefusedBeforeTheyReachADrive)
{
    DeviceIo& io = ports.DeviceIoPort();
    // A well-formed request; the result sends it with one member changed and gives the error.
    const auto asking = [&io](std::uint32_t code, const auto& request, std::size_t size) {
        return [&io, code, request, size](const DeviceHandle& device, auto member, std::uint32_t value, std::size_t room) {
            auto changed = request;
            changed.*member = static_cast<std::remove_reference_t<decltype(changed.*member)>>(value);
            return Ask(io, device, code, BytesOf(changed, size), room).error;
        };
    };
    using Ata = AtaPassThroughDirect;
    Ata ataRequest;
    ataRequest.length = sizeof(ataRequest);
    ataRequest.timeOutValue = 60;
    const auto ata = asking(kIoctlAtaPassThroughDirect, ataRequest, sizeof(Ata));
    using Scsi = ScsiPassThroughDirect;
    Scsi scsiRequest;
    scsiRequest.length = sizeof(scsiRequest);
    scsiRequest.cdbLength = 6;
    scsiRequest.senseInfoLength = 8;
    scsiRequest.senseInfoOffset = 56;
    scsiRequest.timeOutValue = 60;
    const auto scsi = asking(kIoctlScsiPassThroughDirect, scsiRequest, 64);
    struct Page : StoragePropertyQueryHead, StorageProtocolSpecificData {};
    const auto page = asking(kIoctlStorageQueryProperty,
                             Page{{kStorageDeviceProtocolSpecificProperty, kPropertyStandardQuery},
                                  {kProtocolTypeNvme, kNvmeDataTypeIdentify, 1, 0, sizeof(StorageProtocolSpecificData), 16}},
                             sizeof(StorageProtocolQuery));
    using Command = StorageProtocolCommandHead;
    Command commandRequest;
    commandRequest.protocolType = kProtocolTypeNvme;
    commandRequest.flags = kProtocolCommandFlagAdapterRequest;
    commandRequest.commandLength = kProtocolCommandLengthNvme;
    commandRequest.dataFromDeviceTransferLength = 16;
    commandRequest.dataFromDeviceBufferOffset = 144;
    commandRequest.timeOutValue = 10;
    commandRequest.commandSpecific = kProtocolSpecificNvmeAdminCommand;
    const auto command = asking(kIoctlStorageProtocolCommand, commandRequest, 144);

    constexpr std::uint32_t kInvalid = win32::kInvalidParameter;
    for (const WalkedDisk& disk : WalkDisks(ports.SetupPort())) {
        const DeviceHandle device = OpenDevice(io, disk.path);
        if (!device.IsValid() || ata(device, &Ata::length, 40, 48) == win32::kAccessDenied) {
            continue;
        }
        EXPECT_EQ(ata(device, &Ata::length, 40, 48), kInvalid);
        EXPECT_EQ(ata(device, &Ata::timeOutValue, 0, 48), kInvalid);
        EXPECT_EQ(ata(device, &Ata::timeOutValue, 108001, 48), kInvalid) << "more than 30 hours";
        EXPECT_EQ(ata(device, &Ata::dataTransferLength, 512, 48), kInvalid) << "no buffer";
        EXPECT_EQ(ata(device, &Ata::length, 48, 47), kInvalid);
        EXPECT_EQ(scsi(device, &Scsi::cdbLength, 0, 64), kInvalid);
        EXPECT_EQ(scsi(device, &Scsi::cdbLength, 17, 64), kInvalid);
        EXPECT_EQ(scsi(device, &Scsi::senseInfoOffset, 55, 64), kInvalid) << "in the structure";
        EXPECT_EQ(scsi(device, &Scsi::senseInfoOffset, 57, 64), kInvalid) << "past the end";
        const Answer descriptor = Ask(io, device, kIoctlStorageQueryProperty, BytesOf(StoragePropertyQueryHead{}, 12), 64);
        if (descriptor.As<StorageDeviceDescriptorHead>().busType != BusType::Nvme) {
            continue;
        }
        EXPECT_EQ(page(device, &Page::protocolType, 2, 64), kInvalid);
        EXPECT_EQ(page(device, &Page::dataType, 9, 64), kInvalid);
        EXPECT_EQ(page(device, &Page::dataOffset, 39, 64), kInvalid) << "in the structure";
        EXPECT_EQ(page(device, &Page::dataOffset, 0xFFFFFFF8, 64), win32::kInsufficientBuffer);
        EXPECT_EQ(page(device, &Page::dataLength, 0, 64), kInvalid);
        EXPECT_EQ(page(device, &Page::dataLength, (1U << 20U) + 4, 64), kInvalid) << "longer than any page";
        EXPECT_EQ(page(device, &Page::dataLength, 17, 64), win32::kInsufficientBuffer);
        EXPECT_EQ(command(device, &Command::version, 2, 160), kInvalid);
        EXPECT_EQ(command(device, &Command::length, 80, 160), kInvalid);
        EXPECT_EQ(command(device, &Command::flags, 0, 160), kInvalid);
        EXPECT_EQ(command(device, &Command::commandLength, 63, 160), kInvalid);
        EXPECT_EQ(command(device, &Command::timeOutValue, 0, 160), kInvalid);
        EXPECT_EQ(command(device, &Command::dataFromDeviceBufferOffset, 143, 160), kInvalid) << "in the command";
        EXPECT_EQ(command(device, &Command::dataFromDeviceTransferLength, 17, 160), win32::kInsufficientBuffer);
    }
}

TEST_P(PlatformContract, DriveStringsAreCountedAsDocumentedAndNameVolumes)
{
    DeviceIo& io = ports.DeviceIoPort();
    const std::uint32_t needed = io.LogicalDriveStrings(0, nullptr);
    std::u16string strings(needed, u'#');
    const std::uint32_t written = io.LogicalDriveStrings(needed, strings.data());
    ASSERT_EQ(written + 1, needed);
    ASSERT_EQ(written % 4, 0U);
    EXPECT_EQ(strings[written], u'\0');
    for (std::size_t at = 0; at < written; at += 4) {
        EXPECT_EQ(strings.substr(at + 1, 3), std::u16string(u":\\\0", 3));
        if (!subject->Has(Service::VolumeRequests)) {
            continue;
        }
        const DeviceHandle volume = OpenDevice(io, u"\\\\.\\" + strings.substr(at, 2), kGenericRead);
        ASSERT_TRUE(volume.IsValid()) << io.LastError();
        const Answer information = Ask(io, volume, kIoctlDiskGetPartitionInfoEx, {}, 512);
        EXPECT_EQ(information.bytes.size(), sizeof(PartitionInformationEx)) << information.error;
        EXPECT_EQ(Ask(io, volume, kIoctlDiskGetPartitionInfoEx, {}, 143).error, win32::kInsufficientBuffer);
        EXPECT_EQ(Ask(io, volume, kIoctlDiskPerformance, {}, 88).bytes.size(), sizeof(DiskPerformance));
        EXPECT_TRUE(IsOneOf(Ask(io, volume, kIoctlDiskGetDriveLayoutEx, {}, 4096).error, kUnsupported)) << "of disks alone";
    }
}

}  // namespace orbis::tests
