// Devices, the device walk and firmware tables of a recording.
#include <algorithm>
#include <cstring>

#include "DeviceRequests.h"
#include "MachineState.h"
#include "emulated/Handles.h"
#include "emulated/LastError.h"
#include "platform/Errors.h"
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

// The handle of an object that a recorded call opened, or the one that it gave instead.
template <class Object>
std::intptr_t Opened(const RecordedAnswer* answer, HandleTable<Object>& open, Object object)
{
    static_assert(platform::kInvalidHandle == platform::kInvalidDeviceInfoSet);
    return Succeeds(answer)                         ? open.Add(std::make_shared<Object>(std::move(object)))
           : answer != nullptr && answer->is_null() ? 0
                                                    : platform::kInvalidHandle;
}

class RecordedDeviceIo final : public platform::DeviceIo {
public:
    explicit RecordedDeviceIo(Tape& tape) : m_Tape(tape) {}

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t, void*, std::uint32_t, std::uint32_t,
                      NativeHandle) override
    {
        const std::string name = platform::Utf16ToUtf8(path);
        return Opened(m_Tape.Play(Asked("DeviceIo::Open", name, access)), m_Open, Device{name, access});
    }

    bool Control(NativeHandle handle, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void*) override
    {
        *returned = 0;
        const auto device = m_Open.Find(handle);
        if (device == nullptr) {
            return FailWith(platform::win32::kInvalidHandle, false);
        }
        // A direct request carries a pointer to its data, which a recording does not keep.
        const auto* bytes = static_cast<const std::uint8_t*>(in);
        Request request{code, {bytes, bytes + (in != nullptr ? inSize : 0)}};
        const std::uint32_t dataSize = Summarise(request).dataTransferLength;
        void* data = nullptr;
        constexpr std::size_t kPointerEnd = kDataPointerOffset + sizeof(data);
        const bool isDirect = IsDirect(code) && request.input.size() >= kPointerEnd;
        if (isDirect) {
            std::memcpy(static_cast<void*>(&data), &request.input[kDataPointerOffset], sizeof(data));
            std::fill_n(&request.input[kDataPointerOffset], sizeof(data), std::uint8_t{0});
        }
        const RecordedAnswer* answer = m_Tape.Play(
            Asked("DeviceIo::Control", device->path, device->access, code, {request.input.begin(), request.input.end()}, outSize));
        if (answer != nullptr) {
            Fill(out, outSize, answer->output());
            if (isDirect && outSize >= kPointerEnd) {
                std::memcpy(static_cast<char*>(out) + kDataPointerOffset, static_cast<const void*>(&data), sizeof(data));
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
        const RecordedAnswer* answer = m_Tape.PlayInto(Asked("DeviceIo::LogicalDriveStrings"), buffer, characters);
        return Succeeds(answer) ? answer->returned() : 0;
    }

    std::uint32_t LastError() const noexcept override { return platform::emulated::LastError(); }

private:
    struct Device {
        std::string path;
        std::uint32_t access;
    };

    Tape& m_Tape;
    HandleTable<Device> m_Open;
};

class RecordedSetup final : public platform::Setup {
public:
    explicit RecordedSetup(Tape& tape) : m_Tape(tape) {}

    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid*, const char16_t*, void*, std::uint32_t flags) override
    {
        return Opened(m_Tape.Play(Asked("Setup::ClassDevices", {}, flags)), m_Open, 0);
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
        const auto index = static_cast<std::uint32_t>(data.reserved);
        return Succeeds(
            m_Tape.PlayInto(Asked("Setup::DeviceInterfaceDetail", {}, 0, index), static_cast<char*>(detail), detailSize, required));
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
        const auto index = static_cast<std::uint32_t>(data.reserved);
        const RecordedAnswer* answer =
            m_Tape.PlayInto(Asked("Setup::DeviceProperty", {}, key.id, index), static_cast<char*>(buffer), bufferSize, required);
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
    Tape& m_Tape;
    HandleTable<int> m_Open;
};

class RecordedFirmware final : public platform::Firmware {
public:
    explicit RecordedFirmware(Tape& tape) : m_Tape(tape) {}

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        const RecordedAnswer* answer =
            m_Tape.PlayInto(Asked("Firmware::SystemFirmwareTable", {}, table, provider), static_cast<char*>(buffer), size);
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
