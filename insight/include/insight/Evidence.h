#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "insight/Calls.h"
#include "insight/Export.h"

// The answers of each disk in one pass of the collections, as exact bytes. Verdicts and explanations are based on them.
namespace orbis::insight {

// The outcome of one request for a page.
struct PageAnswer {
    enum class State {
        NotAsked,     // nothing asked for it
        Answered,     // `bytes` holds the page
        Refused,      // the request failed with `error`
        Unsupported,  // the device answered that it has no such page
    };
    State state = State::NotAsked;
    std::uint32_t error = 0;          // Win32 error, when Refused
    std::vector<std::uint8_t> bytes;  // the whole page, when Answered

    [[nodiscard]] bool IsAnswered() const noexcept { return state == State::Answered; }
    [[nodiscard]] std::span<const std::uint8_t> Bytes() const noexcept { return bytes; }
};

// One physical disk.
struct DiskEvidence {
    std::uint32_t number = 0;          // physical drive number
    std::string model;                 // UTF-8, trimmed
    std::string serialNumber;          // UTF-8, trimmed; empty when no answer carries it
    std::string firmwareRevision;      // UTF-8, trimmed
    std::vector<std::string> letters;  // "C:", in the order of the letters
    std::optional<std::uint32_t> busType;
    std::optional<std::uint32_t> openError;     // Win32 error of an open that failed when no open succeeded
    std::optional<std::uint32_t> requestError;  // Win32 error of the first request that was refused

    PageAnswer nvmeIdentify;     // Identify Controller, 4096 bytes (NVMe 1.4, figure 247)
    PageAnswer nvmeHealth;       // log 02h, 512 bytes (NVMe 1.4, figure 194)
    PageAnswer makerHealth;      // the maker's health log, 512 bytes
    PageAnswer ataIdentify;      // IDENTIFY DEVICE, 512 bytes (ACS-3, 7.12)
    PageAnswer smartData;        // SMART READ DATA, 512 bytes (ATA-8 ACS, 7.52.6)
    PageAnswer smartThresholds;  // SMART READ THRESHOLDS, 512 bytes
};

// The evidence in `records`, the calls of one pass of the collections; by drive number.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::vector<DiskEvidence> EvidenceOf(std::span<const Record> records);

}  // namespace orbis::insight
