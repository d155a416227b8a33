#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "Common/SmartDataFetcher.h"

// SMART data and thresholds blocks of any bytes; the temperature never gets more than its raw byte.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace Veyra::Orbis::Cpp::Common;
    HardwareAccessLib::Sector block{};
    std::copy_n(data, std::min(size, block.size()), block.begin());
    SmartDataCollection collection;
    SmartDataFetcher::ParseSmartAttributes(collection, block);
    SmartDataFetcher::ParseSmartThresholds(collection, block);
    constexpr std::size_t kTemperatureSlot = 21;
    const SmartAttribute& temperature = collection.attributes[kTemperatureSlot];
    if (temperature.normalised || temperature.worst || temperature.threshold || temperature.raw.value_or(0) > 0xFF) {
        std::abort();
    }
    return 0;
}
