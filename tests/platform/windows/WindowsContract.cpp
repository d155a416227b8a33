#include "PlatformContract.h"
#include "windows/Wine.h"

namespace orbis::tests {
namespace {

class WindowsSubject final : public ContractSubject {
public:
    platform::Platform& Ports() override { return platform::Platform::System(); }
    // Wine has none of these services; the tests beside this file say what it answers instead.
    bool Has(Service /*service*/) const override { return !OnWine(); }
};

INSTANTIATE_TEST_SUITE_P(Windows, PlatformContract,
                         testing::Values(ContractFactory{"system", [] { return std::make_unique<WindowsSubject>(); }}),
                         [](const auto& factory) { return factory.param.name; });

}  // namespace
}  // namespace orbis::tests
