#include "emulated/DeviceIo.h"

#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "emulated/CaseFolding.h"
#include "linux/kernel/Files.h"
#include "linux/ports/Ports.h"
#include "linux/requests/Power.h"
#include "linux/requests/Requests.h"
#include "platform/Errors.h"
#include "platform/Requests.h"

namespace orbis::platform::linux_system {
namespace {

// The device with a path; empty when there is no such disk or volume now.
std::optional<Target> Resolve(Machine& machine, const std::string& path)
{
    constexpr std::string_view kDevice = R"(\\.\)";
    constexpr std::string_view kInterface = R"(\\?\)";
    constexpr std::string_view kDrive = "physicaldrive";
    const auto ofDisk = [](std::optional<Disk> disk) {
        return disk ? std::optional(Target{std::move(*disk), std::nullopt}) : std::nullopt;
    };
    if (path.starts_with(kInterface)) {
        return ofDisk(machine.inventory.FindByInterfacePath(path));
    }
    const std::string name = path.starts_with(kDevice) ? emulated::LowerAscii(path.substr(kDevice.size())) : std::string();
    if (name.starts_with(kDrive)) {
        constexpr std::uint64_t kMostDrives = 0xFFFF;
        const std::optional<std::uint64_t> number = ParseNumber(std::string_view(name).substr(kDrive.size()));
        return number && *number <= kMostDrives ? ofDisk(machine.inventory.Find(static_cast<std::uint32_t>(*number)))
                                                : std::nullopt;
    }
    if (name.size() == 2 && name[1] == ':') {
        const VolumeSet set = machine.volumes.Current();
        if (const Volume* volume = set.Find(emulated::UpperAscii(name[0]))) {
            if (std::optional<Disk> disk = machine.inventory.Find(volume->diskNumber)) {
                return Target{std::move(*disk), *volume};
            }
        }
    }
    return std::nullopt;
}

// Opens the node of a block device and checks that it is the device that sysfs describes.
UniqueFd OpenNode(const Machine& machine, const std::string& blockName, Win32Error& refusal)
{
    const Roots& roots = machine.roots;
    UniqueFd node = OpenDevice(machine.calls, roots.dev + "/" + blockName);
    if (!node.IsValid()) {
        refusal = Win32FromErrno(errno);
        return {};
    }
    struct stat status {};
    const int result = machine.calls.fstat ? machine.calls.fstat(node.Get(), &status) : ::fstat(node.Get(), &status);
    if (result == 0 && S_ISBLK(status.st_mode)) {
        const std::string number = std::to_string(major(status.st_rdev)) + ":" + std::to_string(minor(status.st_rdev));
        if (number != ReadText(roots.sys + "/class/block/" + blockName + "/dev")) {
            refusal = win32::kNoSuchDevice;
            return {};
        }
    }
    return node;
}

// What requests are asked of: a disk or volume, and its node, or why there is none.
struct Asked {
    Machine& machine;
    Target target;
    Win32Error refusal = win32::kSuccess;
    UniqueFd node = OpenNode(machine, target.BlockName(), refusal);

