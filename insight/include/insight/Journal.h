#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "insight/Calls.h"
#include "insight/Export.h"
#include "platform/Forwarding.h"

namespace orbis::insight {

// What the journal has kept since it was taken last.
struct Extract {
    std::vector<Record> records;  // in the order in which the calls returned
    std::uint64_t lost = 0;       // calls that found no room; not 0 is an error to be reported: the records end early
    bool isOfSystem = false;      // the machine is the operating system's own
};

// A decorator over every port of a machine that keeps each call with what it was asked and answered. Put it in force with
// Platform::Replace before a plug-in object is made; it must outlive every such object. Readers (findings, health, explanation,
// recording) work on what Take returns. The journal is bounded: calls that find no room are counted and not kept. It never changes
// an answer and never makes a call fail. Safe to use from several threads.
class ORBIS_INSIGHT_EXPORT Journal final : public platform::ForwardingPlatform {
public:
    static constexpr std::size_t kDefaultCapacity = std::size_t{64} << 20;  // bytes

    // `machine` is not owned and must outlive this object.
    explicit Journal(platform::Platform& machine, std::size_t capacity = kDefaultCapacity);
    ~Journal() override;
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // Gives the calls that were kept and begins anew. Objects that are open keep their serial numbers. Call it after each pass.
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
