#include "emulated/WmiFacts.h"

#include <algorithm>

#include "emulated/CaseFolding.h"
#include "platform/Text.h"

namespace orbis::platform::emulated {

WmiRow& WmiRow::Text(std::string_view name, std::string_view utf8) { return Add(name, Utf8ToUtf16(utf8)); }
WmiRow& WmiRow::Number(std::string_view name, std::uint32_t number) { return Add(name, Variant{VariantType::Int32, number}); }
WmiRow& WmiRow::Big(std::string_view name, std::uint64_t number) { return Text(name, std::to_string(number)); }
WmiRow& WmiRow::Flag(std::string_view name, bool value) { return Add(name, Variant{VariantType::Bool, value ? 0xFFFFU : 0U}); }
WmiRow& WmiRow::TextOrNull(std::string_view name, std::string_view utf8) { return utf8.empty() ? Null(name) : Text(name, utf8); }
WmiRow& WmiRow::Null(std::string_view name) { return Add(name, Variant{VariantType::Null, 0}); }

WmiRow& WmiRow::Add(std::string_view name, WmiValue value)
{
    m_Properties.emplace_back(name, std::move(value));
    return *this;
}

void WmiRow::Set(std::string_view name, WmiValue value)
{
    Remove(name);
    Add(name, std::move(value));
}

void WmiRow::Remove(std::string_view name)
{
    std::erase_if(m_Properties, [&](const auto& property) { return EqualIgnoreCase(property.first, name); });
}

const WmiValue* WmiRow::Find(std::string_view name) const
{
    const auto found =
        std::ranges::find_if(m_Properties, [&](const auto& property) { return EqualIgnoreCase(property.first, name); });
    return found != m_Properties.end() ? &found->second : nullptr;
}

}  // namespace orbis::platform::emulated
