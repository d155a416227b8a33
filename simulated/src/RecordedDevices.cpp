// Devices, the device walk and firmware tables of a recording.
#include <cstring>

#include "MachineState.h"
#include "emulated/Handles.h"
#include "emulated/LastError.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using insight::RecordedAnswer;
using platform::NativeHandle;
using platform::emulated::FailWith;
using platform::emulated::HandleTable;

// Whether a recorded call succeeded; sets the last error when it did not. A call that is not recorded fails.
bool Succeeds(const RecordedAnswer* answer)
{
    if (answer == nullptr || answer->failed()) {
        platform::emulated::SetLastError(answer == nullptr ? kNotRecorded : answer->error());
        return false;
    }
    return true;
}

class RecordedDeviceIo final : public platform::DeviceIo {
public:
    explicit RecordedDeviceIo(Tape& tape) : m_Tape(tape) {}

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t, void*, std::uint32_t, std::uint32_t,
                      NativeHandle) override
    {
        Device device{platform::Utf16ToUtf8(path), access};
        const RecordedAnswer* answer = m_Tape.Play(Asked("DeviceIo::Open", device.path, access));
        if (!Succeeds(answer)) {
            return answer != nullptr && answer->is_null() ? 0 : platform::kInvalidHandle;
        }
        return m_Open.Add(std::make_shared<Device>(std::move(device)));
    }

    bool Control(NativeHandle handle, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void*) override
    {
        *returned = 0;
        const auto device = m_Open.Find(handle);
        if (device == nullptr) {
            return FailWith(platform::win32::kInvalidHandle, false);
        }
        std::string request = in != nullptr ? std::string(static_cast<const char*>(in), inSize) : std::string();
        void* data = nullptr;
        std::uint32_t dataSize = 0;
        const bool isDirect =
            (code == platform::kIoctlAtaPassThroughDirect && Direct<platform::AtaPassThroughDirect>(request, data, dataSize)) ||
            (code == platform::kIoctlScsiPassThroughDirect && Direct<platform::ScsiPassThroughDirect>(request, data, dataSize));
        const RecordedAnswer* answer =
            m_Tape.Play(Asked("DeviceIo::Control", device->path, device->access, code, std::move(request), outSize));
        if (answer != nullptr) {
            Fill(out, outSize, answer->output());
            if (isDirect && outSize >= kPointerOffset + sizeof(data)) {
                std::memcpy(static_cast<char*>(out) + kPointerOffset, static_cast<const void*>(&data), sizeof(data));
            }
            Fill(data, dataSize, answer->data());
            *returned = answer->returned();
        }
        return Succeeds(answer);
    }

    bool Close(NativeHandle handle) noexcept override
    {
        return m_Open.Remove(handle) != nullptr || FailWith(platform::win32::kInvalidHandle, false);
    }

    // Power states are not recorded: a disk that was asleep was left out of the recording, and the others answered.
    platform::PowerState DiskPowerState(const char16_t*) override
    {
        platform::emulated::SetLastError(platform::win32::kNotSupported);
        return platform::PowerState::Unknown;
    }

    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        const RecordedAnswer* answer =
            m_Tape.Play(Asked("DeviceIo::LogicalDriveStrings", {}, 0, 0, {}, buffer != nullptr ? characters : 0));
        if (answer != nullptr) {
            Fill(buffer, characters * sizeof(char16_t), answer->output());
        }
        return Succeeds(answer) ? answer->returned() : 0;
    }

    std::uint32_t LastError() const noexcept override { return platform::emulated::LastError(); }

private:
    struct Device {
        std::string path;
        std::uint32_t access;
    };
    static constexpr std::size_t kPointerOffset = offsetof(platform::AtaPassThroughDirect, dataBuffer);
    static_assert(kPointerOffset == offsetof(platform::ScsiPassThroughDirect, dataBuffer));

    // Takes the data buffer out of a direct request; the pointer becomes zero.
    template <class Kind>
    static bool Direct(std::string& request, void*& data, std::uint32_t& size);

    Tape& m_Tape;
    HandleTable<Device> m_Open;
};

template <class Kind>
bool RecordedDeviceIo::Direct(std::string& request, void*& data, std::uint32_t& size)
{
    Kind head;
    if (request.size() < sizeof(head)) {
        return false;
    }
    std::memcpy(static_cast<void*>(&head), request.data(), sizeof(head));
    data = head.dataBuffer;
    size = head.dataTransferLength;
    request.replace(kPointerOffset, sizeof(void*), sizeof(void*), '\0');
    return true;
}

