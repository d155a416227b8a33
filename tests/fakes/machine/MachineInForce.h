#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "simulated/FaultingPlatform.h"
#include "simulated/Machine.h"
#include "simulated/MachineFile.h"

namespace orbis::fakes {

// A simulated machine in force for the life of this object, with the faults that a test asks for between it and its users. At the
// end nothing may be open.
class MachineInForce {
public:
    explicit MachineInForce(std::string_view text) : m_Machine(simulated::ParseMachine(text)), m_Faults(*m_Machine)
    {
        platform::Platform::Replace(&m_Faults);
    }
    MachineInForce(const MachineInForce&) = delete;
    MachineInForce& operator=(const MachineInForce&) = delete;
    ~MachineInForce()
    {
        platform::Platform::Replace(nullptr);
        EXPECT_EQ(m_Machine->OpenObjects(), simulated::OpenCounts{});
        for (const std::string& misuse : m_Machine->Misuses()) {
            ADD_FAILURE() << misuse;
        }
    }

    [[nodiscard]] simulated::Machine* operator->() const noexcept { return m_Machine.get(); }

    // Makes call number `nth` (from 1) of `operation` fail when `use` is run once more. False when `use` makes no such call.
    template <class Use>
    [[nodiscard]] bool FailNth(std::string_view operation, int nth, simulated::FaultKind kind, std::optional<std::uint32_t> code,
                               Use&& use)
    {
        m_Faults.PassAll();
        use();
        const auto calls = m_Faults.Calls();
        for (std::size_t call = 0; call < calls.size(); ++call) {
            if (calls[call].operation == operation && --nth == 0) {
                m_Faults.FailAt(call, kind, code);
                return true;
            }
        }
        return false;
    }

private:
    std::unique_ptr<simulated::Machine> m_Machine;
    simulated::FaultingPlatform m_Faults;
};

}  // namespace orbis::fakes
