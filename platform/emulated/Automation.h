#pragma once

#include <string_view>

#include "emulated/WmiFacts.h"

// OLE Automation's strings and variants.
namespace orbis::platform::emulated {

// A string of exactly these characters; null when memory is short or the text is longer than a BSTR can be.
[[nodiscard]] Bstr NewString(std::u16string_view text) noexcept;
void FreeString(Bstr text) noexcept;
[[nodiscard]] std::u16string_view TextOf(Bstr text) noexcept;

// Turns a property's value into a new variant.
[[nodiscard]] Hresult MakeVariant(const WmiValue& value, Variant& variant);
void ClearVariant(Variant& variant) noexcept;
[[nodiscard]] const WmiArray& ContentOf(const SafeArray& array) noexcept;

}  // namespace orbis::platform::emulated
