#include <algorithm>
#include <cstring>
#include <map>

#include "Store.h"
#include "platform/Requests.h"

namespace orbis::insight {
namespace {

using platform::NativeHandle;

// The data buffer that a direct pass-through request points to; both kinds keep the pointer at the same offset.
struct DirectBuffer {
    const void* data = nullptr;
    std::size_t size = 0;
};

constexpr std::size_t kPointerOffset = offsetof(platform::AtaPassThroughDirect, dataBuffer);
static_assert(kPointerOffset == offsetof(platform::ScsiPassThroughDirect, dataBuffer));

template <class Request>
DirectBuffer BufferOf(const Bytes& bytes)
{
    Request request;
    if (bytes.size() < sizeof(request)) {
        return {};
    }
    std::memcpy(&request, bytes.data(), sizeof(request));
    return {request.dataBuffer, request.dataBuffer != nullptr ? request.dataTransferLength : 0};
}

bool IsDirect(std::uint32_t code)
{
    return code == platform::kIoctlAtaPassThroughDirect || code == platform::kIoctlScsiPassThroughDirect;
}

DirectBuffer FindDirectBuffer(std::uint32_t code, const Bytes& request)
{
    switch (code) {
        case platform::kIoctlAtaPassThroughDirect:
            return BufferOf<platform::AtaPassThroughDirect>(request);
        case platform::kIoctlScsiPassThroughDirect:
            return BufferOf<platform::ScsiPassThroughDirect>(request);
        default:
            return {};
    }
}

void MaskPointer(std::uint32_t code, Bytes& bytes)
{
    if (IsDirect(code) && bytes.size() >= kPointerOffset + sizeof(void*)) {
        std::fill_n(bytes.begin() + kPointerOffset, sizeof(void*), std::uint8_t{0});
    }
}

class DeviceIoJournal final : public platform::ForwardingDeviceIo {
public:
    DeviceIoJournal(platform::DeviceIo& inner, Store& store) : ForwardingDeviceIo(inner), m_Store(store) {}

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        const auto start = Clock::now();
        const NativeHandle handle = ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
        const bool isOpen = handle != platform::kInvalidHandle && handle != 0;
        m_Store.Keep(start, [&]() -> Call {
            auto device = std::make_shared<const Device>(Device{TextOf(path), access});
            const Serial serial = isOpen ? m_Store.NewSerial() : 0;
            if (isOpen) {
                m_Open[handle] = {serial, device};
            }
            return call::Open{serial, std::move(device), share, disposition, flags, isOpen ? 0 : handle, isOpen ? 0 : LastError()};
        });
        return handle;
    }

    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override
    {
        // Read before the call, because the output may be the same buffer, and a driver may change the length and the pointer in
        // it.
        Bytes request = m_Store.CopyOf(in, inSize);
        const DirectBuffer direct = FindDirectBuffer(code, request);
        Bytes before = m_Store.CopyOf(direct.data, direct.size);
        const auto start = Clock::now();
        const bool done = ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped);
        Bytes output = m_Store.CopyOf(out, outSize);
        Bytes after = m_Store.CopyOf(direct.data, direct.size);
        m_Store.Keep(start, [&]() -> Call {
            MaskPointer(code, request);
            MaskPointer(code, output);
            const Opened opened = Find(device);
            return call::Control{opened.serial,    opened.device, code, std::move(request),    std::move(output), std::move(before),
                                 std::move(after), *returned,     done, done ? 0 : LastError()};
        });
        return done;
    }

    bool Close(NativeHandle device) noexcept override
    {
        // Removed before the handle is closed, because another thread may then get the same handle immediately.
        const Serial serial = m_Store.Locked([&] {
            const auto found = m_Open.find(device);
            const Serial known = found != m_Open.end() ? found->second.serial : 0;
            if (found != m_Open.end()) {
                m_Open.erase(found);
            }
            return known;
        });
        const auto start = Clock::now();
        const bool done = ForwardingDeviceIo::Close(device);
        m_Store.Keep(start, [&]() -> Call { return call::Close{serial, done, done ? 0 : LastError()}; });
        return done;
    }

    platform::PowerState DiskPowerState(const char16_t* path) override
    {
        const auto start = Clock::now();
        const platform::PowerState result = ForwardingDeviceIo::DiskPowerState(path);
        m_Store.Keep(start, [&]() -> Call {
            return call::DiskPowerState{TextOf(path), result, result == platform::PowerState::Unknown ? LastError() : 0};
        });
        return result;
    }

    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        const auto start = Clock::now();
        const std::uint32_t result = ForwardingDeviceIo::LogicalDriveStrings(characters, buffer);
        m_Store.Keep(start, [&]() -> Call {
            return call::LogicalDriveStrings{characters, buffer != nullptr ? std::u16string(buffer, characters) : std::u16string{},
                                             result, result != 0 ? 0 : LastError()};
        });
        return result;
    }

private:
    struct Opened {
        Serial serial = 0;
        std::shared_ptr<const Device> device;
    };

    [[nodiscard]] Opened Find(NativeHandle handle) const
    {
        const auto found = m_Open.find(handle);
        return found != m_Open.end() ? found->second : Opened{0, m_Unknown};
    }

    Store& m_Store;
    std::map<NativeHandle, Opened> m_Open;
    std::shared_ptr<const Device> m_Unknown = std::make_shared<const Device>();
};

class FirmwareJournal final : public platform::ForwardingFirmware {
public:
    FirmwareJournal(platform::Firmware& inner, Store& store) : ForwardingFirmware(inner), m_Store(store) {}

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        const auto start = Clock::now();
        const std::uint32_t result = ForwardingFirmware::SystemFirmwareTable(provider, table, buffer, size);
        m_Store.Keep(start, [&]() -> Call {
            const auto* bytes = static_cast<const std::uint8_t*>(buffer);
            return call::SystemFirmwareTable{provider, table, bytes != nullptr ? Bytes(bytes, bytes + size) : Bytes{}, result,
                                             result != 0 ? 0 : LastError()};
        });
        return result;
    }

private:
    Store& m_Store;
};

}  // namespace

std::unique_ptr<platform::DeviceIo> JournalDeviceIo(platform::DeviceIo& inner, Store& store)
{
    return std::make_unique<DeviceIoJournal>(inner, store);
}

std::unique_ptr<platform::Firmware> JournalFirmware(platform::Firmware& inner, Store& store)
{
    return std::make_unique<FirmwareJournal>(inner, store);
}

}  // namespace orbis::insight
