#include <fmt/format.h>

#include <map>

#include "FaultCounter.h"
#include "platform/Errors.h"
#include "platform/Forwarding.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using enum FaultKind;
namespace win32 = platform::win32;

const FaultableOperation kOpen{"DeviceIo::Open", {Error, Null, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kControl{"DeviceIo::Control", {Error, ShortData, Null, BadAlloc}, win32::kIoDevice};
const FaultableOperation kDriveStrings{"DeviceIo::LogicalDriveStrings", {Error, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kFirmwareTable{"Firmware::SystemFirmwareTable", {Error, ShortData, BadAlloc}, win32::kInvalidFunction};

class FaultingDeviceIo final : public platform::ForwardingDeviceIo {
public:
    FaultingDeviceIo(platform::DeviceIo& inner, FaultCounter& counter) : ForwardingDeviceIo(inner), m_Counter(counter) {}

    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override
    {
        const std::string name = path != nullptr ? platform::Utf16ToUtf8(path) : std::string{};
        if (const auto fault = m_Counter.Count(kOpen, name)) {
            platform::SaveLastError(fault->error);
            return fault->Is(Null) ? 0 : platform::kInvalidHandle;
        }
        const platform::NativeHandle handle =
            ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
        const std::lock_guard lock(m_Mutex);
        m_Paths[handle] = name;
        return handle;
    }

    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override
    {
        const auto fault = m_Counter.Count(kControl, fmt::format("{:#010x} on {}", code, PathOf(device)));
        if (fault && !fault->Is(ShortData)) {
            platform::SaveLastError(fault->error);
            *returned = 0;
            return fault->Is(Null);
        }
        const bool succeeded = ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped);
        *returned = fault ? *returned / 2 : *returned;
        return succeeded;
    }

    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        if (const auto fault = m_Counter.Count(kDriveStrings, {})) {
            platform::SaveLastError(fault->error);
            return 0;
        }
        return ForwardingDeviceIo::LogicalDriveStrings(characters, buffer);
    }

private:
    std::string PathOf(platform::NativeHandle device) const
    {
        const std::lock_guard lock(m_Mutex);
        const auto found = m_Paths.find(device);
        return found != m_Paths.end() ? found->second : std::string{};
    }

    FaultCounter& m_Counter;
    mutable std::mutex m_Mutex;
    std::map<platform::NativeHandle, std::string> m_Paths;  // as last opened
};

class FaultingFirmware final : public platform::ForwardingFirmware {
public:
    FaultingFirmware(platform::Firmware& inner, FaultCounter& counter) : ForwardingFirmware(inner), m_Counter(counter) {}

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        const auto fault = m_Counter.Count(kFirmwareTable, buffer == nullptr ? "size" : "table");
        if (fault && fault->Is(Error)) {
            platform::SaveLastError(fault->error);
            return 0;
        }
        const std::uint32_t result = ForwardingFirmware::SystemFirmwareTable(provider, table, buffer, size);
        return fault ? result / 2 : result;
    }

private:
    FaultCounter& m_Counter;
};

}  // namespace

std::unique_ptr<platform::DeviceIo> MakeFaultingDeviceIo(platform::DeviceIo& inner, FaultCounter& counter)
{
    return std::make_unique<FaultingDeviceIo>(inner, counter);
}

std::unique_ptr<platform::Firmware> MakeFaultingFirmware(platform::Firmware& inner, FaultCounter& counter)
{
    return std::make_unique<FaultingFirmware>(inner, counter);
}

}  // namespace orbis::simulated
