#include "NvmeDataGetter.h"

#include <algorithm>
#include <string>
#include <string_view>

#include <fmt/format.h>

// The walk over the drives, for both NVMe datatypes.
namespace Veyra::Orbis::Plugins {
namespace {

using veyra::sondix::StorageBusType;

// The words of a text with "_" between them: a model name as a key. No collector calls it yet.
[[maybe_unused]] std::string ReplaceSpace(const std::string& text)
{
    std::string joined;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
        if (!word.empty()) {
            joined += joined.empty() ? "" : "_";
            joined += word;
        }
    }
    return joined;
}

}  // namespace

void NvmeDataGetter::WalkDrives(std::string_view what, const std::function<void(std::string_view text)>& debug,
                                const std::function<void(std::int32_t drive, const std::string& name)>& visit)
{
    std::int32_t drive = 0;
    for (std::uint32_t mask = SXGetPhysicalDrives(); mask != 0; mask >>= 1U, ++drive) {
        const std::string name = fmt::format("PhysicalDrive{0}", drive);
        debug(fmt::format("Fetching {0} for {1}", what, name));
        if ((mask & 1U) == 0) {
            debug(fmt::format("Skipping {0} because it doesn't exist", name));
            continue;
        }
        const StorageBusType busType = SXQueryStorageBusType(drive);
        if (busType != StorageBusType::BusTypeNvme && busType != StorageBusType::BusTypeRAID) {
            // Intentional: both placeholders get the bus type, and the drive is not named.
            debug(fmt::format("Skipping {0} because its bustype is {0}", static_cast<std::uint32_t>(busType)));
            continue;
        }
        visit(drive, name);
    }
}

}  // namespace Veyra::Orbis::Plugins
