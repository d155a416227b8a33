#include "PlatformContract.h"
#include "insight/Journal.h"
#include "simulated/FaultingPlatform.h"
#include "simulated/MachineFile.h"

namespace orbis::tests {
namespace {

// A machine from its file; at the end its counts are balanced and no call misused it.
class SimulatedSubject : public ContractSubject {
public:
    explicit SimulatedSubject(const std::string& file) : m_Machine(simulated::LoadMachineFile(file)) {}
    ~SimulatedSubject() override
    {
        EXPECT_EQ(m_Machine->OpenObjects(), simulated::OpenCounts{});
        EXPECT_EQ(!m_Machine->Misuses().empty(), m_HasMisuses) << testing::PrintToString(m_Machine->Misuses());
    }

    platform::Platform& Ports() override { return *m_Machine; }
    void Advance(std::chrono::milliseconds time) override { m_Machine->AdvanceClock(time); }
    void ExpectMisuses() override { m_HasMisuses = true; }

protected:
    std::unique_ptr<simulated::Machine> m_Machine;

private:
    bool m_HasMisuses = false;
};

// The contract also holds behind two decorators that forward every operation.
class DecoratedSubject final : public SimulatedSubject {
public:
    explicit DecoratedSubject(const std::string& file) : SimulatedSubject(file), m_Faults(*m_Machine), m_Journal(m_Faults) {}
    platform::Platform& Ports() override { return m_Journal; }

private:
    simulated::FaultingPlatform m_Faults;
    insight::Journal m_Journal;
};

template <typename Subject>
ContractFactory Of(const std::string& name, const std::string& file)
{
    return {name, [file] { return std::make_unique<Subject>(file); }};
}

INSTANTIATE_TEST_SUITE_P(Simulated, PlatformContract,
                         testing::Values(Of<SimulatedSubject>("laptop", "machines/laptop-arm64.txtpb"),
                                         Of<SimulatedSubject>("workstation", "machines/workstation.txtpb"),
                                         Of<SimulatedSubject>("empty", "machines/empty.txtpb"),
                                         Of<DecoratedSubject>("decorated", "machines/workstation.txtpb")),
                         [](const auto& factory) { return factory.param.name; });

}  // namespace
}  // namespace orbis::tests
