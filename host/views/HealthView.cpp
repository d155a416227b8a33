#include "views/HealthView.h"

#include <fmt/format.h>
#include <google/protobuf/util/time_util.h>

#include <algorithm>
#include <charconv>
#include <vector>

#include "Table.h"
#include "Text.h"
#include "views/Units.h"

namespace orbis::host {
namespace {

using insight::DiskHealth;
using insight::HealthReport;

constexpr std::size_t kIndent = 9;  // after "UNKNOWN  "

const std::string* CounterOf(const DiskHealth& disk, std::string_view name)
{
    const auto found = std::find_if(disk.counter().begin(), disk.counter().end(),
                                    [name](const insight::Counter& counter) { return counter.name() == name; });
    return found == disk.counter().end() ? nullptr : &found->value();
}

// Decimal digits grouped by three.
std::string GroupedDigits(std::string digits)
{
    for (std::ptrdiff_t at = std::ssize(digits) - 3; at > 0; at -= 3) {
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    }
    return digits;
}

// "last verdict WARN, 3 h ago"
std::string LastVerdictText(const DiskHealth& disk, const HealthReport& report)
{
    if (disk.last_verdict() == insight::VERDICT_UNSPECIFIED) {
        return "not woken";
    }
    using google::protobuf::util::TimeUtil;
    const auto seconds = std::max<std::int64_t>(0, TimeUtil::DurationToSeconds(report.time() - disk.last_time()));
    constexpr std::int64_t kMinute = 60;
    constexpr std::int64_t kHour = 60 * kMinute;
    constexpr std::int64_t kDay = 24 * kHour;
    const std::string age = seconds < 2 * kMinute ? fmt::format("{} s", seconds)
                            : seconds < 2 * kHour ? fmt::format("{} min", seconds / kMinute)
                            : seconds < 2 * kDay  ? fmt::format("{} h", seconds / kHour)
                                                  : fmt::format("{} days", seconds / kDay);
    return fmt::format("last verdict {}, {} ago", insight::Verdict_Name(disk.last_verdict()), age);
}

// "6 % used, 45 °C, 10,234 h": the summary of a healthy disk.
std::string Summary(const DiskHealth& disk, const HealthReport& report)
{
    if (disk.verdict() == insight::ASLEEP) {
        return LastVerdictText(disk, report);
    }
    std::string text;
    const auto add = [&](const char* name, const char* unit) {
        if (const std::string* value = CounterOf(disk, name)) {
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", GroupedDigits(*value), unit);
        }
    };
    add("percentageUsed", "% used");
    add("temperature", "\u00B0C");
    add("powerOnHours", "h");
    return text;
}

std::string ChangeText(const DiskHealth& disk)
{
    switch (disk.change()) {
        case insight::NEW:
            return "new since the baseline";
        case insight::MOVED:
            return "at another place than in the baseline";
        case insight::RESET:
            return "its counters began anew since the baseline";
        default:
            return {};
    }
}

std::string ReasonText(const insight::Reason& reason)
{
    std::string text = reason.level() == insight::NOTICE ? "note: " + reason.text() : reason.text();
    if (!reason.rise().empty()) {
        text += fmt::format(", +{} since {}", GroupedDigits(reason.rise()),
                            google::protobuf::util::TimeUtil::ToString(reason.since()).substr(0, 10));
    }
    if (!reason.source().empty()) {
        text += fmt::format(" ({})", reason.source());
    }
    return text;
}

const char* ColourOf(insight::Verdict verdict)
{
    switch (verdict) {
        case insight::FAIL:
            return "\x1B[1;31m";
        case insight::WARN:
            return "\x1B[1;33m";
        case insight::OK:
            return "\x1B[32m";
        default:
            return "\x1B[1m";
    }
}

// The verdict at the head of a line, coloured.
std::string Coloured(const std::string& line, insight::Verdict verdict, const Style& style)
{
    const std::string& name = insight::Verdict_Name(verdict);
    if (!style.hasColour || !line.starts_with(name)) {
        return line;
    }
    return ColourOf(verdict) + name + "\x1B[0m" + line.substr(name.size());
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

std::string Letters(const DiskHealth& disk)
{
    std::string text;
    for (const std::string& letter : disk.letter()) {
        text += (text.empty() ? "" : " ") + letter;
    }
    return text;
}

// A line for each disk in columns, with its state. If that is too wide for the terminal, the state is on the next line.
std::vector<std::string> Heads(const HealthReport& report, const Style& style)
{
    const auto table = [&](bool hasState) {
        Table made(style);
        for (const char* title : {"Verdict", "Disk", "Serial number", "Letters", "State"}) {
            made.AddColumn(title);
        }
        for (const DiskHealth& disk : report.disk()) {
            made.AddRow({insight::Verdict_Name(disk.verdict()), Trimmed(disk.name() + ' ' + disk.model()), disk.serial_number(),
                         Letters(disk), hasState ? Summary(disk, report) : std::string()});
        }
        return made;
    };
    const bool hasState = style.width == 0 || table(true).NaturalWidth(0) <= style.width;
    std::vector<std::string> lines = Lines(table(hasState).Render());
    if (lines.size() == static_cast<std::size_t>(report.disk_size()) + 1) {
        lines.erase(lines.begin());
    } else {
        // A terminal too narrow for a table.
        lines.clear();
        for (const DiskHealth& disk : report.disk()) {
            lines.push_back(fmt::format("{} {}", insight::Verdict_Name(disk.verdict()),
                                        Shown(Trimmed(disk.name() + ' ' + disk.model()), style)));
        }
    }
    for (int at = 0; !hasState && at < report.disk_size(); ++at) {
        if (const std::string summary = Summary(report.disk(at), report); !summary.empty()) {
            std::string beneath = RenderText(summary, style, kIndent);
            beneath.pop_back();  // the line's end
            lines[static_cast<std::size_t>(at)] += '\n' + beneath;
        }
    }
    return lines;
}

}  // namespace

std::string Render(const HealthReport& report, const Style& style)
{
    if (report.disk_size() == 0 && report.gone_size() == 0) {
        return "The system lists no disk.\n";
    }
    std::string text;
    const std::vector<std::string> heads = Heads(report, style);
    for (int at = 0; at < report.disk_size(); ++at) {
        const DiskHealth& disk = report.disk(at);
        text += Coloured(heads[static_cast<std::size_t>(at)], disk.verdict(), style) + '\n';
        for (const insight::Reason& reason : disk.reason()) {
            text += RenderText(ReasonText(reason), style, kIndent);
        }
        if (const std::string change = ChangeText(disk); !change.empty()) {
            text += RenderText(change, style, kIndent);
        }
    }
    for (const DiskHealth& gone : report.gone()) {
        text += RenderText(fmt::format("GONE     {} {}, S/N {}: it was there at the baseline", gone.name(), gone.model(),
                                       gone.serial_number().empty() ? "unknown" : gone.serial_number()),
                           style, 0);
    }
    return text;
}

std::string Render(const insight::ExplanationReport& report, const Style& style)
{
    using insight::FieldExplanation;
    std::string text;
    for (const insight::MessageExplanation& message : report.message()) {
        text += (text.empty() ? "" : "\n") +
                RenderText(fmt::format("{}  {}", message.datatype(), message.name().empty() ? message.item_id() : message.name()),
                           style, 0);
        if (!message.reason().empty()) {
            text += RenderText("not sent: " + message.reason(), style, 2);
            continue;
        }
        Table table(style);
        std::string blocks;
        for (const char* title : {"Field", "Value", "Source and rule"}) {
            table.AddColumn(title);
        }
        for (const FieldExplanation& field : message.field()) {
            std::string value = field.value();
            switch (field.state()) {
                case FieldExplanation::EMPTY:
                    value = "(empty)";
                    break;
                case FieldExplanation::ABSENT:
                    value = "absent";
                    break;
                case FieldExplanation::NOT_CARRIED:
                    value = value.empty() ? "not carried" : value + ", not carried";
                    break;
                default:
                    // Bytes are shown as they are sent; the unit is that of the number in them.
                    if (!field.unit().empty() && !field.raw().starts_with(value + " = ")) {
                        const bool isMultiple = field.unit()[0] >= '0' && field.unit()[0] <= '9';  // "512 kB"
                        value += (isMultiple ? " \u00D7 " : " ") + (field.unit() == "Cel" ? "\u00B0C" : field.unit());
                    }
            }
            std::string origin = field.source();
            for (const std::string* part : {&field.raw(), &field.rule(), &field.reason()}) {
                const bool isSaid = part == &field.reason() && field.state() == FieldExplanation::EMPTY && !field.rule().empty();
                if (!part->empty() && !isSaid) {
                    origin += (part == &field.raw() ? ": " : "; ") + *part;
                }
            }
            table.AddRow({field.field(), value, origin});
            blocks += RenderText(Trimmed(field.field() + "  " + value), style, 2) + RenderText(origin, style, 6);
        }
        // An explanation must not be cut in the middle.
        text += style.width == 0 || table.NaturalWidth(2) <= style.width ? table.Render(2) : blocks;
        if (message.request_size() > 0) {
            Table requests(style);
            blocks.clear();
            requests.AddColumn("Request");
            requests.AddColumn("ms", Table::Align::Right);
            requests.AddColumn("Answer");
            for (const insight::RequestExplanation& request : message.request()) {
                const std::string milliseconds = fmt::format("{:.2f}", request.milliseconds());
                requests.AddRow({request.request(), milliseconds, request.outcome()});
                blocks += RenderText(fmt::format("{}  {} ms  {}", request.request(), milliseconds, request.outcome()), style, 2);
            }
            text += style.width == 0 || requests.NaturalWidth(2) <= style.width ? requests.Render(2) : blocks;
        }
    }
    return text.empty() ? "Nothing was collected that could be explained.\n" : text;
}

}  // namespace orbis::host
