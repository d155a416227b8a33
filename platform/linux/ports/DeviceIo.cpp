#include "linux/ports/DeviceIo.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "linux/kernel/Files.h"
#include "linux/kernel/LastError.h"
#include "linux/requests/Ata.h"
#include "linux/requests/Control.h"
#include "linux/requests/DiskRequests.h"
#include "linux/requests/Nvme.h"
#include "linux/requests/Scsi.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/Text.h"

namespace orbis::platform::linux_system {

struct DeviceIo::OpenTarget {
    Target target;
    UniqueFd node;
    Win32Error refusal = win32::kSuccess;  // why there is no node
};

namespace {

std::string UpperCase(std::string_view text)
{
    std::string out(text);
    std::ranges::transform(out, out.begin(), [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return out;
}

// What a path names; nothing when there is no such disk or volume now.
std::optional<Target> Resolve(Machine& machine, const std::string& path)
{
    constexpr std::string_view kDevice = R"(\\.\)";
    constexpr std::string_view kInterface = R"(\\?\)";
    constexpr std::string_view kDrive = "PHYSICALDRIVE";
    const auto ofDisk = [](std::optional<Disk> disk) {
        return disk ? std::optional(Target{std::move(*disk), std::nullopt}) : std::nullopt;
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
        const VolumeSet set = machine.volumes.Current();
        if (const Volume* volume = set.Find(name[0])) {
            if (std::optional<Disk> disk = machine.inventory.Find(volume->diskNumber)) {
                return Target{std::move(*disk), *volume};
            }
        }
    }
    return std::nullopt;
}

// Opens the node of a block device and makes sure that it is the device which sysfs speaks of, whatever stands in /dev.
UniqueFd OpenNode(const Machine& machine, const std::string& blockName, Win32Error& refusal)
{
    const Roots& roots = machine.roots;
    UniqueFd node = OpenDevice(machine.calls, roots.dev + "/" + blockName);
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

// One request on its way: what it is asked of, and the node, or why there is none.
struct Asked {
    Machine& machine;
    const Target& target;
    int node;
    Win32Error refusal;

    [[nodiscard]] bool IsNvme() const { return target.disk.busType == BusType::Nvme || target.disk.busType == BusType::NvmeOf; }
};

// Requests that go to the device end here when it may not be opened.
template <typename Handler>
Win32Error WithNode(const Asked& asked, Handler handler)
{
    return asked.node >= 0 ? handler(KernelDevice{asked.machine.calls, asked.node}) : asked.refusal;
}

Win32Error QueryProperty(const Asked& asked, ControlBuffers& buffers)
{
    const auto query = buffers.Request<StoragePropertyQueryHead>();
    if (!query) {
        return win32::kInvalidParameter;
    }
    const bool isProtocol =
        query->propertyId == kStorageAdapterProtocolSpecificProperty || query->propertyId == kStorageDeviceProtocolSpecificProperty;
    if (query->propertyId != kStorageDeviceProperty && !(isProtocol && asked.IsNvme())) {
        return win32::kInvalidFunction;
    }
    if (query->queryType == kPropertyExistsQuery) {
        return win32::kSuccess;
    }
    if (query->queryType != kPropertyStandardQuery) {
        return win32::kNotSupported;
    }
    if (!isProtocol) {
        return GetDeviceDescriptor(asked.target, buffers);
    }
    return WithNode(asked, [&](const KernelDevice& device) { return QueryNvmeProtocolData(device, buffers); });
}

using TableRequest = Win32Error(const Machine&, const Target&, int, ControlBuffers&);

// A partition table is on the disk, which for a volume's handle is another device.
Win32Error AskDisk(TableRequest& request, const Asked& asked, ControlBuffers& buffers)
{
    if (!asked.target.volume || asked.node < 0) {
        return request(asked.machine, asked.target, asked.node, buffers);
    }
    Win32Error refusal = win32::kSuccess;
    const UniqueFd disk = OpenNode(asked.machine, asked.target.disk.name, refusal);
    return disk.IsValid() || refusal == win32::kAccessDenied ? request(asked.machine, asked.target, disk.Get(), buffers) : refusal;
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
            return AskDisk(GetDriveLayout, asked, buffers);
        case kIoctlDiskGetPartitionInfoEx:
            return AskDisk(GetPartitionInfo, asked, buffers);
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

}  // namespace

DeviceIo::~DeviceIo() = default;

NativeHandle DeviceIo::Open(const char16_t* path, std::uint32_t /*access*/, std::uint32_t /*share*/, void* /*security*/,
                            std::uint32_t disposition, std::uint32_t /*flags*/, NativeHandle /*templateFile*/)
{
    const auto fail = [](Win32Error error) {
        SetLastError(error);
        return kInvalidHandle;
    };
    if (path == nullptr || disposition != kOpenExisting) {
        return fail(win32::kInvalidParameter);
    }
    try {
        std::optional<Target> target = Resolve(m_Machine, Utf16ToUtf8(path));
        if (!target) {
            return fail(win32::kFileNotFound);
        }
        auto device = std::make_shared<OpenTarget>();
        device->target = std::move(*target);
        device->node = OpenNode(m_Machine, device->target.BlockName(), device->refusal);
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

std::shared_ptr<DeviceIo::OpenTarget> DeviceIo::Find(NativeHandle device)
{
    const std::scoped_lock lock(m_Lock);
    const auto open = m_Open.find(device);
    return open != m_Open.end() ? open->second : nullptr;
}

bool DeviceIo::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                       std::uint32_t* returned, void* /*overlapped*/)
{
    *returned = 0;
    Win32Error error = win32::kInvalidHandle;
    try {
        if (const std::shared_ptr<OpenTarget> open = Find(device)) {
            ControlBuffers buffers{{static_cast<const std::byte*>(in), in != nullptr ? inSize : 0},
                                   {static_cast<std::byte*>(out), out != nullptr ? outSize : 0}};
            error = Dispatch(code, {m_Machine, open->target, open->node.Get(), open->refusal}, buffers);
            *returned = buffers.returned;
        }
    } catch (const std::bad_alloc&) {
        error = win32::kNotEnoughMemory;
    }
    if (error != win32::kSuccess) {
        SetLastError(error);
    }
    return error == win32::kSuccess;
}

bool DeviceIo::Close(NativeHandle device) noexcept
{
    // The device closes outside the lock, once the last request on it has ended.
    std::shared_ptr<OpenTarget> closing;
    const std::scoped_lock lock(m_Lock);
    const auto open = m_Open.find(device);
    if (open == m_Open.end()) {
        SetLastError(win32::kInvalidHandle);
        return false;
    }
    closing = std::move(open->second);
    m_Open.erase(open);
    return true;
}

std::uint32_t DeviceIo::LogicalDriveStrings(std::uint32_t characters, char16_t* buffer)
{
    std::u16string strings;
    for (const Volume& volume : m_Machine.volumes.Current().volumes) {
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

std::uint32_t DeviceIo::LastError() const noexcept { return linux_system::LastError(); }

}  // namespace orbis::platform::linux_system
