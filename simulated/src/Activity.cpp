#include "Activity.h"

#include <algorithm>

namespace orbis::simulated {
namespace {

// The counts that one activity adds in a number of seconds.
ActivityTotals During(const description::Activity& activity, double seconds)
{
    const double readPart = activity.reads_per_second() * activity.seconds_per_read();
    const double writePart = activity.writes_per_second() * activity.seconds_per_write();
    const double idle = activity.has_idle() ? activity.idle() : std::max(0.0, 1.0 - readPart - writePart);
    return {{.reads = activity.reads_per_second() * seconds,
             .writes = activity.writes_per_second() * seconds,
             .bytesRead = activity.read_bytes_per_second() * seconds,
             .bytesWritten = activity.write_bytes_per_second() * seconds,
             .readTime = readPart * seconds,
             .writeTime = writePart * seconds},
            idle * seconds};
}

}  // namespace

ActivityTotals& ActivityTotals::Add(const ActivityTotals& other, double times)
{
    reads += other.reads * times;
    writes += other.writes * times;
    bytesRead += other.bytesRead * times;
    bytesWritten += other.bytesWritten * times;
    readTime += other.readTime * times;
    writeTime += other.writeTime * times;
    idleTime += other.idleTime * times;
    return *this;
}

ActivityTotals TotalsAt(const DiskModel& disk, double seconds)
{
    const description::Disk& description = *disk.description;
    const double begin = description.has_arrives_at() ? std::max(0.0, description.arrives_at()) : 0.0;
    const double end = description.has_leaves_at() ? std::min(seconds, description.leaves_at()) : seconds;
    ActivityTotals totals;
    totals.bytesRead = static_cast<double>(description.bytes_read_before());
    totals.bytesWritten = static_cast<double>(description.bytes_written_before());

    // The time before the first activity is idle.
    const int count = description.activity_size();
    const double first = count > 0 ? description.activity(0).from() : end;
    totals.idleTime = std::max(0.0, std::min(first, end) - begin);
    for (int i = 0; i < count; ++i) {
        const double from = std::max(description.activity(i).from(), begin);
        const double to = i + 1 < count ? std::min(description.activity(i + 1).from(), end) : end;
        if (to > from) {
            totals.Add(During(description.activity(i), to - from));
        }
    }
    return totals;
}

CounterInstance CounterInstanceAt(const DiskModel& disk, double seconds)
{
    CounterInstance instance{disk.counterInstance};
    for (const description::CounterChange& change : disk.description->counter_change()) {
        if (change.at() <= seconds) {
            instance = {change.name().empty() ? instance.name : change.name(), change.restarts() ? change.at() : instance.since};
        }
    }
    return instance;
}

}  // namespace orbis::simulated
