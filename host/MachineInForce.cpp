#include "MachineInForce.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "Terminal.h"
#include "platform/Text.h"
#include "simulated/MachineFile.h"

namespace orbis::host {
namespace {

std::atomic<bool> g_Interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

extern "C" void OnInterrupt(int signal)
{
    g_Interrupted = true;
    std::signal(signal, SIG_DFL);
}

}  // namespace

void InterruptWaits()
{
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
}

bool IsInterrupted() { return g_Interrupted; }

MachineInForce::MachineInForce(const std::filesystem::path& file)
{
    if (!file.empty()) {
        const std::u8string name = file.u8string();
        m_Simulated = simulated::LoadMachineFile(std::string(name.begin(), name.end()));
        platform::Platform::Replace(m_Simulated.get());
    }
    m_Access = std::make_unique<AccessWatch>(platform::Platform::Current());
    m_Inventory = std::make_unique<InventoryWatch>(*m_Access);
    m_Disks = std::make_unique<DiskWatch>(*m_Inventory);
    platform::Platform::Replace(m_Disks.get());
}

MachineInForce::~MachineInForce() { platform::Platform::Replace(nullptr); }

std::vector<std::string> MachineInForce::TakeFindings()
{
    std::vector<std::string> findings;
    for (const std::string& finding : m_Inventory->TakeFindings()) {
        findings.push_back(finding);
    }
    std::string denied;
    for (const std::u16string& path : m_Access->TakeDenied()) {
        denied += (denied.empty() ? "" : ", ") + platform::Utf16ToUtf8(path);
    }
    if (!denied.empty()) {
        findings.push_back(fmt::format("no access to {}; to see everything, {}", denied, MoreRightsAdvice()));
    }
    return findings;
}

void MachineInForce::Wait(double seconds)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    constexpr auto kSlice = std::chrono::milliseconds(50);
    while (!g_Interrupted && Clock::now() < end) {
        std::this_thread::sleep_for(
            std::min<Clock::duration>(kSlice, std::chrono::duration_cast<Clock::duration>(end - Clock::now())));
    }
    Advance(seconds);
}

void MachineInForce::LetRatesBuildUp(double seconds)
{
    if (m_Simulated == nullptr) {
        Wait(seconds);
    } else {
        Advance(seconds);
    }
}

void MachineInForce::Advance(double seconds)
{
    if (m_Simulated != nullptr) {
        m_Simulated->AdvanceClock(std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds)));
    }
}

}  // namespace orbis::host
