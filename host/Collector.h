#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ConsoleLog.h"
#include "Disks.h"
#include "Formats.h"
#include "HostBorder/PluginHost.h"
#include "MachineInForce.h"

namespace orbis::host {

// How one collection went.
struct Collection {
    bool isSuccess = false;
    std::chrono::duration<double> duration{};
    std::chrono::system_clock::time_point time;
};

// A plug-in that collects from the current machine. Reports failures, and learns the names of the disks.
class Collector {
public:
    // Throws border::PluginLoadError; HostException when the plug-in's object cannot be created.
    Collector(MachineInForce& machine, const std::filesystem::path& plugin, LogLevel logLevel);

    // The operations for these datatypes, in the plug-in's order; all of them for "all" or for none. Throws std::invalid_argument
    // for a name that the plug-in does not have.
    [[nodiscard]] std::vector<border::Operation> Choose(const std::vector<std::string>& datatypes) const;
    // Waits long enough for the rates among these; the plug-in took its first sample when it was created.
    void LetRatesBuildUp(const std::vector<border::Operation>& operations);
    // Replaces the plug-in's object, because one that has seen a disk keeps looking for its counters.
    void Renew() { m_Object = m_Plugin.Create(m_Log); }
    // Collects each of them once, for all disks. A failure sets HasFailed and is reported by the next ReportFindings.
    [[nodiscard]] std::vector<CollectedDatatype> Collect(const std::vector<border::Operation>& operations);
    // Ends a pass: reports what it left out, and returns that together with the failures.
    [[nodiscard]] std::vector<Finding> ReportFindings();
    // All findings of that pass, including earlier ones that still hold.
    [[nodiscard]] std::vector<Finding> CurrentFindings() const;

    // The item ids that a selector names. Collects the data that identifies disks if it is not known yet. Throws
    // std::invalid_argument, with a list of the disks, when no disk matches. Empty for a disk that is left out.
    [[nodiscard]] std::vector<std::string> Select(const std::string& given);
    // The numbers of the left-out disks that a selector names.
    [[nodiscard]] std::set<std::uint32_t> SelectHidden(const std::string& given) const;
    // Collects models, serial numbers and drive letters of disks, unless these results contain them or have no new disk.
    void LearnIdentities(const std::vector<CollectedDatatype>& results);

    // Adds a disk that is not being collected.
    void Learn(const Disk& disk) { m_Disks.Learn(disk); }

    // The result of the newest collection of each datatype.
    [[nodiscard]] const std::map<std::string, Collection>& Collections() const noexcept { return m_Collections; }
    [[nodiscard]] const Disks& KnownDisks() const noexcept { return m_Disks; }
    [[nodiscard]] bool HasFailed() const noexcept { return m_HasFailed; }

private:
    [[nodiscard]] CollectedDatatype CollectOne(const border::Operation& operation);
    void ReportFailure(const std::string& datatype, const border::HostException& exception);
    // Removes the log lines about disks without a drive letter from the log, and returns a text for the new ones.
    [[nodiscard]] std::string TakeDisksWithoutLetter();
    // Whether something did not answer in time and is left out.
    [[nodiscard]] bool HasLateSource() const;
    // Whether a current finding explains why the collection of a datatype ended or lacks a disk.
    [[nodiscard]] bool IsExplained(std::string_view datatype) const;
    void LearnIdentities();
    void Learn(const std::vector<CollectedDatatype>& results);

    MachineInForce& m_Machine;
    border::PluginHost m_Plugin;
    LogLevel m_LogLevel;
    std::shared_ptr<ConsoleLog> m_Log;
    border::PluginObject m_Object;
    Disks m_Disks;
    std::map<std::string, Collection> m_Collections;
    std::vector<Finding> m_Failures;
    std::vector<Finding> m_ReportedFailures;  // of the pass that ended last
    bool m_HasFailed = false;
    std::set<std::uint32_t> m_WithoutLetter;  // disks that were reported
    std::set<std::string> m_Identified;       // item ids whose identity was collected
    bool m_HasIdentities = false;
};

}  // namespace orbis::host
