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

// A plug-in at work on the machine in force: collects datatypes, reports what fails, and learns what people call the disks.
class Collector {
public:
    // Throws border::PluginLoadError; HostException when the plug-in's object cannot be created.
    Collector(MachineInForce& machine, const std::filesystem::path& plugin, LogLevel logLevel);

    // The operations for these datatypes, in the plug-in's order; all of them for "all" or for none. Throws std::invalid_argument
    // for a name that the plug-in does not have.
    [[nodiscard]] std::vector<border::Operation> Choose(const std::vector<std::string>& datatypes) const;
    // Lets enough time pass for the rates among these; the plug-in took its first sample when it was created.
    void LetRatesBuildUp(const std::vector<border::Operation>& operations);
    // Makes the plug-in's object anew: one that met a disk goes on looking for its counters.
    void Renew() { m_Object = m_Plugin.Create(m_Log); }
    // Collects each of them once, all disks. A failure is reported on standard error and sets HasFailed.
    [[nodiscard]] std::vector<CollectedDatatype> Collect(const std::vector<border::Operation>& operations);
    // Reports what was left out of the collections since the last call, and returns it together with the failures.
    [[nodiscard]] std::vector<Finding> ReportFindings();
    // All findings of the pass that ReportFindings ended, those of earlier passes that still hold included.
    [[nodiscard]] std::vector<Finding> CurrentFindings() const;

    // The item ids that a selector names. Collects what identifies disks when that is not known yet. Throws std::invalid_argument,
    // with a list of the disks, when it names none. Empty for a disk that is left out.
    [[nodiscard]] std::vector<std::string> Select(const std::string& given);
    // The numbers of the disks left out that a selector names.
    [[nodiscard]] std::set<std::uint32_t> SelectHidden(const std::string& given) const;
    // Collects what identifies disks, models, serial numbers and drive letters, unless these results have them or nothing is new
    // in them.
    void LearnIdentities(const std::vector<CollectedDatatype>& results);

    // Learns of a disk that is not collected now.
    void Learn(const Disk& disk) { m_Disks.Learn(disk); }

    // How the newest collection of each datatype went.
    [[nodiscard]] const std::map<std::string, Collection>& Collections() const noexcept { return m_Collections; }
    [[nodiscard]] const Disks& KnownDisks() const noexcept { return m_Disks; }
    [[nodiscard]] bool HasFailed() const noexcept { return m_HasFailed; }

private:
    [[nodiscard]] CollectedDatatype CollectOne(const border::Operation& operation);
    void ReportFailure(const std::string& datatype, const border::HostException& exception);
    // Takes the log lines of disks without a drive letter out of the log, and gives a text for those that are new.
    [[nodiscard]] std::string TakeDisksWithoutLetter();
    // Whether something did not answer in time and is left out.
    [[nodiscard]] bool HasLateSource() const;
    // Whether a current finding explains why the collection of a datatype ended or lacks a disk.
    [[nodiscard]] bool IsExplained(const std::string& datatype) const;
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
    std::set<std::uint32_t> m_WithoutLetter;  // disks that were told of
    std::set<std::string> m_Identified;       // item ids whose identity was looked for
    bool m_HasIdentities = false;
};

}  // namespace orbis::host
