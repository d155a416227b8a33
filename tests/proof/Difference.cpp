#include "Difference.h"

#include <algorithm>
#include <regex>
#include <set>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace orbis::proof {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

using Renamed = std::vector<std::pair<std::string, std::string>>;  // ids before and after

std::string BytesOf(const Outcome::Item& item) { return item.message ? item.message->SerializeAsString() : std::string(); }

// The field's value alone, for comparison.
std::string ValueOf(const Message& message, const FieldDescriptor* field)
{
    const std::unique_ptr<Message> alone(message.New());
    alone->CopyFrom(message);
    std::vector<const FieldDescriptor*> set;
    message.GetReflection()->ListFields(message, &set);
    for (const FieldDescriptor* other : set) {
        if (other != field) {
            alone->GetReflection()->ClearField(alone.get(), other);
        }
    }
    return alone->SerializeAsString();
}

void AddChangedFields(const Message& clean, const Message& faulted, std::set<std::string>& names)
{
    for (int at = 0; at < clean.GetDescriptor()->field_count(); ++at) {
        const FieldDescriptor* field = clean.GetDescriptor()->field(at);
        if (ValueOf(clean, field) != ValueOf(faulted, field)) {
            names.insert(field->name());
        }
    }
}

std::string ItemsDifference(const Outcome& clean, const Outcome& faulted, Renamed& renamed)
{
    std::set<std::string> ids;
    for (const Outcome::Item& item : clean.items) {
        ids.insert(item.id);
    }
    std::set<std::string> fields;
    std::size_t changed = 0;
    std::size_t lost = 0;
    std::size_t at = 0;
    for (const Outcome::Item& item : clean.items) {
        const bool isThere = at < faulted.items.size() && (faulted.items[at].id == item.id || !ids.contains(faulted.items[at].id));
        if (!isThere) {
            ++lost;
            continue;
        }
        const Outcome::Item& other = faulted.items[at++];
        if (other.id != item.id) {
            fields.insert("id");
            renamed.emplace_back(item.id, other.id);
        }
        if (other.id != item.id || BytesOf(item) != BytesOf(other)) {
            ++changed;
            AddChangedFields(*item.message, *other.message, fields);
        }
    }
    if (at < faulted.items.size()) {
        return fmt::format("items {} of {} are new", faulted.items.size() - at, faulted.items.size());
    }
    std::vector<std::string> parts;
    if (lost != 0) {
        const bool isPrefix = lost == clean.items.size() - at;
        parts.push_back(
            at == 0 ? "no items"
                    : fmt::format("{} {} of {} items", isPrefix ? "only" : "lost", isPrefix ? at : lost, clean.items.size()));
    }
    if (changed != 0) {
        parts.push_back(fmt::format("{} changed: {}", changed, fmt::join(fields, " ")));
    }
    return fmt::format("{}", fmt::join(parts, "; "));
}

std::string Replaced(std::string text, const std::string& what, const std::string& with)
{
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
    return text;
}

using Lines = std::vector<std::string>;

Lines LinesOf(const Outcome& outcome)
{
    Lines lines;
    for (const fakes::LogLine& line : outcome.log) {
        lines.push_back(fmt::format("{} {}", line.level, line.message));
    }
    return lines;
}

// The clean run's lines as they read with the ids and the number of items of the other run.
Lines ExpectedLines(const Outcome& clean, const Outcome& faulted, const Renamed& renamed)
{
    Lines lines = LinesOf(clean);
    for (std::string& line : lines) {
        for (const auto& [before, after] : renamed) {
            line = Replaced(std::move(line), before, after);
        }
        if (line.find("Got total info for ") != std::string::npos) {
            line = Replaced(std::move(line), fmt::format(": {}", clean.items.size()), fmt::format(": {}", faulted.items.size()));
        }
    }
    return lines;
}

// Lines that came and the number of those that did not, by the longest common subsequence; drive by drive the same counts once.
void AddLogDifference(const Lines& expected, const Lines& actual, Lines& parts)
{
    std::vector<std::vector<std::size_t>> common(expected.size() + 1, std::vector<std::size_t>(actual.size() + 1));
    for (std::size_t i = expected.size(); i-- > 0;) {
        for (std::size_t j = actual.size(); j-- > 0;) {
            common[i][j] = expected[i] == actual[j] ? common[i + 1][j + 1] + 1 : std::max(common[i + 1][j], common[i][j + 1]);
        }
    }
    static const std::regex kDrive("PhysicalDrive[0-9]+");
    std::set<std::string> told;
    for (std::size_t i = 0, j = 0; j < actual.size();) {
        if (i < expected.size() && expected[i] == actual[j]) {
            ++i, ++j;
        } else if (i < expected.size() && common[i + 1][j] >= common[i][j + 1]) {
            ++i;
        } else if (const std::string text = std::regex_replace(actual[j++], kDrive, "PhysicalDriveN"); told.insert(text).second) {
            parts.push_back("+" + text);
        }
    }
    if (common[0][0] != expected.size()) {
        parts.push_back(fmt::format("-{} lines", expected.size() - common[0][0]));
    }
}

}  // namespace

std::string DifferenceOf(const Outcome& clean, const Outcome& faulted)
{
    Lines parts;
    Renamed renamed;
    if (faulted.failure != clean.failure) {
        parts.push_back("left by " + faulted.failure);
    } else if (faulted.isList != clean.isList) {
        parts.emplace_back(faulted.isList ? "a list" : "no list");
    } else if (std::string items = ItemsDifference(clean, faulted, renamed); !items.empty()) {
        parts.push_back(std::move(items));
    }
    AddLogDifference(ExpectedLines(clean, faulted, renamed), LinesOf(faulted), parts);
    return parts.empty() ? "the same" : fmt::format("{}", fmt::join(parts, "; "));
}

}  // namespace orbis::proof
