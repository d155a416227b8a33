#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>

#include "insight/Pseudonyms.h"
#include "record/Utf16.h"

namespace orbis::insight {

using WritableBytes = std::span<std::uint8_t>;

inline void Clear(WritableBytes bytes) { std::ranges::fill(bytes, std::uint8_t{0}); }
// The bytes from `at` on; empty beyond the end.
inline WritableBytes From(WritableBytes bytes, std::size_t at) { return bytes.subspan(std::min(at, bytes.size())); }
// The part of that length, or less if the bytes end before.
inline WritableBytes Part(WritableBytes bytes, std::size_t at, std::size_t size)
{
    const WritableBytes rest = From(bytes, at);
    return rest.first(std::min(size, rest.size()));
}

// Replaces UTF-16 text in a buffer up to its first zero with the result of `replace`, and clears the rest.
template <class Replace>
void ReplaceUtf16(WritableBytes bytes, const Replace& replace)
{
    std::u16string text = Utf16Text({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    text.resize(std::min(text.find(u'\0'), text.size()));
    const std::string replaced = Utf16Bytes(replace(text));
    Clear(bytes);
    std::copy_n(replaced.begin(), std::min(replaced.size(), bytes.size()), bytes.begin());
}

// Pages of devices and the firmware: by the fields of the standards, identifying values are replaced, known ones are kept, and the
// rest becomes zero. Checksums that were valid stay valid.
class PageRedaction {
public:
    explicit PageRedaction(Pseudonyms& pseudonyms) : m_Pseudonyms(pseudonyms) {}

    // A device request's answer: the output buffer, and the data buffer of a direct pass-through (whole pages).
    void Control(std::uint32_t code, const std::string& request, WritableBytes output, WritableBytes data);
    // SMART data or thresholds.
    static void SmartPage(WritableBytes page, bool isThresholds);
    // RawSMBIOSData.
    void Smbios(WritableBytes table);

private:
    void TextIn(WritableBytes bytes);
    void SerialIn(WritableBytes bytes);
    void SwappedSerialIn(WritableBytes bytes);
    void NvmeIdentify(WritableBytes page);
    static void NvmeLog(WritableBytes page, std::uint32_t identifier);
    void AtaIdentify(WritableBytes page);
    void AtaData(WritableBytes data, std::uint8_t command, std::uint8_t feature, std::uint8_t lbaLow);
    void Property(std::span<const std::uint8_t> request, WritableBytes output);
    static void Sense(WritableBytes sense);
    void Descriptor(WritableBytes output);
    void Partition(WritableBytes entry);
    void Layout(WritableBytes output);
    void SmbiosString(WritableBytes text);

    Pseudonyms& m_Pseudonyms;
};

}  // namespace orbis::insight
