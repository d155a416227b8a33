#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "insight/Evidence.h"
#include "insight/Explanation.h"
#include "insight/Pages.h"

namespace orbis::insight {

// The answers of one pass, arranged for look-up.
class Explainer::Observations {
public:
    struct Page {
        PageAnswer answer;
        std::chrono::nanoseconds duration{0};
    };
    struct Row {
        std::string kind;  // WMI class
        std::map<std::string, Value> values;
        std::map<std::string, platform::Hresult> failures;  // of properties that could not be read
    };
    struct Sample {
        platform::PdhStatus status = 0;
        platform::PdhCounterValue value{};
    };

    explicit Observations(std::span<const Record> records);

    // A page of a disk, or of one of its volumes, by drive number and letter (0 for the disk); null when it was not requested.
    [[nodiscard]] const Page* FindPage(std::uint32_t number, char letter, Request request) const;
    // Letters of the volumes on a disk, in order.
    [[nodiscard]] std::vector<char> Letters(std::uint32_t number) const;
    // The first row of a class for which `fits` is true, or null.
    template <class Fits>
    [[nodiscard]] const Row* FindRow(std::string_view kind, const Fits& fits) const
    {
        for (const auto& [serial, row] : m_Rows) {
            if (row.kind == kind && fits(row)) {
                return &row;
            }
        }
        return nullptr;
    }
    // Why a class gave no rows: the failure of its query, when there was one.
    [[nodiscard]] std::optional<platform::Hresult> QueryFailure(std::string_view kind) const;
    [[nodiscard]] bool WasQueried(std::string_view kind) const { return m_Queried.contains(std::string(kind)); }
    // The time that counter samples and the firmware table took.
    [[nodiscard]] std::chrono::nanoseconds CounterTime() const { return m_CounterTime; }
    [[nodiscard]] std::chrono::nanoseconds FirmwareTime() const { return m_FirmwareTime; }
    // The total time of the queries and rows of each class.
    [[nodiscard]] const std::map<std::string, std::chrono::nanoseconds>& Queries() const { return m_Queried; }
    // Rows of which a property was read.
    [[nodiscard]] std::size_t RowsOf(std::string_view kind) const;
    // The last sample of a counter whose instance starts with the drive number; null when it was not read.
    [[nodiscard]] const Sample* FindSample(std::uint32_t number, std::string_view counter) const;
    // The last firmware table, or the error if it was refused.
    [[nodiscard]] const std::vector<std::uint8_t>& FirmwareTable() const { return m_FirmwareTable; }
    [[nodiscard]] std::uint32_t FirmwareError() const { return m_FirmwareError; }

    // The drive number of an inventory row's PnP device id.
    [[nodiscard]] std::optional<std::uint32_t> NumberOf(std::string_view pnpDeviceId) const;
    [[nodiscard]] const std::map<std::pair<std::uint32_t, char>, std::map<Request, Page>>& Pages() const { return m_Pages; }
    [[nodiscard]] std::string NameOf(std::uint32_t number) const;
    // The PnP device ids in the inventory's rows, by drive number.
    [[nodiscard]] std::map<std::uint32_t, std::string> Inventory() const;
    // What is known of each disk, by drive number.
    [[nodiscard]] const std::map<std::uint32_t, DiskEvidence>& Disks() const { return m_Disks; }

private:
    std::map<std::pair<std::uint32_t, char>, std::map<Request, Page>> m_Pages;
    std::map<Serial, Row> m_Rows;
    std::map<std::string, platform::Hresult> m_Failures;
    std::map<std::string, std::chrono::nanoseconds> m_Queried;
    std::map<std::string, Sample> m_Samples;  // by counter path
    std::chrono::nanoseconds m_CounterTime{0};
    std::vector<std::uint8_t> m_FirmwareTable;
    std::chrono::nanoseconds m_FirmwareTime{0};
    std::uint32_t m_FirmwareError = 0;
    std::map<std::uint32_t, DiskEvidence> m_Disks;
};

}  // namespace orbis::insight
