#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "simulated/FaultingPlatform.h"

namespace orbis::simulated {

// A port operation that can fail, how, and with which error when the fault names none.
struct FaultableOperation {
    const char* name;
    std::vector<FaultKind> kinds;
    std::uint32_t usualError;
};

// Counts calls and knows which one is to fail.
class FaultCounter {
public:
    // The fault of one call: nothing lets it pass. A BadAlloc is thrown from Count.
    struct Fault {
        FaultKind kind;
        std::uint32_t error;
        [[nodiscard]] bool Is(FaultKind other) const { return kind == other; }
    };

    void Plan(std::optional<std::uint64_t> call, FaultKind kind, std::optional<std::uint32_t> code);
    [[nodiscard]] std::optional<Fault> Count(const FaultableOperation& operation, std::string subject);
    [[nodiscard]] std::vector<CountedCall> Calls() const;
    [[nodiscard]] bool Reached() const;

private:
    mutable std::mutex m_Mutex;
    std::vector<CountedCall> m_Calls;
    std::optional<std::uint64_t> m_FailingCall;
    FaultKind m_Kind = FaultKind::Error;
    std::optional<std::uint32_t> m_Code;
    bool m_Reached = false;
};

[[nodiscard]] std::unique_ptr<platform::DeviceIo> MakeFaultingDeviceIo(platform::DeviceIo& inner, FaultCounter& counter);
[[nodiscard]] std::unique_ptr<platform::Setup> MakeFaultingSetup(platform::Setup& inner, FaultCounter& counter);
[[nodiscard]] std::unique_ptr<platform::Wmi> MakeFaultingWmi(platform::Wmi& inner, FaultCounter& counter);
[[nodiscard]] std::unique_ptr<platform::Firmware> MakeFaultingFirmware(platform::Firmware& inner, FaultCounter& counter);
[[nodiscard]] std::unique_ptr<platform::Pdh> MakeFaultingPdh(platform::Pdh& inner, FaultCounter& counter);
[[nodiscard]] std::unique_ptr<platform::Text> MakeFaultingText(platform::Text& inner, FaultCounter& counter);

}  // namespace orbis::simulated
