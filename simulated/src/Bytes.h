#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "emulated/CaseFolding.h"
#include "emulated/Guid.h"
#include "orbis/simulated/machine.pb.h"

namespace orbis::simulated {

using ByteVector = std::vector<std::uint8_t>;
using ByteSpan = std::span<const std::uint8_t>;

// Bytes that `hex` encodes, or nothing when it is not pairs of hexadecimal digits.
[[nodiscard]] std::optional<ByteVector> ParseHex(std::string_view hex);
// UTF-16 units that `hex` encodes, or nothing when it is not groups of four hexadecimal digits.
[[nodiscard]] std::optional<std::u16string> ParseUtf16Hex(std::string_view hex);

// Lays the bytes over the page, which they lengthen where they reach past its end.
void LayOver(ByteVector& page, std::size_t offset, ByteSpan bytes);
using Patches = google::protobuf::RepeatedPtrField<description::Patch>;
// Lays the patches over the page in order; one that reaches past the end lengthens it.
void ApplyPatches(ByteVector& page, const Patches& patches);
[[nodiscard]] ByteVector ToBytes(const description::Bytes& bytes);

using platform::emulated::GuidText;
using platform::emulated::ParseGuid;

[[nodiscard]] inline std::string ToLower(std::string_view text) { return platform::emulated::LowerAscii(std::string(text)); }
[[nodiscard]] inline std::string ToUpper(std::string_view text) { return platform::emulated::UpperAscii(std::string(text)); }

// A page under construction: little-endian values at byte offsets, as the documents print them.
class PageWriter {
public:
    explicit PageWriter(std::size_t size) : m_Page(size, 0) {}

    PageWriter& Put8(std::size_t offset, std::uint64_t value) { return Put(offset, 1, value); }
    PageWriter& Put16(std::size_t offset, std::uint64_t value) { return Put(offset, 2, value); }
    PageWriter& Put24(std::size_t offset, std::uint64_t value) { return Put(offset, 3, value); }
    PageWriter& Put32(std::size_t offset, std::uint64_t value) { return Put(offset, 4, value); }
    PageWriter& Put48(std::size_t offset, std::uint64_t value) { return Put(offset, 6, value); }
    PageWriter& Put64(std::size_t offset, std::uint64_t value) { return Put(offset, 8, value); }
    // Text of a fixed width, cut or padded with `padding`.
    PageWriter& PutText(std::size_t offset, std::size_t width, std::string_view text, char padding = ' ');
    // The same as an ATA string: the two bytes of each word swapped.
    PageWriter& PutAtaText(std::size_t offset, std::size_t width, std::string_view text);
    PageWriter& PutBytes(std::size_t offset, ByteSpan bytes);

    [[nodiscard]] ByteVector Take() { return std::move(m_Page); }
    [[nodiscard]] ByteVector& Page() { return m_Page; }

private:
    PageWriter& Put(std::size_t offset, std::size_t width, std::uint64_t value);

    ByteVector m_Page;
};

}  // namespace orbis::simulated
