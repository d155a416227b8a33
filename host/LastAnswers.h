#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Collector.h"
#include "Formats.h"
#include "MachineInForce.h"
#include "orbis/host/internal/supervision.pb.h"

namespace orbis::host {

// The answers of a pass, for the supervisor to keep while their disk is late.
[[nodiscard]] std::vector<LastAnswer> AnswersOf(const std::vector<CollectedDatatype>& results, const Disks& disks);

// The last answers of a watch's disks, of this process and of those that the supervisor had before it.
class AnswerStore {
public:
    AnswerStore();

    void Keep(const std::vector<LastAnswer>& answers);
    // Adds to the results those of the disks that are late or asleep, and returns a line for each of these disks.
    [[nodiscard]] std::string AddTo(std::vector<CollectedDatatype>& results, Collector& collector,
                                    const MachineInForce& machine) const;

private:
    using Clock = std::chrono::steady_clock;
    struct Kept {
        LastAnswer answer;
        Clock::time_point time;
    };
    // Adds those of one disk, and returns the age of the last one.
    [[nodiscard]] std::optional<double> AddAnswersOf(std::uint32_t number, std::vector<CollectedDatatype>& results,
                                                     Collector& collector) const;

    std::map<std::pair<std::string, std::string>, Kept> m_Kept;  // by datatype and item id
};

}  // namespace orbis::host
