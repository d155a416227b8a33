#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/message.h>

#include "RecordingLog.h"
#include "StorageCollectorPlugin.h"
#include "simulated/FaultingPlatform.h"
#include "simulated/Machine.h"

namespace orbis::proof {

// The collections by their datatype, as a host asks for them.
enum class Datatype { Static, Dynamic, SmartStatic, SmartDynamic, Health, Identify };
inline constexpr std::array kDatatypes{Datatype::Static,       Datatype::Dynamic, Datatype::SmartStatic,
                                       Datatype::SmartDynamic, Datatype::Health,  Datatype::Identify};
[[nodiscard]] std::string_view NameOf(Datatype datatype);

// Everything that a host sees of one collection.
struct Outcome {
    struct Item {
        std::string id;
        std::shared_ptr<const google::protobuf::Message> message;  // null for an item without data
    };
    bool isList = false;      // false: no list, or a failure
    std::vector<Item> items;  // of a list
    std::string failure;      // type and message of what left the collection; empty when it answered
    std::vector<fakes::LogLine> log;

    friend bool operator==(const Outcome& one, const Outcome& other);
};

// Asks for every item.
[[nodiscard]] Outcome Collect(Veyra::Orbis::Plugins::StorageCollectorPlugin& plugin, Datatype datatype);

[[nodiscard]] const std::vector<std::string>& ExampleMachines();  // names
[[nodiscard]] std::string MachineText(const std::string& name);

// A machine in force, faults between it and its users, and a plug-in object that has collected nothing yet.
class PluginOnMachine {
public:
    explicit PluginOnMachine(std::shared_ptr<simulated::Machine> machine);
    ~PluginOnMachine();
    PluginOnMachine(const PluginOnMachine&) = delete;
    PluginOnMachine& operator=(const PluginOnMachine&) = delete;

    // Makes the plug-in; the calls that this takes are counted too.
    void Construct();
    // A second after whatever was done before, so that rates have an interval. The log has what was said since the last one.
    [[nodiscard]] Outcome CollectNext(Datatype datatype);
    // Ends the plug-in and says what was misused and what is open then; kNothingOpen is as it should be.
    [[nodiscard]] std::string Finish();
    static constexpr std::string_view kNothingOpen = "nothing open";

    // The source lines of everything that was logged so far.
    [[nodiscard]] const std::vector<std::int32_t>& SourceLines() const { return m_Log->sourceLines; }
    [[nodiscard]] simulated::Machine& Machine() { return *m_Machine; }
    [[nodiscard]] simulated::FaultingPlatform& Faults() { return m_Faults; }

private:
    std::shared_ptr<simulated::Machine> m_Machine;
    simulated::FaultingPlatform m_Faults;
    std::shared_ptr<fakes::RecordingLog> m_Log = std::make_shared<fakes::RecordingLog>();
    std::unique_ptr<Veyra::Orbis::Plugins::StorageCollectorPlugin> m_Plugin;
};

}  // namespace orbis::proof
