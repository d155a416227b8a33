#include "Collections.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "HostSdk/Exceptions.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "orbis/datatypes/smart.pb.h"

namespace orbis::proof {
namespace {

using Veyra::Orbis::Plugins::StorageCollectorPlugin;
using Veyra::Orbis::Sdk::Common::Identifiers::ItemId;
using Veyra::Orbis::Sdk::Exceptions::HostException;

template <class T>
void Keep(const Veyra::Orbis::Common::CollectionList<T>& list, Outcome& outcome)
{
    outcome.isList = list.has_value();
    for (const auto& item : list ? *list : typename Veyra::Orbis::Common::CollectionList<T>::value_type{}) {
        outcome.items.push_back({item.ItemId().ToString(), item.Value()});
    }
}

void CollectInto(StorageCollectorPlugin& plugin, Datatype datatype, Outcome& outcome)
{
    switch (datatype) {
        case Datatype::Static:
            return Keep(plugin.CollectPhysicalDiskStaticInfo(ItemId::All()), outcome);
        case Datatype::Dynamic:
            return Keep(plugin.CollectPhysicalDiskDynamicInfo(ItemId::All()), outcome);
        case Datatype::SmartStatic:
            return Keep(plugin.CollectSmartStaticInfo(ItemId::All()), outcome);
        case Datatype::SmartDynamic:
            return Keep(plugin.CollectSmartDynamicInfo(ItemId::All()), outcome);
        case Datatype::Health:
            return Keep(plugin.CollectSmartNvmeInfo(ItemId::All()), outcome);
        case Datatype::Identify:
            return Keep(plugin.CollectNvmeIdentifyControllerData(ItemId::All()), outcome);
    }
}

}  // namespace

std::string_view NameOf(Datatype datatype)
{
    constexpr std::array<std::string_view, kDatatypes.size()> kNames{"static",        "dynamic", "SMART static",
                                                                     "SMART dynamic", "health",  "identify"};
    return kNames[static_cast<std::size_t>(datatype)];
}

bool operator==(const Outcome& one, const Outcome& other)
{
    const auto bytes = [](const Outcome::Item& item) { return item.message ? item.message->SerializeAsString() : "no message"; };
    return one.isList == other.isList && one.failure == other.failure && one.log == other.log &&
           std::equal(one.items.begin(), one.items.end(), other.items.begin(), other.items.end(),
                      [&](const auto& left, const auto& right) { return left.id == right.id && bytes(left) == bytes(right); });
}

Outcome Collect(StorageCollectorPlugin& plugin, Datatype datatype)
{
    Outcome outcome;
    try {
        CollectInto(plugin, datatype, outcome);
    } catch (const HostException& exception) {
        outcome.failure = exception.ToString();
    } catch (...) {
        outcome.failure = "not a host exception";
    }
    return outcome;
}

const std::vector<std::string>& ExampleMachines()
{
    static const std::vector<std::string> kMachines{"empty", "laptop-arm64", "workstation", "hostile", "office-pc", "raid-server"};
    return kMachines;
}

std::string MachineText(const std::string& name)
{
    const std::ifstream file("machines/" + name + ".txtpb", std::ios::binary);
    EXPECT_TRUE(file) << name;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

PluginOnMachine::PluginOnMachine(std::shared_ptr<simulated::Machine> machine) : m_Machine(std::move(machine)), m_Faults(*m_Machine)
{
    // A host initialises COM on its thread before it calls a plug-in.
    m_Machine->WmiPort().InitializeCom(0);
    platform::Platform::Replace(&m_Faults);
}

PluginOnMachine::~PluginOnMachine()
{
    m_Plugin.reset();
    platform::Platform::Replace(nullptr);
}

void PluginOnMachine::Construct()
{
    const Veyra::Orbis::Common::Utilities::BaseClasses::LoggerFactoryScope scope([this](std::string_view) { return m_Log; });
    m_Plugin = std::make_unique<StorageCollectorPlugin>(nullptr);
}

Outcome PluginOnMachine::CollectNext(Datatype datatype)
{
    m_Machine->AdvanceClock(std::chrono::seconds(1));
    Outcome outcome = Collect(*m_Plugin, datatype);
    outcome.log = std::exchange(m_Log->lines, {});
    return outcome;
}

std::string PluginOnMachine::Finish()
{
    m_Plugin.reset();
    m_Machine->WmiPort().UninitializeCom();
    std::ostringstream text;
    for (const std::string& misuse : m_Machine->Misuses()) {
        text << misuse << "; ";
    }
    text << m_Machine->OpenObjects();
    return text.str();
}

}  // namespace orbis::proof
