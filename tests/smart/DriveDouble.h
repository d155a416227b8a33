#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Common/SmartDataFetcher.h"

namespace orbis::tests {

using Veyra::Orbis::Cpp::Common::SmartDataCollection;
using Veyra::Orbis::Cpp::Common::SmartDataFetcher;
using Veyra::Orbis::Cpp::Common::HardwareAccessLib::BasicDiskInfo;
using Veyra::Orbis::Cpp::Common::HardwareAccessLib::Sector;

// What a request asks of a drive, and by which way.
enum class Ask { Inquiry, SmartData, SmartThresholds, IdentifyByAta, IdentifyByScsi, LogByAta, LogByScsi };

// How a request goes wrong.
enum class Fault {
    OpenFails,
    RequestFails,
    Error,  // CHECK CONDITION, or the error bit of the ATA status; the data comes all the same
    Zeros,
    StandardException,
    OtherException,
};

// One request as the drive got it, the pointer to the data zeroed.
struct DriveRequest {
    Ask ask{};
    std::uint32_t code = 0;
    std::vector<std::uint8_t> bytes;
    std::uint32_t outSize = 0;
    bool sameBuffer = false;  // for input and output
    bool zeroedData = false;
};

// A drive in the place of the platform: it substitutes the fetcher's opening and asking of devices.
class DriveDouble final : public SmartDataFetcher {
public:
    // Answers; what is not here is answered with zeros.
    std::map<Ask, Sector> pages;
    // Faults by the number of the open, counted from 1.
    std::map<std::size_t, Fault> faults;

    std::vector<DriveRequest> requests;
    struct Opened {
        std::u16string path;
        std::uint32_t access = 0, share = 0, disposition = 0, flags = 0;
        friend bool operator==(const Opened&, const Opened&) = default;
    };
    std::vector<Opened> opened;

    [[nodiscard]] std::vector<Ask> Asked() const;
    [[nodiscard]] bool AllClosed() const { return m_Port.open == 0; }

    platform::DeviceHandle OpenDevice(const std::u16string& path, std::uint32_t access, std::uint32_t share, void* security,
                                      std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    bool DeviceControl(const platform::DeviceHandle& device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                       std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;

private:
    // Knows how to close, which is all that a handle asks of its port.
    struct Port final : platform::DeviceIo {
        int open = 0;
        platform::NativeHandle Open(const char16_t*, std::uint32_t, std::uint32_t, void*, std::uint32_t, std::uint32_t,
                                    platform::NativeHandle) override
        {
            return platform::kInvalidHandle;
        }
        bool Control(platform::NativeHandle, std::uint32_t, void*, std::uint32_t, void*, std::uint32_t, std::uint32_t*,
                     void*) override
        {
            return false;
        }
        bool Close(platform::NativeHandle) noexcept override
        {
            --open;
            return true;
        }
        std::uint32_t LogicalDriveStrings(std::uint32_t, char16_t*) override { return 0; }
        std::uint32_t LastError() const noexcept override { return 0; }
    };
    Port m_Port;
};

// The bytes of a file of tests/data.
[[nodiscard]] Sector ReadSector(const std::string& file);

// A page with bytes at offsets.
[[nodiscard]] Sector MakeSector(const std::vector<std::pair<std::size_t, std::vector<std::uint8_t>>>& pieces);

}  // namespace orbis::tests
