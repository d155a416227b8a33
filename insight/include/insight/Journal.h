#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "insight/Calls.h"
#include "insight/Export.h"
#include "platform/Forwarding.h"

namespace orbis::insight {

// The records of the journal since the last Take.
struct Extract {
    std::vector<Record> records;  // in the order in which the calls returned
    std::uint64_t lost = 0;       // calls for which there was no room; if not 0, the records end early, which must be reported
    bool isOfSystem = false;      // the machine is the operating system's own
};

// A decorator over every port of a machine that records each call with its arguments and results. Install it with Platform::Replace
// before a plug-in object is created; it must outlive every such object. Readers (findings, health, explanation, recording) use the
// records that Take returns. The journal is bounded: calls for which there is no room are only counted. It never changes an answer
// and never makes a call fail. Safe to use from several threads.
class ORBIS_INSIGHT_EXPORT Journal final : public platform::ForwardingPlatform {
public:
    static constexpr std::size_t kDefaultCapacity = std::size_t{64} << 20;  // bytes

    // `machine` is not owned and must outlive this object.
    explicit Journal(platform::Platform& machine, std::size_t capacity = kDefaultCapacity);
    ~Journal() override;
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // Returns the recorded calls and empties the journal. Open objects keep their serial numbers. Call it after each pass.
    [[nodiscard]] Extract Take();

    platform::DeviceIo& DeviceIoPort() noexcept override;
    platform::Setup& SetupPort() noexcept override;
    platform::Wmi& WmiPort() noexcept override;
    platform::Firmware& FirmwarePort() noexcept override;
    platform::Pdh& PdhPort() noexcept override;
    platform::Time& TimePort() noexcept override;
    platform::Text& TextPort() noexcept override;

private:
    class Ports;
    std::unique_ptr<Ports> m_Ports;
};

}  // namespace orbis::insight
