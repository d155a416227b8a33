#pragma once

#include <array>
#include <cstdint>

#include "platform/Platform.h"

namespace orbis::tests {

// A machine with one NVMe drive that answers with the pages that a test puts here, in force while it lives. Texts and the clock are
// the operating system's; there is nothing else.
class PageServer final : public platform::Platform, private platform::DeviceIo {
public:
    PageServer();
    ~PageServer() override;

    std::array<std::uint8_t, 4096> identify{};
    std::array<std::uint8_t, 512> health{};       // log 02h
    std::array<std::uint8_t, 512> makerHealth{};  // the maker's log

    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    platform::Setup& SetupPort() noexcept override { return System().SetupPort(); }
    platform::Wmi& WmiPort() noexcept override { return System().WmiPort(); }
    platform::Firmware& FirmwarePort() noexcept override { return System().FirmwarePort(); }
    platform::Pdh& PdhPort() noexcept override { return System().PdhPort(); }
    platform::Time& TimePort() noexcept override { return System().TimePort(); }
    platform::Text& TextPort() noexcept override { return System().TextPort(); }

private:
    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;
    bool Close(platform::NativeHandle) noexcept override { return true; }
    std::uint32_t LogicalDriveStrings(std::uint32_t, char16_t*) override { return 0; }
    std::uint32_t LastError() const noexcept override { return platform::win32::kInvalidFunction; }
};

}  // namespace orbis::tests
