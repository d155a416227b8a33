#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/message.h>

#include "Disks.h"
#include "Style.h"
#include "insight/Findings.h"
#include "orbis/insight/health.pb.h"

namespace orbis::host {

enum class Format { Table, Json, JsonLines, Text, Binary };

// One item that a plug-in collected, decoded. The message is null for an item without data.
struct Collected {
    std::string itemId;
    std::chrono::system_clock::time_point time;
    std::unique_ptr<google::protobuf::Message> message;
};

// The answer of one collection operation.
struct CollectedDatatype {
    std::string datatype;  // without its package
    std::vector<Collected> items;
};

// Something that was left out of the collections.
using insight::Finding;

// The context of the printed items.
struct Context {
    const Disks& disks;
    Style style{};                                 // of tables
    std::string host{};                            // name of the machine
    std::chrono::system_clock::time_point time{};  // of the pass
    const std::vector<Finding>& findings;          // of this pass
};

// Keeps only the items with these ids.
void Keep(std::vector<CollectedDatatype>& results, const std::vector<std::string>& itemIds);
// Keeps the disks with these item ids; a report knows them by number.
void Keep(insight::HealthReport& report, const std::vector<std::string>& itemIds, const Disks& disks);

// An empty message of the datatype with this full name, or null when this program does not know it.
[[nodiscard]] std::unique_ptr<google::protobuf::Message> NewMessage(const std::string& fullName);

// All results as one text.
[[nodiscard]] std::string Render(const std::vector<CollectedDatatype>& results, Format format, const Context& context);

// "2026-11-21T09:05:18.123Z"
[[nodiscard]] std::string Rfc3339(std::chrono::system_clock::time_point time);

}  // namespace orbis::host