class RecordedSetup final : public platform::Setup {
public:
    explicit RecordedSetup(Tape& tape) : m_Tape(tape) {}

    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid*, const char16_t*, void*, std::uint32_t flags) override
    {
        const RecordedAnswer* answer = m_Tape.Play(Asked("Setup::ClassDevices", {}, flags));
        if (!Succeeds(answer)) {
            return answer != nullptr && answer->is_null() ? 0 : platform::kInvalidDeviceInfoSet;
        }
        return m_Open.Add(std::make_shared<int>());
    }
    bool EnumDeviceInterfaces(platform::DeviceInfoSetHandle, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override
    {
        data->interfaceClass = interfaceClass;
        data->reserved = index;  // finds the entry again
        return Succeeds(m_Tape.Play(Asked("Setup::EnumDeviceInterfaces", {}, 0, index)));
    }
    bool DeviceInterfaceDetail(platform::DeviceInfoSetHandle, const platform::DeviceInterfaceData& data, void* detail,
                               std::uint32_t detailSize, std::uint32_t* required) override
    {
        const RecordedAnswer* answer =
            m_Tape.Play(Asked("Setup::DeviceInterfaceDetail", {}, 0, static_cast<std::uint32_t>(data.reserved), {},
                              detail != nullptr ? detailSize : 0));
        Give(answer, detail, detailSize, required);
        return Succeeds(answer);
    }
    bool EnumDeviceInfo(platform::DeviceInfoSetHandle, std::uint32_t index, platform::DeviceInfoData* data) override
    {
        data->deviceInstance = index + 1;
        data->reserved = index;
        return Succeeds(m_Tape.Play(Asked("Setup::EnumDeviceInfo", {}, 0, index)));
    }
    bool DeviceProperty(platform::DeviceInfoSetHandle, const platform::DeviceInfoData& data, const platform::DevicePropertyKey& key,
                        std::uint32_t* type, void* buffer, std::uint32_t bufferSize, std::uint32_t* required,
                        std::uint32_t) override
    {
        const RecordedAnswer* answer =
            m_Tape.Play(Asked("Setup::DeviceProperty", {}, key.id, static_cast<std::uint32_t>(data.reserved), {},
                              buffer != nullptr ? bufferSize : 0));
        Give(answer, buffer, bufferSize, required);
        if (answer != nullptr && type != nullptr) {
            *type = answer->type();
        }
        return Succeeds(answer);
    }
    bool DestroyDeviceInfoList(platform::DeviceInfoSetHandle set) noexcept override
    {
        return m_Open.Remove(set) != nullptr || FailWith(platform::win32::kInvalidHandle, false);
    }
    std::uint32_t LastError() const noexcept override { return platform::emulated::LastError(); }

private:
    static void Give(const RecordedAnswer* answer, void* buffer, std::uint32_t size, std::uint32_t* required)
    {
        if (answer != nullptr) {
            Fill(buffer, size, answer->output());
            if (required != nullptr) {
                *required = answer->returned();
            }
        }
    }

    Tape& m_Tape;
    HandleTable<int> m_Open;
};

class RecordedFirmware final : public platform::Firmware {
public:
    explicit RecordedFirmware(Tape& tape) : m_Tape(tape) {}

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        const RecordedAnswer* answer =
            m_Tape.Play(Asked("Firmware::SystemFirmwareTable", {}, table, provider, {}, buffer != nullptr ? size : 0));
        if (answer != nullptr) {
            Fill(buffer, size, answer->output());
        }
        return Succeeds(answer) ? answer->returned() : 0;
    }
    std::uint32_t LastError() const noexcept override { return platform::emulated::LastError(); }

private:
    Tape& m_Tape;
};

}  // namespace

std::unique_ptr<platform::DeviceIo> MakeRecordedDeviceIo(Tape& tape) { return std::make_unique<RecordedDeviceIo>(tape); }
std::unique_ptr<platform::Setup> MakeRecordedSetup(Tape& tape) { return std::make_unique<RecordedSetup>(tape); }
std::unique_ptr<platform::Firmware> MakeRecordedFirmware(Tape& tape) { return std::make_unique<RecordedFirmware>(tape); }

}  // namespace orbis::simulated
