#include <array>
#include <cstddef>

#include "MakerHealthLog.h"
#include "health/DiskJudge.h"
#include "insight/ErrorText.h"

namespace orbis::insight {
namespace {

constexpr std::string_view kLog = "NVMe log 02h";
constexpr std::size_t kLogSize = 512;
constexpr std::size_t kEndOfTemperatures = 270;  // WCTEMP and CCTEMP in Identify Controller

std::uint32_t Little(std::span<const std::uint8_t> page, std::size_t offset, std::size_t length)
{
    std::uint32_t value = 0;
    for (std::size_t at = length; at-- > 0;) {
        value = value << 8U | page[offset + at];
    }
    return value;
}

std::string Source(std::size_t first, std::size_t last)
{
    return first == last ? fmt::format("{} byte {}", kLog, first) : fmt::format("{} bytes {}-{}", kLog, first, last);
}

// Critical Warning, byte 0 (NVMe 1.4, figure 194). Bits 6 and 7 are reserved there.
void JudgeCriticalWarning(std::span<const std::uint8_t> log, DiskJudge& judge)
{
    struct Bit {
        std::uint32_t bit;
        HealthRuleId rule;
        const char* text;
    };
    static constexpr std::array<Bit, 6> kBits{{
        {0, HealthRuleId::NvmeSpareWarning, "spare below its threshold"},
        {1, HealthRuleId::NvmeTemperatureWarning, "temperature beyond a limit"},
        {2, HealthRuleId::NvmeReliability, "reliability degraded"},
        {3, HealthRuleId::NvmeReadOnly, "read only"},
        {4, HealthRuleId::NvmeBackup, "volatile memory backup failed"},
        {5, HealthRuleId::NvmePersistentMemory, "persistent memory region unreliable"},
    }};
    for (const Bit& bit : kBits) {
        if ((log[0] >> bit.bit & 1U) != 0) {
            judge.Say(bit.rule, bit.text, {}, {}, fmt::format("{} byte 0 bit {}", kLog, bit.bit));
        }
    }
    static constexpr std::array<std::pair<std::uint32_t, const char*>, 3> kGroup{
        {{0, "an endurance group's spare is below its threshold"},
         {2, "an endurance group's reliability is degraded"},
         {3, "an endurance group is read only"}}};
    for (const auto& [bit, text] : kGroup) {
        if ((log[6] >> bit & 1U) != 0) {
            judge.Say(HealthRuleId::NvmeEnduranceGroup, text, {}, {}, fmt::format("{} byte 6 bit {}", kLog, bit));
        }
    }
}

// Kelvin, as in the log; 0 is "not reported".
void JudgeTemperature(std::span<const std::uint8_t> log, const PageAnswer& identify, DiskJudge& judge)
{
    constexpr std::int32_t kZeroCelsius = 273;
    const auto kelvin = static_cast<std::int32_t>(Little(log, 1, 2));
    if (kelvin == 0) {
        return;
    }
    judge.Count("temperature", std::to_string(kelvin - kZeroCelsius), "Cel");
    if (!identify.IsAnswered() || identify.bytes.size() < kEndOfTemperatures) {
        if (identify.state != PageAnswer::State::NotAsked) {
            judge.Unknown("unknown.refused",
                          "the warning temperature could not be read" +
                              (identify.state == PageAnswer::State::Refused ? ": " + ErrorText(identify.error) : std::string()),
                          "Identify Controller");
        }
        return;
    }
    const auto warning = static_cast<std::int32_t>(Little(identify.Bytes(), 266, 2));
    if (warning == 0) {
        return;
    }
    judge.Count("warningTemperature", std::to_string(warning - kZeroCelsius), "Cel");
    if (kelvin >= warning) {
        judge.Say(HealthRuleId::NvmeTemperature,
                  fmt::format("{} \u00B0C, warning at {} \u00B0C", kelvin - kZeroCelsius, warning - kZeroCelsius),
                  std::to_string(kelvin - kZeroCelsius), std::to_string(warning - kZeroCelsius),
                  Source(1, 2) + ", Identify bytes 266-267");
    }
}

void JudgeWear(std::span<const std::uint8_t> log, DiskJudge& judge)
{
    const std::uint32_t spare = log[3];
    const std::uint32_t threshold = log[4];
    const std::uint32_t used = log[5];
    judge.Count("availableSpare", std::to_string(spare), "%");
    judge.Count("availableSpareThreshold", std::to_string(threshold), "%");
    judge.Count("percentageUsed", std::to_string(used), "%");
    if (spare < threshold) {
        judge.Say(HealthRuleId::NvmeSpare, fmt::format("spare {} %, threshold {} %", spare, threshold), std::to_string(spare),
                  std::to_string(threshold), Source(3, 4));
    }
    if (used >= 90) {
        // 255 means every value above 254.
        judge.Say(used >= 100 ? HealthRuleId::NvmeUsed : HealthRuleId::NvmeNearlyUsed,
                  fmt::format("{} % used{}, threshold {} %", used, used == 255 ? " or more" : "", used >= 100 ? 100 : 90),
                  std::to_string(used), used >= 100 ? "100" : "90", Source(5, 5));
    }
}

struct LongCounter {
    std::size_t offset;
    const char* name;
    const char* unit;
};
constexpr std::array<LongCounter, 10> kLongCounters{{
    {32, "dataUnitsRead", "512 kB"},
    {48, "dataUnitsWritten", "512 kB"},
    {64, "hostReadCommands", ""},
    {80, "hostWriteCommands", ""},
    {96, "controllerBusyTime", "min"},
    {112, "powerCycles", ""},
    {128, "powerOnHours", "h"},
    {144, "unsafeShutdowns", ""},
    {160, "mediaErrors", ""},
    {176, "errorLogEntries", ""},
}};

void JudgeCounters(std::span<const std::uint8_t> log, DiskJudge& judge)
{
    for (const LongCounter& counter : kLongCounters) {
        const auto bytes = log.subspan(counter.offset).first<16>();
        std::string value = Unsigned128::FromLittleEndian(bytes).ToDecimal();
        if (counter.offset == 160 && value != "0") {
            judge.Say(HealthRuleId::NvmeMediaErrors, "media errors " + value, value, "0", Source(160, 175));
        }
        judge.Count(counter.name, std::move(value), counter.unit);
    }
    judge.Count("warningTemperatureTime", std::to_string(Little(log, 192, 4)), "min");
    judge.Count("criticalTemperatureTime", std::to_string(Little(log, 196, 4)), "min");
}

// Used and all reserved blocks of the maker's log.
void JudgeReservedBlocks(std::span<const std::uint8_t, kLogSize> bytes, DiskJudge& judge)
{
    const veyra::sondix::maker::MakerHealthLog log(bytes);
    if (!log.IsRecognised() || log.ReservedBlockCountSsdTotal() == 0) {
        return;
    }
    const std::uint32_t used = log.UsedReservedBlockCountSsdTotal();
    const std::uint32_t all = log.ReservedBlockCountSsdTotal();
    judge.Count("reservedBlocksUsed", std::to_string(used));
    judge.Count("reservedBlocks", std::to_string(all));
    const std::uint64_t threshold = (std::uint64_t{all} * 9 + 9) / 10;  // 90 %, rounded up
    if (used >= threshold) {
        judge.Say(HealthRuleId::MakerReservedBlocks,
                  fmt::format("{} of {} reserved blocks used, threshold {}", used, all, threshold), std::to_string(used),
                  std::to_string(threshold), "maker's health log");
    }
}

}  // namespace

void JudgeNvme(const DiskEvidence& disk, DiskJudge& judge)
{
    const auto log = disk.nvmeHealth.Bytes();
    if (log.size() < kLogSize) {
        judge.Unknown("unknown.short-page", fmt::format("the NVMe health log has {} bytes in place of {}", log.size(), kLogSize),
                      kLog);
        return;
    }
    JudgeCriticalWarning(log, judge);
    JudgeWear(log, judge);
    JudgeTemperature(log, disk.nvmeIdentify, judge);
    JudgeCounters(log, judge);
    if (disk.makerHealth.IsAnswered() && disk.makerHealth.bytes.size() >= kLogSize) {
        JudgeReservedBlocks(disk.makerHealth.Bytes().first<kLogSize>(), judge);
    }
}

}  // namespace orbis::insight
