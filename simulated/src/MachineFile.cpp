#include "simulated/MachineFile.h"

#include <fmt/format.h>
#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/text_format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include "Checker.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using google::protobuf::TextFormat;

constexpr std::size_t kLongestFile = 64U << 20;

// Where the parser stopped, for people: the field that it was in, with the messages around it, and where that field begins. The
// parser itself reports the next token, which may be some lines below.
struct FieldPlace {
    std::string path;
    int line = 0;  // 0: in no field
    int column = 0;
};

class FirstError final : public google::protobuf::io::ErrorCollector {
public:
    void AddError(int row, google::protobuf::io::ColumnNumber position, const std::string& text) override
    {
        if (message.empty()) {
            line = row + 1;
            column = static_cast<int>(position) + 1;
            message = text;
        }
    }
    void AddWarning(int /*row*/, google::protobuf::io::ColumnNumber /*position*/, const std::string& /*text*/) override {}

    int line = 0;
    int column = 0;
    std::string message;
};

// The field before a position.
FieldPlace FieldBefore(std::string_view text, int line, int column)
{
    struct Level {
        std::string name;                  // of the message, with its position
        std::map<std::string, int> count;  // of the messages inside it
    };
    FirstError ignored;
    google::protobuf::io::ArrayInputStream input(text.data(), static_cast<int>(text.size()));
    google::protobuf::io::Tokenizer tokenizer(&input, &ignored);
    tokenizer.set_comment_style(google::protobuf::io::Tokenizer::SH_COMMENT_STYLE);
    tokenizer.set_require_space_after_number(false);
    std::vector<Level> levels(1);
    FieldPlace field;
    bool isValue = false;
    while (tokenizer.Next()) {
        const auto& token = tokenizer.current();
        if (std::pair(token.line + 1, static_cast<int>(token.column) + 1) >= std::pair(line, column)) {
            break;
        }
        // A word is a field's name, unless it follows a colon.
        if (token.type == google::protobuf::io::Tokenizer::TYPE_IDENTIFIER && !isValue) {
            field = {token.text, token.line + 1, static_cast<int>(token.column) + 1};
        } else if (token.text == "{" || token.text == "<") {
            const int index = levels.back().count[field.path]++;
            levels.push_back({fmt::format("{}[{}]", std::exchange(field, {}).path, index), {}});
        } else if ((token.text == "}" || token.text == ">") && levels.size() > 1) {
            levels.pop_back();
            field = {};
        }
        isValue = token.text == ":";
    }
    for (auto level = levels.rbegin(); level + 1 != levels.rend(); ++level) {
        field.path = level->name + (field.path.empty() ? "" : ".") + field.path;
    }
    return field;
}

// Where a text holds what no machine file does: a control character, or bytes that are not UTF-8.
std::size_t NoText(std::string_view text)
{
    const std::string valid = platform::ValidUtf8(text);
    const auto wrong = std::ranges::mismatch(text, valid).in1;
    const auto control = std::find_if(text.begin(), wrong, [](char letter) {
        return (static_cast<unsigned char>(letter) < ' ' &&
                std::string_view("\t\n\v\f\r").find(letter) == std::string_view::npos) ||
               letter == '\x7F';
    });
    return control == text.end() ? std::string_view::npos : static_cast<std::size_t>(control - text.begin());
}

// The parsed text.
struct Parsed {
    description::Machine machine;
    TextFormat::ParseInfoTree locations;
    std::vector<Finding> findings;
};

