#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ConsoleLog.h"
#include "ExitStatus.h"
#include "Formats.h"
#include "HealthLog.h"
#include "Output.h"

namespace orbis::host {

struct DescribeOptions {
    std::filesystem::path plugin;  // empty: the one beside this program
};

// The options of every command that collects.
struct SourceOptions {
    std::filesystem::path plugin;
    std::filesystem::path machine;  // empty: this machine
    std::string disk;               // empty: every disk
    LogLevel logLevel = LogLevel::Warning;
    std::optional<double> deadline;    // seconds, 0: none; absent: the command's default
    std::optional<bool> skipSleeping;  // absent: the command's default
};

struct CollectOptions {
    SourceOptions source;
    std::vector<std::string> datatypes;  // empty or "all": every one that the plug-in offers
    Format format = Format::Table;
    double watchSeconds = 0;  // 0: once
    std::uint32_t count = 0;  // passes of a watch; 0: until interrupted
};

struct MetricsOptions {
    SourceOptions source;
    std::filesystem::path file;  // empty: standard output
};

struct HealthOptions {
    SourceOptions source;
    Format format = Format::Table;   // Table or Json
    std::filesystem::path baseline;  // empty: none
    std::vector<std::string> onlyWhenRising;
    std::filesystem::path state;  // empty: none is kept
    HealthLogTarget logTo = HealthLogTarget::None;
};

struct ExplainOptions {
    SourceOptions source;
    std::vector<std::string> datatypes;
    Format format = Format::Table;  // Table or Json
};

struct ReportOptions {
    SourceOptions source;  // without a disk
    std::filesystem::path file;
    std::filesystem::path baseline;  // empty: none
    bool withIdentifiers = false;
};

struct RecordOptions {
    SourceOptions source;
    std::filesystem::path file;
    double seconds = 2;            // in which counters run
    std::optional<Format> format;  // also print the collected data
    bool withIdentifiers = false;
};

// Each prints its result, reports errors on standard error, and returns the exit status.
[[nodiscard]] int Describe(const DescribeOptions& options, Output& output);
[[nodiscard]] int Collect(const CollectOptions& options, Output& output);
[[nodiscard]] int Metrics(const MetricsOptions& options, Output& output);
[[nodiscard]] int Health(const HealthOptions& options, Output& output);
[[nodiscard]] int ShowHealthRules(Output& output);
[[nodiscard]] int Explain(const ExplainOptions& options, Output& output);
[[nodiscard]] int Report(const ReportOptions& options);
[[nodiscard]] int RecordMachine(const RecordOptions& options, Output& output);
[[nodiscard]] int ValidateMachineFiles(const std::vector<std::filesystem::path>& files, Output& output);
[[nodiscard]] int ShowMachineFile(const std::filesystem::path& file, Output& output);

}  // namespace orbis::host
