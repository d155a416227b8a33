#include "Disks.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <functional>

namespace orbis::host {
namespace {

constexpr std::string_view kIdPrefix = "Disk_";

char Lower(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }

bool IsSame(std::string_view one, std::string_view other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](char a, char b) { return Lower(a) == Lower(b); });
}

// The number in "0", "DISK0" or "\\.\PhysicalDrive0".
std::optional<std::uint32_t> NumberIn(std::string_view selector)
{
    for (const std::string_view prefix : {R"(\\.\PHYSICALDRIVE)", "PHYSICALDRIVE", "DISK"}) {
        if (selector.size() > prefix.size() && IsSame(selector.substr(0, prefix.size()), prefix)) {
            selector.remove_prefix(prefix.size());
            break;
        }
    }
    std::uint32_t number = 0;
    const char* end = selector.data() + selector.size();
    const auto [rest, error] = std::from_chars(selector.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

std::string LettersOf(const Disk& disk)
{
    std::string text;
    for (const auto& [letter, volume] : disk.letters) {
        text += (text.empty() ? "" : " ") + letter;
    }
    return text;
}

}  // namespace

void Disks::Learn(const Disk& disk)
{
    const auto same = std::find_if(m_Disks.begin(), m_Disks.end(), [&](const Disk& one) { return one.itemId == disk.itemId; });
    if (same == m_Disks.end()) {
        const auto place = std::find_if(m_Disks.begin(), m_Disks.end(), [&](const Disk& one) {
            return disk.number && (!one.number || *one.number > *disk.number);
        });
        m_Disks.insert(place, disk);
        return;
    }
    same->number = same->number ? same->number : disk.number;
    same->model = same->model.empty() ? disk.model : same->model;
    same->serialNumber = same->serialNumber.empty() ? disk.serialNumber : same->serialNumber;
    same->isNvme = same->isNvme || disk.isNvme;
    if (!disk.letters.empty()) {
        same->letters = disk.letters;
    }
    if (disk.smartError) {
        same->smartError = disk.smartError;
    }
}

const Disk* Disks::Find(std::string_view itemId) const
{
    const auto found = std::find_if(m_Disks.begin(), m_Disks.end(), [&](const Disk& one) { return one.itemId == itemId; });
    return found == m_Disks.end() ? nullptr : &*found;
}

std::string Disks::ShortNameOf(std::string_view itemId) const
{
    const Disk* disk = Find(itemId);
    if (disk != nullptr && disk->number) {
        return fmt::format("DISK{}", *disk->number);
    }
    const std::string_view title = itemId.starts_with(kIdPrefix) ? itemId.substr(kIdPrefix.size()) : itemId;
    return title.empty() ? "(no id)" : std::string(title);
}

std::string Disks::NameOf(std::string_view itemId) const
{
    const Disk* disk = Find(itemId);
    const bool hasModel = disk != nullptr && disk->number && !disk->model.empty();
    return hasModel ? ShortNameOf(itemId) + ' ' + disk->model : ShortNameOf(itemId);
}

std::string Disks::LetterOf(std::string_view itemId, std::string_view volumeSerial) const
{
    const Disk* disk = Find(itemId);
    if (disk != nullptr && !volumeSerial.empty()) {
        for (const auto& [letter, serial] : disk->letters) {
            if (serial == volumeSerial) {
                return letter;
            }
        }
    }
    return {};
}

std::vector<std::string> Disks::Select(std::string_view selector) const
{
    const std::optional<std::uint32_t> number = NumberIn(selector);
    const std::string letter = std::string(selector.substr(0, selector.find('\\'))) + (selector.size() == 1 ? ":" : "");
    const std::function<bool(const Disk&)> ways[] = {
        [&](const Disk& disk) { return IsSame(disk.itemId, selector) || IsSame(NameOf(disk.itemId), selector); },
        [&](const Disk& disk) { return IsSame(disk.itemId, std::string(kIdPrefix).append(selector)); },
        [&](const Disk& disk) { return number && disk.number == number; },
        [&](const Disk& disk) {
            return std::any_of(disk.letters.begin(), disk.letters.end(),
                               [&](const auto& one) { return IsSame(one.first, letter); });
        },
        [&](const Disk& disk) { return !selector.empty() && IsSame(disk.serialNumber, selector); },
    };
    std::vector<std::string> selected;
    for (const auto& fits : ways) {
        for (const Disk& disk : m_Disks) {
            if (fits(disk)) {
                selected.push_back(disk.itemId);
            }
        }
        if (!selected.empty()) {
            break;
        }
    }
    return selected;
}

std::string Disks::List() const
{
    std::string text;
    for (const Disk& disk : m_Disks) {
        const std::string letters = LettersOf(disk);
        text +=
            fmt::format("\n  {}{}{}\n    {}", NameOf(disk.itemId), disk.serialNumber.empty() ? "" : "  S/N " + disk.serialNumber,
                        letters.empty() ? "" : "  " + letters, disk.itemId);
    }
    return text;
}

}  // namespace orbis::host
