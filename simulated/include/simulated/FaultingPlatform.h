#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Forwarding.h"
#include "simulated/Export.h"

namespace orbis::simulated {

// How a platform call can be made to fail.
enum class FaultKind {
    Error,      // fails with the fault's code: a Win32 error, an HRESULT or a PDH status, as the call reports it
    ShortData,  // reports less than there is: half of the bytes, no further row, a required size of 0, less room than is needed
    Null,       // succeeds with nothing: a null handle, interface or string, no bytes, a VT_NULL
    BadAlloc,   // throws std::bad_alloc
};

// One call that can fail, as it was counted.
struct CountedCall {
    std::string operation;         // such as "Wmi::ConnectServer"
    std::string subject;           // what it was about: path, control code and path, namespace, query, property, counter path
    std::vector<FaultKind> kinds;  // how this operation can be made to fail
};

// A decorator over every port of a platform: forwards every operation, counts those that can fail, and makes one of them fail.
// Operations that cannot fail (closing, releasing, the last error, lengths, sleep and clock) are forwarded uncounted. Safe to use
// from several threads.
class ORBIS_SIMULATED_EXPORT FaultingPlatform final : public platform::ForwardingPlatform {
public:
    // `inner` is not owned and must outlive this object.
    explicit FaultingPlatform(platform::Platform& inner);
    ~FaultingPlatform() override;
    FaultingPlatform(const FaultingPlatform&) = delete;
    FaultingPlatform& operator=(const FaultingPlatform&) = delete;

    // Counts anew from 0 and makes call number `call` fail, if its operation can fail so. `code` is the error for FaultKind::Error;
    // without one it is access denied, or the operation's usual error where it has one of its own.
    void FailAt(std::uint64_t call, FaultKind kind, std::optional<std::uint32_t> code = std::nullopt);
    // Counts anew from 0 and lets every call pass.
    void PassAll();

    // Calls counted since the last FailAt or PassAll, in order.
    [[nodiscard]] std::vector<CountedCall> Calls() const;
    // Whether the call asked for by FailAt was reached, and failed.
    [[nodiscard]] bool Reached() const;

    [[nodiscard]] platform::DeviceIo& DeviceIoPort() noexcept override;
    [[nodiscard]] platform::Setup& SetupPort() noexcept override;
    [[nodiscard]] platform::Wmi& WmiPort() noexcept override;
    [[nodiscard]] platform::Firmware& FirmwarePort() noexcept override;
    [[nodiscard]] platform::Pdh& PdhPort() noexcept override;
    [[nodiscard]] platform::Text& TextPort() noexcept override;

private:
    class Ports;
    std::unique_ptr<Ports> m_Ports;
};

}  // namespace orbis::simulated
