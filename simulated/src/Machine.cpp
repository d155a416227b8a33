#include "simulated/Machine.h"

#include <array>
#include <ostream>
#include <utility>

#include "Checker.h"
#include "MachineState.h"
#include "simulated/MachineFile.h"

namespace orbis::simulated {

std::ostream& operator<<(std::ostream& out, const OpenCounts& open)
{
    const std::array<std::pair<const char*, std::int64_t>, 9> counts{{{"device handles", open.deviceHandles},
                                                                      {"device sets", open.deviceSets},
                                                                      {"COM initialisations", open.comInitialisations},
                                                                      {"interfaces", open.interfaces},
                                                                      {"strings", open.strings},
                                                                      {"variants", open.variants},
                                                                      {"arrays", open.arrays},
                                                                      {"counter queries", open.counterQueries},
                                                                      {"counters", open.counters}}};
    const char* separator = "open: ";
    for (const auto& [name, count] : counts) {
        if (count != 0) {
            out << std::exchange(separator, ", ") << count << ' ' << name;
        }
    }
    return open == OpenCounts{} ? out << "nothing open" : out;
}

Machine::Machine(const description::Machine& description)
    : Machine((ThrowFirstError(CheckDescription(description, nullptr, "machine")), Checked{}), description)
{}

Machine::Machine(Checked /*checked*/, const description::Machine& description)
    : m_State(std::make_unique<MachineState>(description))
{
    m_State->MakePorts(*this);
}

Machine::~Machine() = default;

std::unique_ptr<Machine> Machine::Anew() const { return std::unique_ptr<Machine>(new Machine(Checked{}, m_State->description)); }

OpenCounts Machine::OpenObjects() const
{
    const auto& open = m_State->open;
    return {open.deviceHandles, open.deviceSets, open.comInitialisations, open.interfaces, open.strings,
            open.variants,      open.arrays,     open.counterQueries,     open.counters};
}

std::vector<std::string> Machine::Misuses() const { return m_State->Misuses(); }
const description::Machine& Machine::Description() const noexcept { return m_State->description; }
std::vector<std::string> Machine::NotRecorded() const
{
    return m_State->tape != nullptr ? m_State->tape->Missing() : std::vector<std::string>();
}
void Machine::AdvanceClock(std::chrono::nanoseconds interval) { m_State->clock.Advance(interval); }
void Machine::OnDelay(std::function<void(std::chrono::nanoseconds)> wait) { m_State->wait = std::move(wait); }

}  // namespace orbis::simulated
