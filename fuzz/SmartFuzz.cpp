#include <algorithm>

#include <google/protobuf/arena.h>

#include "Common/SmartDataFetcher.h"
#include "SmartDataGetter.h"
#include "Targets.h"

// SMART data and thresholds blocks of any bytes, and the log page's texts, to the messages; the temperature never gets more than
// its raw byte.
void orbis::fuzz::Smart(Bytes input)
{
    using namespace Veyra::Orbis::Cpp::Common;
    using Veyra::Orbis::Plugins::SmartDataGetter;
    Input rest(input);
    HardwareAccessLib::Sector data{};
    HardwareAccessLib::Sector thresholds{};
    std::ranges::copy(rest.Data(data.size()), data.begin());
    std::ranges::copy(rest.Data(thresholds.size()), thresholds.begin());
    SmartDataCollection collection;
    SmartDataFetcher::ParseSmartAttributes(collection, data);
    SmartDataFetcher::ParseSmartThresholds(collection, thresholds);
    const SmartAttribute& temperature = collection.attributes[SmartSlotOf(kSmartTemperature)];
    Require(!temperature.normalised && !temperature.worst && !temperature.threshold && temperature.raw.value_or(0) <= 0xFF,
            "the temperature is its raw byte alone");

    const Bytes text = rest.Data(20);
    collection.name = collection.eppid.emplace(text.begin(), text.end());
    collection.modelName = collection.name;
    google::protobuf::Arena arena;
    RequireReadable(SmartDataGetter::parseCacheToIMessage<veyra::orbis::datatypes::SmartDynamicInfo>(collection, arena));
    RequireReadable(SmartDataGetter::parseCacheToIMessage<veyra::orbis::datatypes::SmartStaticInfo>(collection, arena));
}
