#include <algorithm>
#include <array>
#include <numeric>
#include <optional>

#include "health/DiskJudge.h"

namespace orbis::insight {
namespace {

// SMART READ DATA and SMART READ THRESHOLDS: a revision of two bytes, then 30 entries of twelve.
constexpr std::size_t kFirstEntry = 2;
constexpr std::size_t kEntrySize = 12;
constexpr std::size_t kEntries = 30;
constexpr std::size_t kAttributesEnd = kFirstEntry + kEntries * kEntrySize;
constexpr std::size_t kSectorSize = 512;
constexpr std::uint16_t kPreFailure = 1;  // status flags, bit 0

struct Attribute {
    std::uint8_t id = 0;
    bool isPreFailure = false;
    std::uint8_t value = 0;
    std::uint64_t raw = 0;  // 48 bits

    // 0, 254 and 255 are not normalised values (SFF-8035i).
    [[nodiscard]] bool HasValue() const noexcept { return value >= 1 && value <= 0xFD; }
    // The count in a raw value: makers put further counters above the low 32 bits.
    [[nodiscard]] std::uint32_t Events() const noexcept { return static_cast<std::uint32_t>(raw); }
};

Attribute ReadAttribute(std::span<const std::uint8_t> entry)
{
    Attribute attribute;
    attribute.id = entry[0];
    attribute.isPreFailure = (entry[1] & kPreFailure) != 0;
    attribute.value = entry[3];
    for (std::size_t at = 11; at-- > 5;) {
        attribute.raw = attribute.raw << 8U | entry[at];
    }
    return attribute;
}

std::optional<std::uint8_t> ThresholdOf(std::uint8_t id, std::span<const std::uint8_t> thresholds)
{
    for (std::size_t at = kFirstEntry; at < kAttributesEnd && at + kEntrySize <= thresholds.size(); at += kEntrySize) {
        if (thresholds[at] == id) {
            return thresholds[at + 1];
        }
    }
    return std::nullopt;
}

// The usual names of common attributes; makers differ in what they count.
std::string NameOf(std::uint8_t id)
{
    struct Name {
        std::uint8_t id;
        const char* name;
    };
    static constexpr std::array<Name, 34> kNames{{
        {1, "raw read error rate"},
        {3, "spin-up time"},
        {4, "start/stop count"},
        {5, "reallocated sectors"},
        {7, "seek error rate"},
        {9, "power-on hours"},
        {10, "spin retry count"},
        {12, "power cycles"},
        {170, "reserved blocks"},
        {171, "program failures"},
        {172, "erase failures"},
        {173, "wear levelling"},
        {177, "wear levelling"},
        {179, "used reserved blocks"},
        {180, "unused reserved blocks"},
        {181, "program failures"},
        {182, "erase failures"},
        {183, "runtime bad blocks"},
        {184, "end-to-end errors"},
        {187, "reported uncorrectable errors"},
        {188, "command timeouts"},
        {190, "airflow temperature"},
        {193, "load cycles"},
        {194, "temperature"},
        {195, "ECC error rate"},
        {196, "reallocation events"},
        {197, "pending sectors"},
        {198, "offline uncorrectable sectors"},
        {199, "CRC errors"},
        {200, "write error rate"},
        {202, "lifetime remaining"},
        {231, "life left"},
        {232, "available reserved space"},
        {233, "media wear-out indicator"},
    }};
    const auto found = std::find_if(kNames.begin(), kNames.end(), [id](const Name& name) { return name.id == id; });
    return found == kNames.end() ? fmt::format("attribute {}", id) : fmt::format("{} (attribute {})", found->name, id);
}

void JudgeAgainstThreshold(const Attribute& attribute, std::size_t offset, std::optional<std::uint8_t> threshold, DiskJudge& judge)
{
    if (!threshold || !attribute.HasValue() || attribute.value > *threshold) {
        return;
    }
    judge.Say(attribute.isPreFailure ? HealthRuleId::AtaPreFailure : HealthRuleId::AtaOldAge,
              fmt::format("{} at {}, threshold {}", NameOf(attribute.id), attribute.value, *threshold),
              std::to_string(attribute.value), std::to_string(*threshold), fmt::format("SMART data byte {}", offset + 3));
}

void JudgeEvents(const Attribute& attribute, std::size_t offset, DiskJudge& judge)
{
    struct Events {
        std::uint8_t id;
        HealthRuleId rule;
        const char* one;
        const char* many;
    };
    static constexpr std::array<Events, 4> kEvents{{
        {5, HealthRuleId::AtaReallocated, "reallocated sector", "reallocated sectors"},
        {187, HealthRuleId::AtaReportedUncorrectable, "reported uncorrectable error", "reported uncorrectable errors"},
        {197, HealthRuleId::AtaPending, "pending sector", "pending sectors"},
        {198, HealthRuleId::AtaOfflineUncorrectable, "offline uncorrectable sector", "offline uncorrectable sectors"},
    }};
    for (const Events& events : kEvents) {
        if (events.id == attribute.id && attribute.Events() != 0) {
            const std::string count = std::to_string(attribute.Events());
            judge.Say(events.rule, fmt::format("{} {}", count, attribute.Events() == 1 ? events.one : events.many), count, "0",
                      fmt::format("SMART data bytes {}-{}", offset + 5, offset + 10));
        }
    }
}

void CountAttribute(const Attribute& attribute, DiskJudge& judge)
{
    constexpr std::uint8_t kPowerOnHours = 9;
    constexpr std::uint8_t kTemperature = 194;
    judge.Count(fmt::format("attribute.{}.raw", attribute.id), std::to_string(attribute.raw));
    if (attribute.HasValue()) {
        judge.Count(fmt::format("attribute.{}.value", attribute.id), std::to_string(attribute.value));
    }
    if (attribute.id == kPowerOnHours) {
        judge.Count("powerOnHours", std::to_string(attribute.Events()), "h");
    } else if (attribute.id == kTemperature) {
        judge.Count("temperature", std::to_string(static_cast<std::int8_t>(attribute.raw & 0xFFU)), "Cel");
    }
}

bool HasChecksum(std::span<const std::uint8_t> sector) { return (std::accumulate(sector.begin(), sector.end(), 0U) & 0xFFU) == 0; }

}  // namespace

void JudgeAta(const DiskEvidence& disk, DiskJudge& judge)
{
    constexpr std::string_view kSource = "SMART READ DATA";
    const auto data = disk.smartData.Bytes();
    if (data.size() < kAttributesEnd) {
        judge.Unknown("unknown.short-page",
                      fmt::format("the SMART data has {} bytes, its attributes take {}", data.size(), kAttributesEnd), kSource);
        return;
    }
    // Rows of WMI end after the attributes and have no checksum.
    if (data.size() >= kSectorSize && !HasChecksum(data.first(kSectorSize))) {
        judge.Unknown("unknown.checksum", "the SMART data's checksum is wrong; its values may be wrong too", kSource);
    }
    const bool hasThresholds = disk.smartThresholds.IsAnswered() && disk.smartThresholds.bytes.size() >= kAttributesEnd;
    if (!hasThresholds) {
        judge.Unknown("unknown.thresholds", "the SMART thresholds could not be read; no attribute is held against its limit",
                      "SMART READ THRESHOLDS");
    }
    for (std::size_t at = kFirstEntry; at < kAttributesEnd; at += kEntrySize) {
        const Attribute attribute = ReadAttribute(data.subspan(at, kEntrySize));
        if (attribute.id == 0) {
            continue;
        }
        CountAttribute(attribute, judge);
        if (hasThresholds) {
            JudgeAgainstThreshold(attribute, at, ThresholdOf(attribute.id, disk.smartThresholds.Bytes()), judge);
        }
        JudgeEvents(attribute, at, judge);
    }
}

}  // namespace orbis::insight
