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

// The answers of a pass, which the supervisor keeps to show them while their disk is late.
[[nodiscard]] std::vector<LastAnswer> AnswersOf(const std::vector<CollectedDatatype>& results, const Disks& disks);

// The last answers of the disks of a watch, from this process and from earlier ones of the same supervisor.
class AnswerStore {
public:
    AnswerStore();

    void Keep(const std::vector<LastAnswer>& answers);
    // Adds the answers of disks that are late or asleep to the results, and returns a line for each of these disks.
    [[nodiscard]] std::string AddTo(std::vector<CollectedDatatype>& results, Collector& collector,
                                    const MachineInForce& machine) const;

private:
    using Clock = std::chrono::steady_clock;
    struct Kept {
        LastAnswer answer;
        Clock::time_point time;
    };
    // Adds the answers of one disk, and returns the age of the newest one.
    [[nodiscard]] std::optional<double> AddAnswersOf(std::uint32_t number, std::vector<CollectedDatatype>& results,
                                                     Collector& collector) const;

    std::map<std::pair<std::string, std::string>, Kept> m_Kept;  // by datatype and item id
};

}  // namespace orbis::host
