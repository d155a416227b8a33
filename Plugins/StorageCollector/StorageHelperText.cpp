#include "StorageHelper.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "platform/Text.h"

namespace Veyra::Orbis::Plugins {
namespace {

bool IsNotZero(char character) { return character != '\0'; }
bool IsNotSpace(char character) { return std::string_view{" \t\n\v\f\r"}.find(character) == std::string_view::npos; }
bool IsNotBackspace(char character) { return character != '\b'; }

}  // namespace

template <bool (*keep)(char)>
std::string_view StorageHelper::Trim(std::string_view text)
{
    const auto first = std::find_if(text.begin(), text.end(), keep);
    const auto end = std::find_if(text.rbegin(), std::make_reverse_iterator(first), keep).base();
    return text.substr(static_cast<std::size_t>(first - text.begin()), static_cast<std::size_t>(end - first));
}

std::string StorageHelper::TrimZeros(const std::string& text) { return std::string{Trim<IsNotZero>(text)}; }

std::string StorageHelper::TrimSpace(const std::string& text) { return std::string{Trim<IsNotSpace>(text)}; }

std::string StorageHelper::TrimInvalidChar(const std::string& text) { return std::string{Trim<IsNotBackspace>(text)}; }

std::string StorageHelper::Trim(const std::string& text)
{
    return std::string{Trim<IsNotBackspace>(Trim<IsNotSpace>(Trim<IsNotZero>(text)))};
}

std::string StorageHelper::RawBufferToByteString(const char* bytes, std::int32_t length)
{
    return length > 0 ? std::string(bytes, static_cast<std::size_t>(length)) : std::string{};
}

Sdk::Common::Identifiers::ItemId StorageHelper::toItemId(const DiskDeviceInfo& device)
{
    return Sdk::Common::Identifiers::ItemId{orbis::platform::DefaultToUtf8("Disk_" + device.pnpDeviceId)};
}

}  // namespace Veyra::Orbis::Plugins
