#include <google/protobuf/arena.h>

#include "Hostile.h"
#include "NvmeDataGetter.h"
#include "NvmeMapping.h"
#include "Targets.h"
#include "sondix/sondix.h"

// Identify and log pages of any bytes, in replies with false lengths and offsets, through the device-query library to the
// messages.
void orbis::fuzz::Nvme(Bytes bytes)
{
    using Veyra::Orbis::Plugins::NvmeDataGetter;
    using Veyra::Orbis::Plugins::NvmeMapping::TakeOwnership;
    Input input(bytes);
    const HostileMachine machine(input, HostileMachine::WmiRows::True);
    google::protobuf::Arena arena;
    const auto identify = TakeOwnership(SXNvmNewIdentifyControllerData(0));
    RequireReadable(NvmeDataGetter::toIdentifyControllerData(identify.get(), arena));
    const auto health = TakeOwnership(SXNvmNewHealthInfo(0));
    RequireReadable(NvmeDataGetter::toNvmeHealthInfo(health.get(), arena));
    const auto customized = TakeOwnership(SXNvmNewCustomizedHealthInfo(0));
    RequireReadable(NvmeDataGetter::toCustomizedHealthInfo(customized.get(), arena));
    (void)SXQueryStorageBusType(0);
}
