#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "explain/Observations.h"

namespace orbis::insight {

// The context in which the fields of a message are looked up: the disk, and the element from which the message is made.
struct Scope {
    std::optional<std::uint32_t> disk;
    std::uint32_t base = 0;                  // byte of the answer where the element starts
    std::optional<std::uint32_t> attribute;  // SMART attribute
    char letter = 0;                         // of the volume on a partition
};

// The observed content of one place.
struct RawContent {
    bool found = false;
    std::string text;         // if found
    std::string reason;       // else why not
    std::string number = {};  // the number in the bytes, as text
    std::vector<std::uint8_t> bytes = {};
    std::optional<double> sample = {};  // of a counter
};

[[nodiscard]] RawContent RawOf(const Explainer::Observations& observations, const Place& place, const Scope& scope);

// "00 03 00 00"; of more than 16 bytes the middle is left out.
[[nodiscard]] std::string HexText(std::span<const std::uint8_t> bytes);
// Byte of a SMART page where the entry of an attribute starts.
[[nodiscard]] std::optional<std::uint32_t> SmartEntry(std::span<const std::uint8_t> page, std::uint32_t attribute);

}  // namespace orbis::insight
