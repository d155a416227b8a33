#include "LinuxDeviceIo.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "LinuxAta.h"
#include "LinuxControl.h"
#include "LinuxDiskRequests.h"
#include "LinuxFiles.h"
#include "LinuxLastError.h"
#include "LinuxNvme.h"
#include "LinuxScsi.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/Text.h"

namespace orbis::platform {

struct LinuxDeviceIo::OpenDevice {
    LinuxTarget target;
    UniqueFd node;
    Win32Error refusal = win32::kSuccess;  // why there is no node
};

namespace {

constexpr std::uint32_t kStorageQueryExists = 1;  // PropertyExistsQuery

std::string UpperCase(std::string_view text)
{
    std::string out(text);
    std::ranges::transform(out, out.begin(), [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return out;
}

// What a path names; nothing when there is no such disk or volume now.
std::optional<LinuxTarget> Resolve(LinuxMachine& machine, const std::string& path)
{
    constexpr std::string_view kDevice = "\\\\.\\";
    constexpr std::string_view kInterface = "\\\\?\\";
    constexpr std::string_view kDrive = "PHYSICALDRIVE";
    const auto ofDisk = [](std::optional<LinuxDisk> disk) {
        return disk ? std::optional(LinuxTarget{std::move(*disk), std::nullopt}) : std::nullopt;
    };
    if (path.starts_with(kInterface)) {
        return ofDisk(machine.inventory.FindByInterfacePath(path));
    }
    const std::string name = path.starts_with(kDevice) ? UpperCase(std::string_view(path).substr(kDevice.size())) : std::string();
    if (name.starts_with(kDrive)) {
        constexpr std::uint64_t kMostDrives = 0xFFFF;
        const std::optional<std::uint64_t> number = ParseNumber(std::string_view(name).substr(kDrive.size()));
        return number && *number <= kMostDrives ? ofDisk(machine.inventory.Find(static_cast<std::uint32_t>(*number)))
                                                : std::nullopt;
    }
    if (name.size() == 2 && name[1] == ':') {
        const LinuxVolumeSet set = machine.volumes.Volumes();
        if (const LinuxVolume* volume = set.Find(name[0])) {
            if (std::optional<LinuxDisk> disk = machine.inventory.Find(volume->diskNumber)) {
                return LinuxTarget{std::move(*disk), *volume};
            }
        }
    }
    return std::nullopt;
}

// Opens the node of a block device and makes sure that it is the device which sysfs speaks of, whatever stands in /dev.
UniqueFd OpenNode(const Roots& roots, const std::string& blockName, Win32Error& refusal)
{
    UniqueFd node = OpenForReading(roots.dev + "/" + blockName);
    if (!node.IsValid()) {
        refusal = Win32FromErrno(errno);
        return {};
    }
    struct stat status {};
    if (::fstat(node.Get(), &status) == 0 && S_ISBLK(status.st_mode)) {
        const std::string number = std::to_string(major(status.st_rdev)) + ":" + std::to_string(minor(status.st_rdev));
        if (number != ReadText(roots.sys + "/class/block/" + blockName + "/dev")) {
            refusal = win32::kNoSuchDevice;
            return {};
        }
    }
    return node;
}

Win32Error QueryProperty(const LinuxTarget& target, const KernelDevice& device, ControlBuffers& buffers)
{
    const auto query = buffers.Request<StoragePropertyQueryHead>();
    if (!query) {
        return win32::kInvalidParameter;
    }
    const bool isNvme = target.disk.busType == BusType::Nvme || target.disk.busType == BusType::NvmeOf;
    const bool isProtocol =
        query->propertyId == kStorageAdapterProtocolSpecificProperty || query->propertyId == kStorageDeviceProtocolSpecificProperty;
    if (query->propertyId != kStorageDeviceProperty && !(isProtocol && isNvme)) {
        return win32::kInvalidFunction;
    }
    if (query->queryType == kStorageQueryExists) {
        return win32::kSuccess;
    }
    if (query->queryType != kPropertyStandardQuery) {
        return win32::kInvalidParameter;
    }
    return isProtocol ? QueryNvmeProtocolData(device, buffers) : GetDeviceDescriptor(target, buffers);
}

// Requests that the kernel answers without the device.
bool IsForEverybody(std::uint32_t code, const ControlBuffers& buffers)
{
    const auto query = buffers.Request<StoragePropertyQueryHead>();
    switch (code) {
        case kIoctlStorageGetDeviceNumber:
        case kIoctlDiskGetDriveGeometry:
        case kIoctlDiskGetDriveLayoutEx:
        case kIoctlDiskGetPartitionInfoEx:
        case kIoctlDiskPerformance:
            return true;
        case kIoctlStorageQueryProperty:
            return query && query->propertyId == kStorageDeviceProperty;
        default:
            return false;
    }
}

using TableRequest = Win32Error(const LinuxMachine&, const LinuxTarget&, int, ControlBuffers&);

// A partition table is on the disk, which for a volume's handle is another device.
Win32Error AskDisk(TableRequest& request, const LinuxMachine& machine, const LinuxTarget& target, int node, ControlBuffers& buffers)
{
    if (!target.volume || node < 0) {
        return request(machine, target, node, buffers);
    }
    Win32Error refusal = win32::kSuccess;
    const UniqueFd disk = OpenNode(machine.roots, target.disk.name, refusal);
    return disk.IsValid() || refusal == win32::kAccessDenied ? request(machine, target, disk.Get(), buffers) : refusal;
}

Win32Error Dispatch(LinuxMachine& machine, const LinuxTarget& target, int node, std::uint32_t code, ControlBuffers& buffers)
{
    const KernelDevice device{machine.calls, node};
    const bool isNvme = target.disk.busType == BusType::Nvme || target.disk.busType == BusType::NvmeOf;
    switch (code) {
        case kIoctlStorageGetDeviceNumber:
            return GetDeviceNumber(target, buffers);
        case kIoctlStorageQueryProperty:
            return QueryProperty(target, device, buffers);
        case kIoctlStorageProtocolCommand:
            return isNvme ? RunNvmeProtocolCommand(device, buffers) : win32::kInvalidFunction;
        case kIoctlDiskGetDriveGeometry:
            return GetDriveGeometry(target, buffers);
        case kIoctlDiskPerformance:
            return GetDiskPerformance(machine, target, buffers);
        case kIoctlDiskGetDriveLayoutEx:
            return AskDisk(GetDriveLayout, machine, target, node, buffers);
        case kIoctlDiskGetPartitionInfoEx:
            return AskDisk(GetPartitionInfo, machine, target, node, buffers);
        case kIoctlAtaPassThroughDirect:
            return RunAtaPassThrough(device, target.disk.busType, buffers);
        case kIoctlScsiPassThroughDirect:
            return RunScsiPassThrough(device, buffers);
        default:
            return win32::kInvalidFunction;
    }
}

}  // namespace

LinuxDeviceIo::~LinuxDeviceIo() = default;

NativeHandle LinuxDeviceIo::Open(const char16_t* path, std::uint32_t /*access*/, std::uint32_t /*share*/, void* /*security*/,
                                 std::uint32_t disposition, std::uint32_t /*flags*/, NativeHandle /*templateFile*/)
{
    const auto fail = [](Win32Error error) {
        SetLinuxLastError(error);
        return kInvalidHandle;
    };
    if (path == nullptr || disposition != kOpenExisting) {
        return fail(win32::kInvalidParameter);
    }
    try {
        std::optional<LinuxTarget> target = Resolve(m_Machine, Utf16ToUtf8(path));
        if (!target) {
            return fail(win32::kFileNotFound);
        }
        auto device = std::make_shared<OpenDevice>();
        device->target = std::move(*target);
        device->node = OpenNode(m_Machine.roots, device->target.BlockName(), device->refusal);
        if (!device->node.IsValid() && device->refusal != win32::kAccessDenied) {
            return fail(device->refusal);
        }
        const std::scoped_lock lock(m_Lock);
        m_Open.emplace(++m_LastHandle, std::move(device));
        return m_LastHandle;
    } catch (const std::bad_alloc&) {
        return fail(win32::kNotEnoughMemory);
    }
}

std::shared_ptr<LinuxDeviceIo::OpenDevice> LinuxDeviceIo::Find(NativeHandle device)
{
    const std::scoped_lock lock(m_Lock);
    const auto open = m_Open.find(device);
    return open != m_Open.end() ? open->second : nullptr;
}

bool LinuxDeviceIo::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                            std::uint32_t outSize, std::uint32_t* returned, void* /*overlapped*/)
{
    *returned = 0;
    Win32Error error = win32::kInvalidHandle;
    try {
        if (const std::shared_ptr<OpenDevice> open = Find(device)) {
            ControlBuffers buffers{{static_cast<const std::byte*>(in), in != nullptr ? inSize : 0},
                                   {static_cast<std::byte*>(out), out != nullptr ? outSize : 0}};
            const bool isRefused = !open->node.IsValid() && !IsForEverybody(code, buffers);
            error = isRefused ? open->refusal : Dispatch(m_Machine, open->target, open->node.Get(), code, buffers);
            *returned = buffers.returned;
        }
    } catch (const std::bad_alloc&) {
        error = win32::kNotEnoughMemory;
    }
    if (error != win32::kSuccess) {
        SetLinuxLastError(error);
    }
    return error == win32::kSuccess;
}

bool LinuxDeviceIo::Close(NativeHandle device) noexcept
{
    // The device closes outside the lock, once the last request on it has ended.
    std::shared_ptr<OpenDevice> closing;
    const std::scoped_lock lock(m_Lock);
    const auto open = m_Open.find(device);
    if (open == m_Open.end()) {
        SetLinuxLastError(win32::kInvalidHandle);
        return false;
    }
    closing = std::move(open->second);
    m_Open.erase(open);
    return true;
}

std::uint32_t LinuxDeviceIo::LogicalDriveStrings(std::uint32_t characters, char16_t* buffer)
{
    std::u16string strings;
    for (const LinuxVolume& volume : m_Machine.volumes.Volumes().volumes) {
        strings += static_cast<char16_t>(volume.letter);
        strings += u":\\";
        strings += u'\0';
    }
    const auto needed = static_cast<std::uint32_t>(strings.size() + 1);
    if (buffer == nullptr || characters < needed) {
        return needed;
    }
    std::ranges::copy(strings, buffer);
    buffer[strings.size()] = u'\0';
    return needed - 1;
}

std::uint32_t LinuxDeviceIo::LastError() const noexcept { return LinuxLastError(); }

}  // namespace orbis::platform