    [[nodiscard]] bool IsNvme() const { return target.disk.busType == BusType::Nvme || target.disk.busType == BusType::NvmeOf; }
};

// Requests that go to the device end here when it may not be opened.
template <typename Handler>
Win32Error WithNode(const Asked& asked, Handler handler)
{
    return asked.node.IsValid() ? handler(KernelDevice{asked.machine.calls, asked.node.Get()}) : asked.refusal;
}

Win32Error QueryProperty(const Asked& asked, ControlBuffers& buffers)
{
    const auto query = buffers.Request<StoragePropertyQueryHead>().value_or(StoragePropertyQueryHead{});
    if (const std::optional<Win32Error> error = emulated::CheckPropertyQuery(query, buffers.in.size(), asked.IsNvme())) {
        return *error;
    }
    if (!emulated::IsProtocolProperty(query)) {
        return GetDescriptor(asked.target, query.propertyId == kStorageAdapterProperty, buffers);
    }
    return WithNode(asked, [&](const KernelDevice& device) { return QueryNvmeProtocolData(device, buffers); });
}

// A partition table is on the disk, which for a volume's handle is another device.
Win32Error GetPartitionInfoFromDisk(const Asked& asked, ControlBuffers& buffers)
{
    if (!asked.target.volume || !asked.node.IsValid()) {
        return GetPartitionInfo(asked.machine, asked.target, asked.node.Get(), buffers);
    }
    Win32Error refusal = win32::kSuccess;
    const UniqueFd disk = OpenNode(asked.machine, asked.target.disk.name, refusal);
    return disk.IsValid() || refusal == win32::kAccessDenied ? GetPartitionInfo(asked.machine, asked.target, disk.Get(), buffers)
                                                             : refusal;
}

Win32Error Dispatch(std::uint32_t code, const Asked& asked, ControlBuffers& buffers)
{
    switch (code) {
        case kIoctlStorageGetDeviceNumber:
            return GetDeviceNumber(asked.target, buffers);
        case kIoctlStorageQueryProperty:
            return QueryProperty(asked, buffers);
        case kIoctlDiskGetDriveGeometry:
            return GetDriveGeometry(asked.target, buffers);
        case kIoctlDiskPerformance:
            return GetDiskPerformance(asked.machine, asked.target, buffers);
        case kIoctlDiskGetDriveLayoutEx:
            return asked.target.volume ? win32::kInvalidFunction
                                       : GetDriveLayout(asked.machine, asked.target, asked.node.Get(), buffers);
        case kIoctlDiskGetPartitionInfoEx:
            return GetPartitionInfoFromDisk(asked, buffers);
        case kIoctlStorageProtocolCommand:
            return !asked.IsNvme() ? win32::kInvalidFunction
                                   : WithNode(asked, [&](const auto& device) { return RunNvmeProtocolCommand(device, buffers); });
        case kIoctlAtaPassThroughDirect:
            return WithNode(asked,
                            [&](const auto& device) { return RunAtaPassThrough(device, asked.target.disk.busType, buffers); });
        case kIoctlScsiPassThroughDirect:
            return WithNode(asked, [&](const auto& device) { return RunScsiPassThrough(device, buffers); });
        default:
            return win32::kInvalidFunction;
    }
}

class BlockDevice final : public emulated::Device {
public:
    BlockDevice(Machine& machine, Target target) : m_Asked{machine, std::move(target)} {}

    // Why there is no node.
    [[nodiscard]] Win32Error Refusal() const noexcept { return m_Asked.refusal; }
    Win32Error Control(std::uint32_t code, ControlBuffers& buffers) override { return Dispatch(code, m_Asked, buffers); }

private:
    const Asked m_Asked;
};

class BlockDevices final : public emulated::DeviceIo {
public:
    explicit BlockDevices(Machine& machine) : m_Machine(machine) {}

protected:
    Opened OpenPath(const std::string& path, std::uint32_t /*access*/) override
    {
        std::optional<Target> target = Resolve(m_Machine, path);
        if (!target) {
            return {win32::kFileNotFound, nullptr};
        }
        if (!target->disk.HasMedium()) {
            return {win32::kNotReady, nullptr};
        }
        auto device = std::make_shared<BlockDevice>(m_Machine, std::move(*target));
        const Win32Error refusal = device->Refusal();
        return {refusal == win32::kAccessDenied ? win32::kSuccess : refusal, std::move(device)};
    }

    // A disk that the kernel has suspended is not opened. The state of a disk that may not be opened is unknown.
    std::optional<PowerState> PowerOfPath(const std::string& path) override
    {
        const std::optional<Target> target = Resolve(m_Machine, path);
        if (!target) {
            return std::nullopt;
        }
        const Disk& disk = target->disk;
        PowerState state = IsSuspended(m_Machine.roots, disk) ? PowerState::Asleep : PowerState::Awake;
        if (state == PowerState::Awake && MaySleepByItself(disk)) {
            Win32Error refusal = win32::kSuccess;
            const UniqueFd node = OpenNode(m_Machine, disk.name, refusal);
            state = node.IsValid() ? CheckPowerMode({m_Machine.calls, node.Get()}, disk.busType) : PowerState::Unknown;
        }
        m_Machine.sleepers.Set(disk.number, state == PowerState::Asleep);
        return state;
    }

    std::string DriveLetters() override
    {
        std::string letters;
        for (const Volume& volume : m_Machine.volumes.Current().volumes) {
            letters += volume.letter;
        }
        return letters;
    }

private:
    Machine& m_Machine;
};

}  // namespace

std::unique_ptr<DeviceIo> MakeDeviceIo(Machine& machine) { return std::make_unique<BlockDevices>(machine); }

}  // namespace orbis::platform::linux_system
