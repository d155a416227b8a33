#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "HostBorder/orbis_border.h"

namespace orbis::border {

inline std::string_view TextOf(const OrbisText& text) noexcept
{
    return text.data != nullptr ? std::string_view(text.data, text.length) : std::string_view();
}

// UTF-8 on every system.
inline std::string TextOf(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

// An element of an array whose elements may be longer than in this program's header.
template <class T>
const T& ElementOf(const T* array, std::size_t elementSize, std::size_t index) noexcept
{
    return *reinterpret_cast<const T*>(reinterpret_cast<const std::byte*>(array) + index * elementSize);
}

}  // namespace orbis::border
