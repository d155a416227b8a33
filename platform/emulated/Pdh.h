#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Pdh.h"

namespace orbis::platform::emulated {

// The activity of a disk since it was plugged in. All values grow with time.
struct DiskTotals {
    double reads = 0;
    double writes = 0;
    double bytesRead = 0;
    double bytesWritten = 0;
    double readTime = 0;   // added up over requests
    double writeTime = 0;  // added up over requests
    double busyTime = 0;   // some request was under way
};

// The disks at one moment, by the names of their instances.
struct DiskSample {
    double seconds = 0;
    std::vector<std::pair<std::string, DiskTotals>> disks;
    double timesPerSecond = 1;  // the unit of the three times
    double timesEndAt = 0;      // where they start again from 0; 0: never
};

// "\Object(instance)\Counter" or "\Object\Counter", in lower case.
struct CounterPath {
    std::string object;
    std::string instance;
    std::string counter;
};
[[nodiscard]] std::optional<CounterPath> ParseCounterPath(const std::string& path);
// The name of a disk's instance: "0 C: D:".
[[nodiscard]] std::string DiskInstanceName(std::uint32_t number, const std::string& letters);

struct InstanceList {
    PdhStatus error = pdh::kOk;
    std::vector<std::string> names;
};
// The value of a counter that is not computed, after so many samples.
using RecordedCounter = std::function<PdhCounterValue(std::size_t samples)>;

class PdhFacts {
public:
    virtual ~PdhFacts() = default;

    // The instances of PhysicalDisk, "_Total" apart.
    [[nodiscard]] virtual std::vector<std::string> DiskInstances() = 0;
    [[nodiscard]] virtual DiskSample SampleDisks() = 0;
    // Values that replace those of the computed object and counters, and further objects beside PhysicalDisk; names in lower case.
    [[nodiscard]] virtual std::optional<InstanceList> RecordedInstances(const std::string& /*object*/) { return std::nullopt; }
    [[nodiscard]] virtual RecordedCounter FindRecorded(const CounterPath& /*path*/) { return nullptr; }
};

// The seven counters of PhysicalDisk that are read here, computed between two samples. A counter belongs to the instance of its
// name: it has no value while no instance is called so, and none in the interval in which the disk behind the name was replaced. A
// query that only lists instances does not sample the disks. `facts` must outlive the result.
[[nodiscard]] std::unique_ptr<Pdh> MakePdh(PdhFacts& facts);

}  // namespace orbis::platform::emulated
