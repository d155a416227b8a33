#include "MachineState.h"
#include "platform/Time.h"

namespace orbis::simulated {
namespace {

class SimulatedTime final : public platform::Time {
public:
    explicit SimulatedTime(MachineState& machine) : m_Machine(machine) {}

    std::chrono::system_clock::time_point UtcNow() override { return m_Machine.clock.UtcNow(); }
    void Sleep(std::uint32_t milliseconds) override { m_Machine.clock.Advance(std::chrono::milliseconds(milliseconds)); }

private:
    MachineState& m_Machine;
};

}  // namespace

std::unique_ptr<platform::Time> MakeTimePort(MachineState& machine) { return std::make_unique<SimulatedTime>(machine); }

}  // namespace orbis::simulated
