#include "simulated/MachineFile.h"

#include <fmt/format.h>
#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/text_format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

#include "MachineChecks.h"

namespace orbis::simulated {
namespace {

using google::protobuf::TextFormat;

constexpr std::size_t kLongestFile = 64U << 20;

// Where the parser stopped, for people: the field that it was in, with the messages around it, and where that field begins. The
// parser itself reports the token after, which may stand lines below.
struct FieldPlace {
    std::string path;
    int line = 0;  // 0: in no field
    int column = 0;
};

class FieldScanner {
public:
    // The field before a position.
    [[nodiscard]] static FieldPlace Before(std::string_view text, int line, int column)
    {
        FieldScanner scanner;
        for (const char c : text) {
            if (scanner.m_Line > line || (scanner.m_Line == line && scanner.m_Column >= column)) {
                break;
            }
            scanner.Take(c);
            scanner.m_Column = c == '\n' ? 1 : scanner.m_Column + 1;
            scanner.m_Line += c == '\n' ? 1 : 0;
        }
        return scanner.Place();
    }

private:
    struct Level {
        std::string name;                  // of the message, with its position
        std::map<std::string, int> count;  // of the messages inside it
    };

    void Take(char c)
    {
        if (m_Quote != 0) {
            m_Quote = c == m_Quote && !m_Escaped ? '\0' : m_Quote;
            m_Escaped = c == '\\' && !m_Escaped;
        } else if (m_Comment) {
            m_Comment = c != '\n';
        } else if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_') {
            TakeWord(c);
        } else {
            m_InValue = c == ':' || (m_InValue && !m_InWord);
            m_InWord = false;
            TakeMark(c);
        }
    }

    // A word is a field's name, unless it follows a colon.
    void TakeWord(char c)
    {
        if (!m_InValue && !m_InWord) {
            m_Field = {{}, m_Line, m_Column};
        }
        if (!m_InValue) {
            m_Field.path += c;
        }
        m_InWord = true;
    }

    void TakeMark(char c)
    {
        if (c == '"' || c == '\'') {
            m_Quote = c;
        } else if (c == '#') {
            m_Comment = true;
        } else if (c == '{' || c == '<') {
            const int index = m_Levels.back().count[m_Field.path]++;
            m_Levels.push_back({fmt::format("{}[{}]", m_Field.path, index), {}});
            EndField();
        } else if ((c == '}' || c == '>') && m_Levels.size() > 1) {
            m_Levels.pop_back();
            EndField();
        }
    }

    void EndField()
    {
        m_Field = {};
        m_InValue = false;
    }

    [[nodiscard]] FieldPlace Place() const
    {
        FieldPlace place = m_Field;
        for (auto level = m_Levels.rbegin(); level + 1 != m_Levels.rend(); ++level) {
            place.path = level->name + (place.path.empty() ? "" : ".") + place.path;
        }
        return place;
    }

    int m_Line = 1;
    int m_Column = 1;
    std::vector<Level> m_Levels{1};
    FieldPlace m_Field;
    bool m_InWord = false;
    bool m_InValue = false;
    char m_Quote = 0;
    bool m_Escaped = false;
    bool m_Comment = false;
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

// What the parser makes of a text.
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
    if (!parser.ParseFromString(std::string(text), &parsed->machine)) {
        const FieldPlace place = FieldScanner::Before(text, error.line, error.column);
        const std::string what = error.message.empty() ? "not a machine in protobuf text format" : error.message;
        parsed->findings.push_back({Finding::Severity::Error, name, place.line > 0 ? place.line : error.line,
                                    place.line > 0 ? place.column : error.column, place.path,
                                    what.back() == '.' ? what.substr(0, what.size() - 1) : what,
                                    "correct the field; machine.proto names every field and its values"});
        return parsed;
    }
    parsed->findings = CheckDescription(parsed->machine, &parsed->locations, name);
    return parsed;
}

Finding FileFinding(const std::string& path, std::string message, std::string wayOut)
{
    return {Finding::Severity::Error, path, 0, 0, {}, std::move(message), std::move(wayOut)};
}

std::string ReadFile(const std::string& path)
{
    const std::filesystem::path file(std::u8string(path.begin(), path.end()));
    std::ifstream stream(file, std::ios::binary);
    std::error_code ignored;
    if (!stream || std::filesystem::is_directory(file, ignored)) {
        throw MachineFileError(FileFinding(path, "the machine file cannot be read", "name a readable *.txtpb file"));
    }
    std::ostringstream content;
    content << stream.rdbuf();
    std::string text = std::move(content).str();
    if (text.size() > kLongestFile) {
        throw MachineFileError(FileFinding(path, "the machine file is longer than 64 MiB", "describe fewer disks or bytes"));
    }
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
    return wayOut.empty() ? text : text + "; " + wayOut;
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
    return std::make_unique<Machine>(ParseValid(text, name)->machine);
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
