#include "HostSdk/Exceptions.h"
#include "Hostile.h"
#include "StorageCollectorPlugin.h"
#include "Targets.h"
#include "platform/Text.h"

// Every collection over devices, firmware and WMI that return false data: the result is readable messages or the host's exception,
// and no handle stays open.
void orbis::fuzz::Device(Bytes bytes)
{
    using namespace Veyra::Orbis;
    Input input(bytes);
    using Rows = HostileMachine::WmiRows;
    HostileMachine machine(input, input.Below(4) == 3 ? Rows::Hostile : Rows::True);
    Plugins::StorageCollectorPlugin plugin(nullptr);
    const auto collect = [&plugin](auto operation) {
        try {
            const auto items = (plugin.*operation)(Sdk::Common::Identifiers::ItemId::All(), nullptr);
            if (!items) {
                return;
            }
            for (const auto& item : *items) {
                RequireReadable(item.Value().get());
                Require(platform::ValidUtf8(item.ItemId().ToString()) == item.ItemId().ToString(), "an item id is valid UTF-8");
            }
        } catch (const Sdk::Exceptions::HostException&) {
            // A failed collection is no fault.
        }
    };
    using Plugin = Plugins::StorageCollectorPlugin;
    collect(&Plugin::CollectPhysicalDiskStaticInfo);
    collect(&Plugin::CollectSmartStaticInfo);
    collect(&Plugin::CollectSmartDynamicInfo);
    collect(&Plugin::CollectNvmeIdentifyControllerData);
    collect(&Plugin::CollectSmartNvmeInfo);
    machine.Wait();
    collect(&Plugin::CollectPhysicalDiskDynamicInfo);
}
