#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Forwarding.h"
#include "platform/Requests.h"

namespace orbis::tests {

using Bytes = std::vector<std::uint8_t>;

// An answer: the bytes that the driver wrote, and the length and error that it reports.
struct Answer {
    std::uint32_t code = 0;
    std::uint8_t* bytes = nullptr;
    std::uint32_t returned = 0;
    std::uint32_t error = 0;
};

struct FakeDrive {
    std::uint32_t openError = 0;       // refuses every open
    std::uint32_t writeOpenError = 0;  // refuses opening for reading and writing
    platform::BusType busType = platform::BusType::Nvme;
    std::uint32_t descriptorError = 0;
    std::optional<Bytes> identify;        // unset: not an NVMe drive
    std::map<std::uint32_t, Bytes> logs;  // by identifier; answered as a property and by the admin command
    std::uint32_t logPropertyError = 0;   // log pages of vendors are refused as a property with this
    std::function<void(Answer&)> lie;     // changes an answer on its way back
};

// A machine of drives that answer DeviceIo as Windows does, in force while it lives.
class FakeDrives final : public platform::ForwardingPlatform, private platform::DeviceIo {
public:
    FakeDrives();
    ~FakeDrives();

    std::map<std::int32_t, FakeDrive> drives;
    std::atomic<int> openHandles{0};
    std::atomic<int> logRequests{0};      // of vendors' logs, as a property
    std::atomic<int> commandRequests{0};  // admin commands

    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }

private:
    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;
    bool Close(platform::NativeHandle device) noexcept override;
    platform::PowerState DiskPowerState(const char16_t*) override { return platform::PowerState::Unknown; }
    std::uint32_t LogicalDriveStrings(std::uint32_t, char16_t*) override { return 0; }
    std::uint32_t LastError() const noexcept override;
};

// A 4096-byte Identify page whose vendor area is in the maker's layout, every field of it different.
Bytes MakersIdentify();
// The maker's health log, every field of it different.
Bytes MakersHealthLog();

// The vendor object cast to ICustomizedControllerData; null when it is not one.
void* CustomizedViewOf(void* vendorSpecificInfo);

}  // namespace orbis::tests
