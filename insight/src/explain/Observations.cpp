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
                    kept.path = Utf16ToUtf8(control->device->path);
                }
            }
        } else if (const auto* query = record.As<call::ExecQuery>()) {
            const std::string kind = Utf16ToUtf8(ClassOf(query->query->text));
            m_Queried[kind] = true;
            if (platform::Failed(query->result)) {
                m_Failures[kind] = query->result;
            }
        } else if (const auto* next = record.As<call::Next>()) {
            if (platform::Failed(next->result) && next->query != nullptr) {
                m_Failures[Utf16ToUtf8(ClassOf(next->query->text))] = next->result;
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
        } else if (const auto* value = record.As<call::FormattedValue>()) {
            if (value->path != nullptr) {
                m_Samples[Utf16ToUtf8(*value->path)] = {value->status, value->value};
            }
        } else if (const auto* firmware = record.As<call::SystemFirmwareTable>()) {
            m_FirmwareError = firmware->error;
            m_FirmwareSize = firmware->result == 0 ? std::nullopt : std::optional<std::size_t>(firmware->result);
        }
    }
    for (const DiskEvidence& disk : EvidenceOf(records)) {
        m_Models[disk.number] = disk.model;
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
    const auto model = m_Models.find(number);
    return model == m_Models.end() || model->second.empty() ? fmt::format("DISK{}", number)
                                                            : fmt::format("DISK{} {}", number, model->second);
}

}  // namespace orbis::insight
