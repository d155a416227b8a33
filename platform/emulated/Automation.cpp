#include "emulated/Automation.h"

#include <cstring>
#include <new>

namespace orbis::platform::emulated {
namespace {

// A BSTR's length in bytes precedes its text. Eight bytes are kept for it, so that the text is aligned for any reader.
constexpr std::size_t kBstrPrefix = 8;
constexpr std::size_t kLongestBstr = 0x7FFFFFFF;

// The object behind a SafeArray pointer.
using ArrayReference = std::shared_ptr<const WmiArray>;

}  // namespace

Bstr NewString(std::u16string_view text) noexcept
{
    const std::size_t bytes = text.size() * sizeof(char16_t);
    auto* block = bytes <= kLongestBstr
                      ? static_cast<unsigned char*>(::operator new(kBstrPrefix + bytes + sizeof(char16_t), std::nothrow))
                      : nullptr;
    if (block == nullptr) {
        return nullptr;
    }
    const auto length = static_cast<std::uint32_t>(bytes);
    std::memcpy(block + kBstrPrefix - sizeof(length), &length, sizeof(length));
    auto* out = reinterpret_cast<char16_t*>(block + kBstrPrefix);
    text.copy(out, text.size());
    out[text.size()] = u'\0';
    return out;
}

void FreeString(Bstr text) noexcept
{
    if (text != nullptr) {
        ::operator delete(reinterpret_cast<unsigned char*>(const_cast<char16_t*>(text)) - kBstrPrefix);
    }
}

std::u16string_view TextOf(Bstr text) noexcept
{
    std::uint32_t bytes = 0;
    if (text != nullptr) {
        std::memcpy(&bytes, reinterpret_cast<const unsigned char*>(text) - sizeof(bytes), sizeof(bytes));
    }
    return {text, bytes / sizeof(char16_t)};
}

Hresult MakeVariant(const WmiValue& value, Variant& variant)
{
    if (const auto* failure = std::get_if<Hresult>(&value)) {
        return *failure;
    }
    if (const auto* plain = std::get_if<Variant>(&value)) {
        variant = *plain;
    } else if (const auto* text = std::get_if<std::u16string>(&value)) {
        const Bstr string = NewString(*text);
        if (string == nullptr) {
            return hresult::kOutOfMemory;
        }
        variant = {VariantType::String, reinterpret_cast<std::uintptr_t>(string)};
    } else {
        const auto& array = std::get<ArrayReference>(value);
        variant = {array->type, reinterpret_cast<std::uintptr_t>(new ArrayReference(array))};
    }
    return hresult::kOk;
}

void ClearVariant(Variant& variant) noexcept
{
    if (variant.type == VariantType::String) {
        FreeString(variant.AsString());
    } else if (variant.type == VariantType::UInt8Array || variant.type == VariantType::StringArray) {
        delete reinterpret_cast<ArrayReference*>(variant.AsArray());
    }
    variant = {};
}

const WmiArray& ContentOf(const SafeArray& array) noexcept { return **reinterpret_cast<const ArrayReference*>(&array); }

}  // namespace orbis::platform::emulated
