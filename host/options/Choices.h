#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ConsoleLog.h"
#include "Formats.h"
#include "HealthLog.h"
#include "Suggest.h"

namespace orbis::host {

// The words that an option takes, each with its value.
template <class T, std::size_t Count>
using Choices = std::array<std::pair<std::string_view, T>, Count>;

inline constexpr Choices<Format, 5> kFormats{{{"table", Format::Table},
                                              {"json", Format::Json},
                                              {"jsonl", Format::JsonLines},
                                              {"text", Format::Text},
                                              {"binary", Format::Binary}}};
inline constexpr Choices<Format, 2> kDocumentFormats{{{"table", Format::Table}, {"json", Format::Json}}};
inline constexpr Choices<HealthLogTarget, 2> kHealthLogs{
    {{"journald", HealthLogTarget::Journald}, {"eventlog", HealthLogTarget::EventLog}}};
inline constexpr Choices<LogLevel, 6> kLogLevels{{{"trace", LogLevel::Trace},
                                                  {"debug", LogLevel::Debug},
                                                  {"info", LogLevel::Info},
                                                  {"warning", LogLevel::Warning},
                                                  {"error", LogLevel::Error},
                                                  {"off", LogLevel::Off}}};

// The value of a word; throws std::invalid_argument, which names the choices, for any other word.
template <class T, std::size_t Count>
T ValueOf(const Choices<T, Count>& choices, const std::string& given, std::string_view what)
{
    std::vector<std::string> words;
    for (const auto& [word, value] : choices) {
        words.emplace_back(word);
    }
    const std::string found = FindWord(words, given, what);
    return std::find_if(choices.begin(), choices.end(), [&](const auto& choice) { return choice.first == found; })->second;
}

}  // namespace orbis::host
