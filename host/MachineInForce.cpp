#include "MachineInForce.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "SimulatedMachine.h"
#include "Terminal.h"
#include "platform/SystemPath.h"

namespace orbis::host {
namespace {

std::atomic<bool> g_Interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

extern "C" void OnInterrupt(int signal)
{
    g_Interrupted = true;
    std::signal(signal, SIG_DFL);
}

// With the remedies that this program knows better, because it knows how it was started.
std::vector<insight::Finding> Advised(std::vector<insight::Finding> findings)
{
    for (insight::Finding& finding : findings) {
        if (finding.kind == insight::kAccessDenied) {
            finding.remedy = MoreRightsAdvice();
        }
    }
    return findings;
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
    const auto utf8 = [](const std::filesystem::path& path) {
        const std::u8string text = path.u8string();
        return std::string(text.begin(), text.end());
    };
    if (file.empty()) {
        m_Name = ComputerName();
    } else {
        m_Name = utf8(file.stem());
        m_Simulated = LoadMachine(file);
        platform::Platform::Replace(m_Simulated.get());
    }
    m_Journal = std::make_unique<insight::Journal>(platform::Platform::Current());
    m_Disks = std::make_unique<DiskWatch>(*m_Journal);
    platform::Platform::Replace(m_Disks.get());
}

MachineInForce::~MachineInForce() { platform::Platform::Replace(nullptr); }

std::optional<std::uint32_t> MachineInForce::DriveNumberOf(const std::string& path) const
{
    return m_Simulated == nullptr && path.starts_with('/') ? platform::DriveNumberOfSystemPath(path) : std::nullopt;
}

insight::Extract MachineInForce::TakeCalls()
{
    insight::Extract extract = m_Journal->Take();
    m_Findings.Read(extract);
    if (extract.lost > 0) {
        throw std::runtime_error(fmt::format("the journal is full: {} calls were not kept", extract.lost));
    }
    return extract;
}

void MachineInForce::Describe(insight::Recording& recording) const
{
    if (m_Simulated != nullptr) {
        DescribeForRecording(*m_Simulated, recording);
        return;
    }
    recording.set_title("Recording of a machine");
    recording.set_system(SystemName());
    recording.set_code_page(DefaultCodePage());
    recording.set_elevated(IsElevated());
}

std::vector<insight::Finding> MachineInForce::TakeFindings()
{
    m_Findings.Read(m_Journal->Take());
    std::vector<insight::Finding> findings = Advised(m_Findings.EndPass());
    for (const std::string& request : m_Simulated != nullptr ? NotRecorded(*m_Simulated) : std::vector<std::string>()) {
        findings.push_back({"not-recorded",
                            {},
                            "the recording has no answer to " + request,
                            "collect in the order of a whole `orbis-host collect`, or record the machine again",
                            {}});
    }
    return findings;
}

std::vector<insight::Finding> MachineInForce::CurrentFindings() const { return Advised(m_Findings.Current()); }

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
        m_Simulated->TimePort().Sleep(static_cast<std::uint32_t>(std::min(seconds * 1000, 4e9)));
    }
}

}  // namespace orbis::host
