#pragma once

#include <memory>
#include <string_view>

#include "emulated/WmiFacts.h"

// OLE Automation's strings, variants and safe arrays.
namespace orbis::platform::emulated {

// A string of exactly these characters; null when memory is short or the text is longer than a BSTR can be.
[[nodiscard]] Bstr NewString(std::u16string_view text) noexcept;
void FreeString(Bstr text) noexcept;
[[nodiscard]] std::u16string_view TextOf(Bstr text) noexcept;

// Turns a property's value into a new variant.
[[nodiscard]] Hresult MakeVariant(const WmiValue& value, Variant& variant);
void ClearVariant(Variant& variant) noexcept;

[[nodiscard]] const WmiArray& ContentOf(const SafeArray& array) noexcept;
[[nodiscard]] Hresult UpperBound(const WmiArray& array, std::uint32_t dimension, std::int32_t& bound) noexcept;
// Copies one element to `element`: a byte, or a new string.
[[nodiscard]] Hresult CopyElement(const WmiArray& array, std::int32_t index, void* element) noexcept;

}  // namespace orbis::platform::emulated
