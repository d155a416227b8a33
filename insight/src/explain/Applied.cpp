#include "explain/Applied.h"

#include <algorithm>

namespace orbis::insight {
namespace {

constexpr std::uint32_t kTemperature = 194;  // SMART attribute of which only the low byte is sent

bool Has(const FieldSource& source, SourceRule rule)
{
    return std::find(source.rule().begin(), source.rule().end(), rule) != source.rule().end();
}

bool IsZero(const RawContent& raw)
{
    return !raw.bytes.empty() && std::all_of(raw.bytes.begin(), raw.bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

std::string TextOf(SourceRule rule)
{
    const auto& texts = Sources().rule();
    const auto found = std::find_if(texts.begin(), texts.end(), [&](const RuleText& text) { return text.rule() == rule; });
    return found == texts.end() ? std::string() : found->text();
}

// The effect of one rule; empty if it had none.
std::string AppliedRule(SourceRule rule, const RawContent& raw, const FieldExplanation& field, const Scope& scope)
{
    const auto when = [&](bool isApplied) { return isApplied ? TextOf(rule) : std::string(); };
    switch (rule) {
        case EMPTY_IF_FIRST_BYTE_ZERO:
            return when(field.state() == FieldExplanation::EMPTY || (!raw.bytes.empty() && raw.bytes[0] == 0));
        case TRIMMED:
        case SWAPPED_PAIRS:
            return when(!raw.bytes.empty());
        case KELVIN_TO_CELSIUS:
            return IsZero(raw) ? "0 Kelvin: the drive does not report it, and it is sent as 0" : "Kelvin to degrees Celsius";
        case REINTERPRETED_UNSIGNED:
            return when(field.value().size() == 10 && field.value() > "2147483647");
        case CAPPED_AT_100:
            return when(raw.sample > 100);
        case NOT_USED_IF_NO_IDENTIFIER:
            return when(field.value() == "Not Used");
        case LOW_BYTE_OR_32_BITS:
            switch (scope.attribute.value_or(0)) {
                case kTemperature:
                    return "the low byte";
                case 3:
                case 9:
                case 240:
                    return "the low 32 bits";
                default:
                    return {};
            }
        default:
            return TextOf(rule);
    }
}

}  // namespace

std::string AppliedRules(const FieldSource& source, const RawContent& raw, const FieldExplanation& field, const Scope& scope)
{
    std::string text;
    for (const int rule : source.rule()) {
        const std::string one = AppliedRule(static_cast<SourceRule>(rule), raw, field, scope);
        text += (text.empty() || one.empty() ? "" : "; ") + one;
    }
    return text;
}

std::string WhyMissing(const FieldSource& source, FieldExplanation::State state, const Scope& scope)
{
    if (state == FieldExplanation::EMPTY) {
        return Has(source, EMPTY_IF_FIRST_BYTE_ZERO) ? "the first byte is 0" : "the source's text is empty";
    }
    if (scope.attribute == kTemperature && source.name().starts_with("SmartAttributeDetail.")) {
        return "of attribute 194 the raw value alone is sent";
    }
    const std::string& name = source.name();
    return name == "PhysicalDiskStaticInfo.firmware_revision" || name == "PhysicalDiskStaticInfo.namespace_marketed_size_in_GB" ||
                   name == "PhysicalDiskStaticInfo.OEM_type208_system_ID"
               ? "the disk has no partition; the value is filled in with the partitions"
               : "the source has no content for it";
}

bool IsChoice(const FieldSource& source) { return Has(source, SOLID_STATE_NAME); }

bool Decides(const Place& place, const RawContent& raw)
{
    if (place.request() != ATA_IDENTIFY) {
        return true;  // the attribute exists, or this is the last possible place
    }
    constexpr unsigned kNonRotating = 1;        // word 217
    constexpr unsigned kCompactFlash = 0x848A;  // word 0
    if (raw.bytes.size() > 2) {
        std::string model;
        for (std::size_t at = 0; at + 1 < raw.bytes.size(); at += 2) {
            model += {static_cast<char>(raw.bytes[at + 1]), static_cast<char>(raw.bytes[at])};
        }
        return model.find("SSD") != std::string::npos || model.find("NVMe") != std::string::npos;
    }
    const unsigned word = raw.bytes[0] | static_cast<unsigned>(raw.bytes[1]) << 8U;
    return place.has_high() ? ((word >> place.low()) & 1U) != 0 : word == (place.first() == 0 ? kCompactFlash : kNonRotating);
}

bool IsNumber(const FieldSource& source)
{
    return !Has(source, TRIMMED) && !Has(source, SWAPPED_PAIRS) && !Has(source, IDENTIFIER_TEXT) &&
           !Has(source, NOT_USED_IF_NO_IDENTIFIER);
}

}  // namespace orbis::insight
