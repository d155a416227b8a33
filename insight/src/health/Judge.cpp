#include <google/protobuf/util/time_util.h>
#include <algorithm>
#include <chrono>

#include "health/DiskJudge.h"
#include "health/Report.h"
#include "insight/ErrorText.h"

namespace orbis::insight {
namespace {

constexpr std::uint32_t kBusTypeNvme = 17;  // STORAGE_BUS_TYPE

bool IsNvme(const DiskEvidence& disk)
{
    return disk.busType == kBusTypeNvme || disk.nvmeIdentify.IsAnswered() || disk.nvmeHealth.IsAnswered();
}

// Why a disk without health data has none: the first reason that the requests give.
void SayWhyUnknown(const DiskEvidence& disk, DiskJudge& judge)
{
    // A driver that hides the disk's kind, as RAID drivers do, and that refuses the requests for either.
    using State = PageAnswer::State;
    if (!IsNvme(disk) && disk.nvmeIdentify.state == State::Refused && disk.ataIdentify.state != State::Answered &&
        disk.smartData.state == State::Refused) {
        std::string text =
            "neither an NVMe health log nor SMART data can be read through its driver: " + ErrorText(disk.nvmeIdentify.error);
        if (disk.smartData.error != disk.nvmeIdentify.error) {
            text += fmt::format(" (NVMe), {} (SMART)", ErrorText(disk.smartData.error));
        }
        judge.Unknown("unknown.refused", std::move(text), "");
        return;
    }
    const PageAnswer& page = IsNvme(disk) ? disk.nvmeHealth : disk.smartData;
    const char* const what = IsNvme(disk) ? "NVMe health log" : "SMART data";
    const char* const source = IsNvme(disk) ? "NVMe log 02h" : "SMART READ DATA";
    switch (page.state) {
        case PageAnswer::State::Refused:
            judge.Unknown("unknown.refused", fmt::format("the {} could not be read: {}", what, ErrorText(page.error)), source);
            return;
        case PageAnswer::State::Unsupported:
            judge.Unknown("unknown.unsupported", fmt::format("the disk has no {}", what), source);
            return;
        case PageAnswer::State::NotAsked:
        case PageAnswer::State::Answered:
            break;
    }
    if (disk.openError) {
        judge.Unknown("unknown.open",
                      fmt::format("no access to \\\\.\\PhysicalDrive{}: {}", disk.number, ErrorText(*disk.openError)), "");
    } else if (disk.requestError) {
        judge.Unknown(
            "unknown.refused",
            fmt::format("the {} was not asked for, since an earlier request was refused: {}", what, ErrorText(*disk.requestError)),
            source);
    } else {
        judge.Unknown("unknown.not-asked", fmt::format("the {} was not asked for", what), source);
    }
}

Verdict VerdictOf(const DiskHealth& disk)
{
    Verdict worst = OK;
    for (const Reason& reason : disk.reason()) {
        worst = std::max(worst, reason.level());
    }
    return worst == NOTICE ? OK : worst;
}

}  // namespace

void SettleVerdict(DiskHealth& disk)
{
    std::stable_sort(disk.mutable_reason()->begin(), disk.mutable_reason()->end(),
                     [](const Reason& left, const Reason& right) { return left.level() > right.level(); });
    disk.set_verdict(VerdictOf(disk));
}

DiskHealth Judge(const DiskEvidence& disk)
{
    DiskHealth health;
    health.set_number(disk.number);
    health.set_name(fmt::format("DISK{}", disk.number));
    health.set_model(disk.model);
    health.set_serial_number(disk.serialNumber);
    health.set_firmware_revision(disk.firmwareRevision);
    health.mutable_letter()->Assign(disk.letters.begin(), disk.letters.end());

    DiskJudge judge(health);
    if (disk.nvmeHealth.IsAnswered()) {
        JudgeNvme(disk, judge);
    }
    if (disk.smartData.IsAnswered()) {
        JudgeAta(disk, judge);
    }
    if (!disk.nvmeHealth.IsAnswered() && !disk.smartData.IsAnswered()) {
        SayWhyUnknown(disk, judge);
    }
    SettleVerdict(health);
    return health;
}

void SortWorstFirst(HealthReport& report)
{
    const auto weight = [](const DiskHealth& disk) { return disk.verdict() == ASLEEP ? VERDICT_UNSPECIFIED : disk.verdict(); };
    std::stable_sort(report.mutable_disk()->begin(), report.mutable_disk()->end(),
                     [&](const DiskHealth& left, const DiskHealth& right) {
                         return weight(left) != weight(right) ? weight(left) > weight(right) : left.number() < right.number();
                     });
}

Verdict LastVerdict(const DiskHealth& disk) noexcept { return disk.verdict() == ASLEEP ? disk.last_verdict() : disk.verdict(); }

void AddAsleep(HealthReport& report, const DiskHealth& disk, const HealthReport& earlier)
{
    DiskHealth asleep;
    for (const DiskHealth& before : earlier.disk()) {
        const bool isSame = before.number() == disk.number() && (disk.model().empty() || before.model() == disk.model()) &&
                            (disk.serial_number().empty() || before.serial_number() == disk.serial_number());
        if (isSame && LastVerdict(before) != VERDICT_UNSPECIFIED) {
            asleep = before;
            asleep.set_last_verdict(LastVerdict(before));
            *asleep.mutable_last_time() = before.verdict() == ASLEEP ? before.last_time() : earlier.time();
        }
    }
    asleep.clear_change();
    // The earlier findings may no longer hold.
    asleep.clear_reason();
    asleep.clear_counter();
    if (disk.letter_size() > 0) {
        asleep.clear_letter();
    }
    asleep.MergeFrom(disk);
    asleep.set_name(fmt::format("DISK{}", disk.number()));
    asleep.set_verdict(ASLEEP);
    *report.add_disk() = std::move(asleep);
    SortWorstFirst(report);
}

HealthReport MakeReport(std::span<const DiskEvidence> disks, std::string_view host, std::chrono::system_clock::time_point time)
{
    HealthReport report;
    report.set_format_version(kHealthFormatVersion);
    report.set_host(host.data(), host.size());
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
    *report.mutable_time() = google::protobuf::util::TimeUtil::NanosecondsToTimestamp(nanoseconds);
    for (const DiskEvidence& disk : disks) {
        *report.add_disk() = Judge(disk);
    }
    SortWorstFirst(report);
    return report;
}

Verdict WorstOf(const HealthReport& report) noexcept
{
    Verdict worst = OK;
    for (const DiskHealth& disk : report.disk()) {
        worst = std::max(worst, disk.verdict() == ASLEEP ? OK : disk.verdict());
    }
    return worst;
}

}  // namespace orbis::insight
