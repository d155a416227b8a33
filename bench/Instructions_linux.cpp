#include "Instructions.h"

#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orbis::bench {

Instructions::Instructions() noexcept
{
    perf_event_attr wanted{};
    wanted.size = sizeof(wanted);
    wanted.type = PERF_TYPE_HARDWARE;
    wanted.config = PERF_COUNT_HW_INSTRUCTIONS;
    wanted.exclude_kernel = 1;
    wanted.exclude_hv = 1;
    m_Counter = static_cast<int>(::syscall(SYS_perf_event_open, &wanted, 0, -1, -1, 0));
}

Instructions::~Instructions()
{
    if (m_Counter >= 0) {
        ::close(m_Counter);
    }
}

std::optional<std::uint64_t> Instructions::Count() const noexcept
{
    std::uint64_t count = 0;
    return m_Counter >= 0 && ::read(m_Counter, &count, sizeof(count)) == sizeof(count) ? std::optional(count) : std::nullopt;
}

}  // namespace orbis::bench
