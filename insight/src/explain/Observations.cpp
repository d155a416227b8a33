#include "explain/Observations.h"

#include <fmt/format.h>
#include <algorithm>
#include <cstring>

#include "DrivePaths.h"
#include "platform/Requests.h"
#include "platform/Text.h"

namespace orbis::insight {

using platform::Utf16ToUtf8;

Explainer::Observations::Observations(std::span<const Record> records)
{
    const DrivePaths paths(records);
    for (const Record& record : records) {
        if (const auto* control = record.As<call::Control>()) {
            const auto page = PageOf(*control);
            const auto number = page ? paths.NumberOf(control->device->path) : std::nullopt;
            if (number) {
                Page& kept = m_Pages[{*number, DrivePaths::LetterOf(control->device->path)}][page->request];
                kept.duration += record.duration;
                if (kept.answer.state == PageAnswer::State::NotAsked || page->answer.IsAnswered()) {
                    kept.answer = page->answer;
                }
            }
        } else if (const auto* query = record.As<call::ExecQuery>()) {
            const std::string kind = Utf16ToUtf8(ClassOf(query->query->text));
            m_Queried[kind] += record.duration;
            if (platform::Failed(query->result)) {
                m_Failures[kind] = query->result;
            }
        } else if (const auto* next = record.As<call::Next>(); next != nullptr && next->query != nullptr) {
            const std::string kind = Utf16ToUtf8(ClassOf(next->query->text));
            m_Queried[kind] += record.duration;
            if (platform::Failed(next->result)) {
                m_Failures[kind] = next->result;
            }
        } else if (const auto* get = record.As<call::Get>()) {
            if (get->query != nullptr) {
                Row& row = m_Rows[get->row];
                row.kind = Utf16ToUtf8(ClassOf(get->query->text));
                if (platform::Failed(get->result)) {
                    row.failures[Utf16ToUtf8(get->name)] = get->result;
                } else {
                    row.values[Utf16ToUtf8(get->name)] = get->value;
                }
            }
        } else if (const auto* counter = record.As<call::AddEnglishCounter>()) {
            if (counter->status != platform::pdh::kOk && counter->path != nullptr) {
                m_Samples[Utf16ToUtf8(*counter->path)].status = counter->status;
            }
        } else if (record.As<call::CollectQueryData>() != nullptr) {
            m_CounterTime += record.duration;
        } else if (const auto* value = record.As<call::FormattedValue>()) {
            m_CounterTime += record.duration;
            if (value->path != nullptr) {
                m_Samples[Utf16ToUtf8(*value->path)] = {value->status, value->value};
            }
        } else if (const auto* firmware = record.As<call::SystemFirmwareTable>()) {
            m_FirmwareTime += record.duration;
            m_FirmwareError = firmware->error;
            m_FirmwareTable = firmware->content;
            m_FirmwareTable.resize(std::min<std::size_t>(firmware->result, firmware->content.size()));
        }
    }
    for (const DiskEvidence& disk : EvidenceOf(records)) {
        m_Disks[disk.number] = disk;
    }
}

const Explainer::Observations::Page* Explainer::Observations::FindPage(std::uint32_t number, char letter, Request request) const
{
    const auto disk = m_Pages.find({number, letter});
    if (disk == m_Pages.end()) {
        return nullptr;
    }
    const auto page = disk->second.find(request);
    return page == disk->second.end() ? nullptr : &page->second;
}

std::vector<char> Explainer::Observations::Letters(std::uint32_t number) const
{
    std::vector<char> letters;
    for (const auto& [place, pages] : m_Pages) {
        if (place.first == number && place.second != 0) {
            letters.push_back(place.second);
        }
    }
    return letters;
}

std::optional<platform::Hresult> Explainer::Observations::QueryFailure(std::string_view kind) const
{
    const auto found = m_Failures.find(std::string(kind));
    return found == m_Failures.end() ? std::nullopt : std::optional(found->second);
}

std::size_t Explainer::Observations::RowsOf(std::string_view kind) const
{
    return static_cast<std::size_t>(
        std::count_if(m_Rows.begin(), m_Rows.end(), [&](const auto& row) { return row.second.kind == kind; }));
}

const Explainer::Observations::Sample* Explainer::Observations::FindSample(std::uint32_t number, std::string_view counter) const
{
    // "\PhysicalDisk(0 C: D:)\% Idle Time"
    const std::string start = fmt::format("\\PhysicalDisk({} ", number);
    const std::string end = fmt::format(")\\{}", counter);
    const auto found = std::find_if(m_Samples.begin(), m_Samples.end(), [&](const auto& entry) {
        return entry.first.starts_with(start) && entry.first.ends_with(end);
    });
    return found == m_Samples.end() ? nullptr : &found->second;
}

std::optional<std::uint32_t> Explainer::Observations::NumberOf(std::string_view pnpDeviceId) const
{
    const Row* row = FindRow("Win32_DiskDrive", [&](const Row& one) {
        const auto id = one.values.find("PNPDeviceID");
        return id != one.values.end() && one.values.contains("Index") && Utf16ToUtf8(id->second.text) == pnpDeviceId;
    });
    return row == nullptr ? std::nullopt : std::optional(static_cast<std::uint32_t>(row->values.at("Index").payload));
}

std::string Explainer::Observations::NameOf(std::uint32_t number) const
{
    const auto disk = m_Disks.find(number);
    return disk == m_Disks.end() || disk->second.model.empty() ? fmt::format("DISK{}", number)
                                                               : fmt::format("DISK{} {}", number, disk->second.model);
}

std::map<std::uint32_t, std::string> Explainer::Observations::Inventory() const
{
    std::map<std::uint32_t, std::string> disks;
    for (const auto& [serial, row] : m_Rows) {
        const auto id = row.values.find("PNPDeviceID");
        if (row.kind == "Win32_DiskDrive" && id != row.values.end() && row.values.contains("Index")) {
            disks.try_emplace(static_cast<std::uint32_t>(row.values.at("Index").payload), Utf16ToUtf8(id->second.text));
        }
    }
    return disks;
}

}  // namespace orbis::insight
