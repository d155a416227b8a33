#include "simulated/MachineFile.h"

#include <fmt/format.h>
#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/text_format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <vector>

#include "MachineChecks.h"

namespace orbis::simulated {
namespace {

using google::protobuf::TextFormat;

constexpr std::size_t kLongestFile = 64U << 20;

// The field in which the parser stopped: the names of the messages that are open there, with their positions, then the last name.
class FieldPathScanner {
public:
    [[nodiscard]] static std::string PathAt(std::string_view text, int line, int column)
    {
        FieldPathScanner scanner;
        int row = 1;
        int position = 1;
        for (std::size_t at = 0; at < text.size() && (row < line || (row == line && position <= column)); ++at) {
            scanner.Take(text[at]);
            position = text[at] == '\n' ? 1 : position + 1;
            row += text[at] == '\n' ? 1 : 0;
        }
        return scanner.Path();
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
            return;
        }
        if (m_Comment) {
            m_Comment = c != '\n';
            return;
        }
        const bool isWord = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
        if (isWord) {
            m_Word = m_InWord ? m_Word + c : std::string(1, c);
            m_InWord = true;
            m_Field = m_AfterColon ? m_Field : m_Word;
            return;
        }
        m_AfterColon = c == ':' || (m_AfterColon && !m_InWord);
        m_InWord = false;
        TakeMark(c);
    }

    void TakeMark(char c)
    {
        if (c == '"' || c == '\'') {
            m_Quote = c;
        } else if (c == '#') {
            m_Comment = true;
        } else if (c == '{' || c == '<') {
            const int index = m_Levels.back().count[m_Field]++;
            m_Levels.push_back({fmt::format("{}[{}]", m_Field, index), {}});
            m_Field.clear();
            m_AfterColon = false;
        } else if ((c == '}' || c == '>') && m_Levels.size() > 1) {
            m_Levels.pop_back();
            m_Field.clear();
            m_AfterColon = false;
        }
    }

    [[nodiscard]] std::string Path() const
    {
        std::string path;
        for (std::size_t i = 1; i < m_Levels.size(); ++i) {
            path += (path.empty() ? "" : ".") + m_Levels[i].name;
        }
        if (!m_Field.empty()) {
            path += (path.empty() ? "" : ".") + m_Field;
        }
        return path;
    }

    std::vector<Level> m_Levels{1};
    std::string m_Field;
    std::string m_Word;
    bool m_InWord = false;
    bool m_AfterColon = false;
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
        parsed->findings.push_back({Finding::Severity::Error, name, error.line, error.column,
                                    FieldPathScanner::PathAt(text, error.line, error.column),
                                    error.message.empty() ? "not a machine in protobuf text format" : error.message,
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
    std::string text;
    if (stream) {
        text.assign(std::istreambuf_iterator<char>(stream), {});
    }
    std::error_code ignored;
    if (!stream || std::filesystem::is_directory(file, ignored)) {
        throw MachineFileError(FileFinding(path, "the machine file cannot be read", "name a readable *.txtpb file"));
    }
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
