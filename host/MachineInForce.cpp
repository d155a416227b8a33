#include "MachineInForce.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

#include "SimulatedMachine.h"
#include "Supervised.h"
#include "Terminal.h"
#include "Text.h"
#include "insight/HiddenSources.h"
#include "insight/TimeLimits.h"
#include "insight/Waits.h"
#include "platform/SystemPath.h"
#include "platform/Text.h"

namespace orbis::host {
namespace {

std::atomic<bool> g_Interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

extern "C" void OnInterrupt(int signal)
{
    g_Interrupted = true;
    std::signal(signal, SIG_DFL);
}

// Replaces remedies by ones that fit this program and machine. With a machine file, more rights here would change nothing.
std::vector<insight::Finding> Advised(std::vector<insight::Finding> findings, bool isSimulated)
{
    for (insight::Finding& finding : findings) {
        if (finding.kind == insight::kAccessDenied) {
            finding.remedy =
                isSimulated ? "on the machine itself, run orbis-host as administrator, on Linux as root" : MoreRightsAdvice();
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

// Reports waits to the supervisor, limits time-outs of requests to the remaining time, and leaves out late sources.
struct MachineInForce::Guard {
    Guard(platform::Platform& machine, Supervised& supervised)
        : waits(machine, supervised),
          limits(waits, [&supervised] { return supervised.SecondsLeft(); }),
          sources(limits),
          disks(sources),
          late(supervised.Task().late().begin(), supervised.Task().late().end())
    {
        for (const LateSource& one : late) {
            if (SourceOf(one).kind == insight::Source::Kind::Device) {
                insight::HiddenDisk disk = insight::HiddenDiskOf(platform::Utf8ToUtf16(one.source().name()));
                disk.number = one.source().has_number() ? one.source().number() : disk.number;
                if (disk.interfacePath.empty()) {
                    disk.interfacePath = platform::Utf8ToUtf16(one.source().path());
                }
                disks.Hide(std::move(disk));
            } else {
                sources.Hide(SourceOf(one));
            }
        }
    }

    static insight::Source SourceOf(const LateSource& one)
    {
        return {static_cast<insight::Source::Kind>(one.source().kind()), one.source().name()};
    }

    // The sources that are left out; empty from the second call on.
    std::vector<insight::Finding> TakeFindings()
    {
        return std::exchange(isTold, true) ? std::vector<insight::Finding>{} : Findings();
    }

    [[nodiscard]] std::vector<insight::Finding> Findings() const
    {
        std::vector<insight::Finding> findings;
        for (const LateSource& one : late) {
            const bool isDisk = SourceOf(one).kind == insight::Source::Kind::Device;
            const auto number = NumberOf(one);
            const std::string name = number ? fmt::format("DISK{}", *number) : insight::NameOf(SourceOf(one));
            findings.push_back(
                {"no-answer",
                 name,
                 fmt::format("{}: {}; {}", name, Reason(one),
                             isDisk ? "it is left out, the other disks are complete" : "what needs it is left out"),
                 isDisk ? "look at the disk, its cable and its bridge; --deadline 0 waits for it" : "--deadline 0 waits for it",
                 {}});
        }
        return findings;
    }

    [[nodiscard]] std::map<std::uint32_t, std::string> LateDisks() const
    {
        std::map<std::uint32_t, std::string> reasons;
        for (const LateSource& one : late) {
            if (const auto number = NumberOf(one)) {
                reasons[*number] = Reason(one);
            }
        }
        return reasons;
    }

    static std::string Reason(const LateSource& one)
    {
        return one.crash().empty()
                   ? fmt::format("no answer to {} within {:g} s", one.source().what(), one.seconds())
                   : fmt::format("the collecting process ended unexpectedly ({}) at {}", one.crash(), one.source().what());
    }

    // The number of a late disk, as far as it is known by now.
    [[nodiscard]] std::optional<std::uint32_t> NumberOf(const LateSource& one) const
    {
        if (one.source().has_number() || SourceOf(one).kind != insight::Source::Kind::Device) {
            return one.source().has_number() ? std::optional(one.source().number()) : std::nullopt;
        }
        const insight::HiddenDisk names = insight::HiddenDiskOf(platform::Utf8ToUtf16(one.source().name()));
        for (const insight::HiddenDisk& disk : disks.Hidden()) {
            const bool isSame = (names.number && disk.number == names.number) ||
                                (!names.letters.empty() && disk.letters.contains(*names.letters.begin())) ||
                                (!names.interfacePath.empty() && disk.interfacePath == names.interfacePath);
            if (isSame) {
                return disk.number;
            }
        }
        return std::nullopt;
    }

    insight::WaitWatch waits;
    insight::TimeLimits limits;
    insight::HiddenSources sources;
    insight::HiddenDisks disks;
    const std::vector<LateSource> late;
    bool isTold = false;
};

MachineInForce::MachineInForce(const std::filesystem::path& file, bool skipSleeping)
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
    if (Supervised* const supervised = Supervised::Get()) {
        m_Guard = std::make_unique<Guard>(platform::Platform::Current(), *supervised);
        platform::Platform::Replace(&m_Guard->disks);
        if (m_Simulated != nullptr) {
            SimulatedLibrary().onDelay(*m_Simulated, [supervised](std::chrono::nanoseconds time) { supervised->Delay(time); });
        }
    }
    if (skipSleeping) {
        m_Sleep = std::make_unique<insight::SleepingDisks>(platform::Platform::Current());
        platform::Platform::Replace(&m_Sleep->Visible());
    }
    m_Journal = std::make_unique<insight::Journal>(platform::Platform::Current());
    m_Disks = std::make_unique<DiskWatch>(*m_Journal);
    if (Supervised* const supervised = Supervised::Get()) {
        supervised->IdentifyWith([this](WaitedFor& wait) {
            if (const auto number = m_Disks->NumberOfPath(wait.name())) {
                wait.set_number(*number);
                wait.set_path(m_Disks->InterfacePathOf(*number));
            }
        });
    }
    static_cast<void>(BeginPass());
    platform::Platform::Replace(m_Disks.get());
}

bool MachineInForce::BeginPass()
{
    const auto numbers = [this] {
        std::vector<std::optional<std::uint32_t>> asleep;
        for (const Disk& disk : Asleep()) {
            asleep.push_back(disk.number);
        }
        return asleep;
    };
    const auto before = numbers();
    if (m_Sleep != nullptr) {
        m_Sleep->Look();
    }
    return numbers() != before;
}

std::vector<Disk> MachineInForce::Asleep() const
{
    std::vector<Disk> disks;
    for (const insight::HiddenDisk& hidden : m_Sleep != nullptr ? m_Sleep->Asleep() : std::vector<insight::HiddenDisk>{}) {
        if (hidden.number) {
            Disk& disk = disks.emplace_back();
            disk.itemId = "Disk_" + platform::DefaultToUtf8(platform::Utf16ToUtf8(hidden.pnpDeviceId));
            disk.number = hidden.number;
            disk.model = Trimmed(platform::Utf16ToUtf8(hidden.model));
            disk.serialNumber = Trimmed(platform::Utf16ToUtf8(hidden.serialNumber));
            for (const char16_t letter : hidden.letters) {
                disk.letters[std::string{static_cast<char>(letter), ':'}];
            }
        }
    }
    std::sort(disks.begin(), disks.end(), [](const Disk& one, const Disk& other) { return one.number < other.number; });
    return disks;
}

MachineInForce::~MachineInForce() { platform::Platform::Replace(nullptr); }

std::optional<std::uint32_t> MachineInForce::DriveNumberOf(const std::string& path) const
{
    return m_Simulated == nullptr && path.starts_with('/') ? platform::DriveNumberOfSystemPath(path) : std::nullopt;
}

insight::Extract MachineInForce::TakeCalls()
{
    insight::Extract extract = m_Journal->Take();
    const std::uint64_t lost = std::exchange(extract.lost, 0U);  // an error here, not a finding as well
    m_Findings.Read(extract);
    if (lost > 0) {
        throw std::runtime_error(fmt::format(
            "the journal is full: {} calls were not kept; `orbis-host collect DATATYPE`, one datatype at a time, shows which one "
            "makes so many",
            lost));
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

std::vector<insight::Finding> MachineInForce::MissingAnswers() const
{
    std::vector<insight::Finding> findings;
    for (const std::string& request : m_Simulated != nullptr ? NotRecorded(*m_Simulated) : std::vector<std::string>()) {
        findings.push_back({"not-recorded",
                            request,
                            "the recording has no answer to " + request,
                            "collect in the order of a whole `orbis-host collect`, or record the machine again",
                            {}});
    }
    return findings;
}

std::vector<insight::Finding> MachineInForce::TakeFindings()
{
    m_Findings.Read(m_Journal->Take());
    std::vector<insight::Finding> findings = Advised(m_Findings.EndPass(), m_Simulated != nullptr);
    for (insight::Finding& finding : MissingAnswers()) {
        if (m_ReportedMissing.insert(finding.subject).second) {
            findings.push_back(std::move(finding));
        }
    }
    if (m_Guard != nullptr) {
        std::vector<insight::Finding> late = m_Guard->TakeFindings();
        findings.insert(findings.begin(), late.begin(), late.end());
    }
    return findings;
}

std::vector<insight::Finding> MachineInForce::CurrentFindings() const
{
    std::vector<insight::Finding> findings = Advised(m_Findings.Current(), m_Simulated != nullptr);
    std::ranges::move(MissingAnswers(), std::back_inserter(findings));
    if (m_Guard != nullptr) {
        std::vector<insight::Finding> late = m_Guard->Findings();
        findings.insert(findings.begin(), late.begin(), late.end());
    }
    return findings;
}

std::map<std::uint32_t, std::string> MachineInForce::LateDisks() const
{
    return m_Guard != nullptr ? m_Guard->LateDisks() : std::map<std::uint32_t, std::string>{};
}

std::vector<insight::HiddenDisk> MachineInForce::Hidden() const
{
    return m_Guard != nullptr ? m_Guard->disks.Hidden() : std::vector<insight::HiddenDisk>{};
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
        m_Simulated->TimePort().Sleep(static_cast<std::uint32_t>(std::min(seconds * 1000, 4e9)));
    }
}

}  // namespace orbis::host
