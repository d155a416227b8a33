#include "Common/SmBiosTable.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <stdexcept>

#include "ReadSized.h"
#include "platform/Firmware.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kBlobHeaderSize = 8;
constexpr std::size_t kTableLengthOffset = 4;
constexpr std::size_t kEntryHeaderSize = 4;
constexpr std::uint8_t kEndOfTable = 127;

// The unsigned little-endian value of `size` bytes at `offset`, if all of it lies inside `data`.
template <class Value>
bool GetLittleEndian(const std::vector<std::uint8_t>& data, std::int32_t offset, Value& value) noexcept
{
    if (offset < 0 || data.size() < sizeof(Value) || static_cast<std::size_t>(offset) > data.size() - sizeof(Value)) {
        return false;
    }
    std::uint32_t result = 0;
    for (std::size_t byte = sizeof(Value); byte-- > 0;) {
        result = (result << 8U) | data[static_cast<std::size_t>(offset) + byte];
    }
    value = static_cast<Value>(result);
    return true;
}

// Collects the string set that begins at `at` and returns the index after its end: after two zeros (an empty set consists of two
// zeros), or the end of the bytes. Characters without a terminating zero are not a string.
std::size_t ReadStrings(Bytes bytes, std::size_t at, std::vector<std::string>& strings)
{
    while (at < bytes.size()) {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const auto zero = std::find(begin, bytes.end(), std::uint8_t{0});
        if (zero == bytes.end()) {
            break;
        }
        if (zero != begin) {
            strings.emplace_back(begin, zero);
        }
        at = static_cast<std::size_t>(std::distance(bytes.begin(), zero)) + 1;
        if (at < bytes.size() && bytes[at] == 0) {
            return at + 1;
        }
    }
    return bytes.size();
}

}  // namespace

bool SmBiosEntry::GetU8(std::int32_t offset, std::uint8_t& value) const noexcept { return GetLittleEndian(data, offset, value); }

bool SmBiosEntry::GetU16(std::int32_t offset, std::uint16_t& value) const noexcept { return GetLittleEndian(data, offset, value); }

bool SmBiosEntry::GetU32(std::int32_t offset, std::uint32_t& value) const noexcept { return GetLittleEndian(data, offset, value); }

bool SmBiosEntry::GetString(std::int32_t offset, std::string& text) const
{
    std::uint8_t number = 0;
    if (!GetU8(offset, number) || number == 0 || number > strings.size()) {
        return false;
    }
    text = strings[number - 1U];
    return true;
}

SmBiosTable::SmBiosTable() : SmBiosTable(ReadFirmwareBlob()) {}

SmBiosTable::SmBiosTable(Bytes blob)
{
    if (blob.size() < kBlobHeaderSize) {
        return;
    }
    std::size_t total = 0;
    for (std::size_t byte = sizeof(std::uint32_t); byte-- > 0;) {
        total = (total << 8U) | blob[kTableLengthOffset + byte];
    }
    // The length in the header is not trusted: nothing beyond the blob is read.
    Bytes rest = blob.subspan(kBlobHeaderSize, std::min(total, blob.size() - kBlobHeaderSize));
    while (rest.size() >= kEntryHeaderSize) {
        const auto entry = std::make_shared<SmBiosEntry>();
        entry->type = rest[0];
        entry->length = rest[1];
        if (entry->length < kEntryHeaderSize) {
            throw std::runtime_error("invalid entry length (" + std::to_string(entry->length) + "). DMI table is broken");
        }
        // A formatted area that is longer than the rest of the table is truncated; such an entry has no strings and is the last
        // one.
        const Bytes formatted = rest.first(std::min<std::size_t>(entry->length, rest.size()));
        entry->data.assign(formatted.begin(), formatted.end());
        rest = rest.subspan(ReadStrings(rest, formatted.size(), entry->strings));
        m_Entries.push_back(entry);
        if (entry->type == kEndOfTable) {
            return;
        }
    }
}

SmBiosTable::EntryList SmBiosTable::GetEntryList(std::uint8_t type) const
{
    EntryList entries;
    std::copy_if(m_Entries.begin(), m_Entries.end(), std::back_inserter(entries),
                 [type](const auto& entry) { return entry->type == type; });
    return entries;
}

std::vector<std::uint8_t> SmBiosTable::ReadFirmwareBlob()
{
    using orbis::platform::Firmware;
    return ReadSized<std::uint8_t>([&firmware = Firmware::Current()](std::uint8_t* buffer, std::uint32_t size) {
        return firmware.SystemFirmwareTable(orbis::platform::kFirmwareProviderSmbios, 0, buffer, size);
    });
}

}  // namespace Veyra::Orbis::Cpp::Common