std::unique_ptr<Parsed> Parse(std::string_view text, const std::string& name)
{
    auto parsed = std::make_unique<Parsed>();
    FirstError error;
    TextFormat::Parser parser;
    parser.RecordErrorsTo(&error);
    parser.WriteLocationsTo(&parsed->locations);
    parser.SetRecursionLimit(32);
    if (const std::size_t at = NoText(text); at != std::string_view::npos) {
        const std::string_view before = text.substr(0, at);
        parsed->findings.push_back({Finding::Severity::Error,
                                    name,
                                    static_cast<int>(std::ranges::count(before, '\n')) + 1,
                                    static_cast<int>(at - (before.rfind('\n') + 1)) + 1,
                                    {},
                                    fmt::format("the byte 0x{:02X} is not UTF-8 text", static_cast<unsigned char>(text[at])),
                                    "name a machine file, saved as UTF-8"});
        return parsed;
    }
    if (!parser.ParseFromString(std::string(text), &parsed->machine)) {
        const FieldPlace place = FieldBefore(text, error.line, error.column);
        const std::string what = error.message.empty() ? "not a machine in protobuf text format" : error.message;
        parsed->findings.push_back({Finding::Severity::Error, name, place.line > 0 ? place.line : error.line,
                                    place.line > 0 ? place.column : error.column, place.path,
                                    what.back() == '.' ? what.substr(0, what.size() - 1) : what,
                                    "correct the field; the example machines show the fields and their values"});
        return parsed;
    }
    parsed->findings = CheckDescription(parsed->machine, &parsed->locations, name);
    return parsed;
}

std::string ReadFile(const std::string& path)
{
    const auto failWith = [&path](std::string message, std::string hint) {
        throw MachineFileError({Finding::Severity::Error, path, 0, 0, {}, std::move(message), std::move(hint)});
    };
    const std::filesystem::path file(std::u8string(path.begin(), path.end()));
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    const std::string reason = errno == 0 ? "no reason given" : std::generic_category().message(errno);
    std::error_code ignored;
    const bool isFolder = std::filesystem::is_directory(file, ignored);
    if (!stream || isFolder) {
        failWith("the machine file cannot be read: " + (isFolder ? "it is a folder" : reason), "name a readable *.txtpb file");
    }
    std::ostringstream content;
    content << stream.rdbuf();
    std::string text = std::move(content).str();
    if (text.size() > kLongestFile) {
        failWith("the machine file is longer than 64 MiB", "describe fewer disks or bytes");
    }
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
        failWith("the machine file is empty", "record one with `orbis-host machine record FILE`");
    }
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // some editors begin UTF-8 with it
    text.erase(0, text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
    return text;
}

std::unique_ptr<Parsed> ParseValid(std::string_view text, const std::string& name)
{
    std::unique_ptr<Parsed> parsed = Parse(text, name);
    ThrowFirstError(parsed->findings);
    return parsed;
}

}  // namespace

std::string Finding::Text() const
{
    std::string text = file;
    if (line > 0) {
        text += fmt::format(":{}:{}", line, column);
    }
    text += severity == Severity::Error ? ": error: " : ": warning: ";
    if (!field.empty()) {
        text += field + ": ";
    }
    text += message;
    return hint.empty() ? text : text + "; " + hint;
}

MachineFileError::MachineFileError(Finding finding) : std::runtime_error(finding.Text()), m_Finding(std::move(finding)) {}
MachineFileError::~MachineFileError() = default;

void ThrowFirstError(const std::vector<Finding>& findings)
{
    const auto error = std::find_if(findings.begin(), findings.end(),
                                    [](const Finding& finding) { return finding.severity == Finding::Severity::Error; });
    if (error != findings.end()) {
        throw MachineFileError(*error);
    }
}

std::unique_ptr<Machine> ParseMachine(std::string_view text, const std::string& name)
{
    // Not made by make_unique: the description has been checked, with its places, and is not checked again.
    return std::unique_ptr<Machine>(new Machine(Machine::Checked{}, ParseValid(text, name)->machine));
}

std::unique_ptr<Machine> LoadMachineFile(const std::string& path) { return ParseMachine(ReadFile(path), path); }

std::vector<Finding> ValidateMachine(std::string_view text, const std::string& name) { return Parse(text, name)->findings; }

std::vector<Finding> ValidateMachineFile(const std::string& path)
{
    try {
        return ValidateMachine(ReadFile(path), path);
    } catch (const MachineFileError& error) {
        return {error.What()};
    }
}

std::string ShowMachine(std::string_view text, const std::string& name) { return SummaryOf(ParseValid(text, name)->machine); }

std::string ShowMachineFile(const std::string& path) { return ShowMachine(ReadFile(path), path); }

}  // namespace orbis::simulated
