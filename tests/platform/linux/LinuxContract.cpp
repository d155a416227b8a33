#include "CapturedMachine.h"
#include "PlatformContract.h"

namespace orbis::tests {
namespace {

class SystemSubject final : public ContractSubject {
public:
    platform::Platform& Ports() override { return platform::Platform::System(); }
    // Two samples are never taken at the same nanosecond.
    void Advance(std::chrono::milliseconds /*time*/) override {}
};

class CapturedSubject final : public ContractSubject {
public:
    explicit CapturedSubject(CapturedTree tree) : m_Tree(std::move(tree)), m_Machine(m_Tree.Roots(), m_Drives.Calls()) {}
    platform::Platform& Ports() override { return m_Machine; }
    void Advance(std::chrono::milliseconds time) override { m_Drives.now += time; }

private:
    CapturedTree m_Tree;
    PlayedDrives m_Drives;
    platform::linux_system::Platform m_Machine;
};

INSTANTIATE_TEST_SUITE_P(
    Linux, PlatformContract,
    testing::Values(ContractFactory{"system", [] { return std::make_unique<SystemSubject>(); }},
                    ContractFactory{"captured",
                                    [] { return std::make_unique<CapturedSubject>(CapturedTree::Named("every-transport.tree")); }},
                    ContractFactory{"bare", [] { return std::make_unique<CapturedSubject>(CapturedTree("proc/swaps = \n")); }}),
    [](const auto& factory) { return factory.param.name; });

}  // namespace
}  // namespace orbis::tests
