#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "ConsoleLog.h"
#include "Output.h"

namespace orbis::host {

// Exit statuses of every command.
inline constexpr int kExitOk = 0;
inline constexpr int kExitCollectionFailed = 1;  // at least one; the others are still printed
inline constexpr int kExitUsage = 2;             // wrong usage, or a wrong machine file
inline constexpr int kExitNoPlugin = 3;          // the plug-in could not be loaded

struct DescribeOptions {
    std::filesystem::path plugin;  // empty: the one beside this program
};

struct CollectOptions {
    std::filesystem::path plugin;
    std::vector<std::string> datatypes;  // empty or "all": every one that the plug-in offers
    std::string item;                    // empty: every item
    std::filesystem::path machine;       // empty: this machine
    Format format = Format::Table;
    LogLevel logLevel = LogLevel::Warning;
    double watchSeconds = 0;  // 0: once
    std::uint32_t count = 0;  // passes of a watch; 0: until interrupted
};

// Each prints its result on standard output, what goes wrong on standard error, and returns the exit status.
[[nodiscard]] int Describe(const DescribeOptions& options);
[[nodiscard]] int Collect(const CollectOptions& options);
[[nodiscard]] int ValidateMachineFiles(const std::vector<std::filesystem::path>& files);
[[nodiscard]] int ShowMachineFile(const std::filesystem::path& file);

}  // namespace orbis::host
