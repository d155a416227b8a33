#include "Common/WmiCommonLib.h"

#include <string_view>

#include "Common/ResultException.h"
#include "Common/WideText.h"

namespace Veyra::Orbis::Cpp::Common {

using orbis::platform::Bstr;
using orbis::platform::ComString;
using orbis::platform::ComVariant;
using orbis::platform::SafeArray;
using orbis::platform::VariantType;
using orbis::platform::Wmi;
namespace hresult = orbis::platform::hresult;

namespace {

// The lines that failures carry are fixed, because logs quote them; they are not lines of this file.
constexpr std::string_view kWmiUnit = R"(cpp\Common\src\WmiCommonLib)";

[[noreturn]] void ThrowUnexpected(std::int32_t line) { throw ResultException(hresult::kUnexpected, kWmiUnit, line); }

const char16_t* NamespacePath(WmiNamespace code) noexcept
{
    switch (code) {
        case WmiNamespace::Wmi:
            return u"root\\WMI";
        case WmiNamespace::StandardCimV2:
            return u"root\\StandardCimv2";
        case WmiNamespace::MicrosoftVolumeEncryption:
            return u"root\\cimv2\\Security\\MicrosoftVolumeEncryption";
        case WmiNamespace::Storage:
            return u"root\\microsoft\\windows\\storage";
        case WmiNamespace::Power:
            return u"root\\cimv2\\power";
        case WmiNamespace::CimV2:
            break;
    }
    return u"root\\cimv2";
}

// One property of the current row, read on construction and cleared at the end.
class Property {
public:
    Property(const WmiQuery& row, const char16_t* name, std::int32_t line) : m_Port(row.Port()), m_Value(m_Port)
    {
        ThrowIfFailed(row.Get(name, m_Value), kWmiUnit, line);
    }

    [[nodiscard]] Wmi& Port() const noexcept { return m_Port; }
    [[nodiscard]] VariantType Type() const noexcept { return m_Value.Get().type; }

    // The pointer is checked before the type, so NULL (whose payload is zero) raises `nullLine`.
    [[nodiscard]] Bstr AsString(std::int32_t nullLine, std::int32_t typeLine) const
    {
        const Bstr text = m_Value.Get().AsString();
        if (text == nullptr) {
            ThrowUnexpected(nullLine);
        }
        if (Type() != VariantType::String) {
            ThrowUnexpected(typeLine);
        }
        return text;
    }

    // The array, or null when the property holds none of that type: elements of another size must not be written into ours.
    [[nodiscard]] SafeArray* AsArray(VariantType arrayType) const noexcept
    {
        return Type() == arrayType ? m_Value.Get().AsArray() : nullptr;
    }

    // Whatever the type; 0 for NULL.
    [[nodiscard]] std::uint32_t Low32() const noexcept
    {
        return Type() == VariantType::Null ? 0 : static_cast<std::uint32_t>(m_Value.Get().payload);
    }

    [[nodiscard]] bool AsBool() const noexcept { return static_cast<std::uint16_t>(m_Value.Get().payload) != 0; }

private:
    Wmi& m_Port;
    ComVariant m_Value;
};

std::u16string_view ViewOf(const Property& property, Bstr text) { return {text, property.Port().StringLength(text)}; }

// One element of a string array, as UTF-8 up to its first zero character.
std::string StringElement(Wmi& port, SafeArray* array, std::int32_t index)
{
    Bstr element = nullptr;
    const Hresult result = port.ArrayElement(array, index, &element);
    const ComString owned(port, element);
    ThrowIfFailed(result, kWmiUnit, 123);
    if (element == nullptr) {
        ThrowUnexpected(124);
    }
    return WideToUtf8(element);
}

}  // namespace

WmiCommonLib::WmiCommonLib(const std::u16string& query, WmiNamespace namespaceCode) : m_Query(std::make_unique<WmiQuery>())
{
    m_Query->Connect(NamespacePath(namespaceCode));
    m_Query->Execute(query.c_str());
    if (!m_Query->HasRows()) {
        ThrowUnexpected(57);
    }
    Next();
}

void WmiCommonLib::Next() { ThrowIfFailed(m_Query->Next(), kWmiUnit, 65); }

std::string WmiCommonLib::GetStringByField(const char16_t* name) const
{
    const Property property(*m_Query, name, 74);
    return WideToUtf8(ViewOf(property, property.AsString(75, 76)));
}

std::u16string WmiCommonLib::GetWstringByField(const char16_t* name) const
{
    const Property property(*m_Query, name, 82);
    return std::u16string(ViewOf(property, property.AsString(83, 84)));
}

std::vector<std::uint8_t> WmiCommonLib::GetUint8ArrayByField(const char16_t* name) const
{
    const Property property(*m_Query, name, 91);
    SafeArray* array = property.AsArray(VariantType::UInt8Array);
    std::int32_t upper = 0;
    // Without an array: the error of SafeArrayGetUBound for a null pointer.
    ThrowIfFailed(array == nullptr ? hresult::kInvalidArgument : property.Port().ArrayUpperBound(array, 1, &upper), kWmiUnit, 93);
    // The lower bound is taken as 0, not read.
    std::vector<std::uint8_t> bytes;
    for (std::int64_t index = 0; index <= upper; ++index) {
        std::uint8_t byte = 0;
        ThrowIfFailed(property.Port().ArrayElement(array, static_cast<std::int32_t>(index), &byte), kWmiUnit, 97);
        bytes.push_back(byte);
    }
    return bytes;
}

std::vector<std::string> WmiCommonLib::GetStringArrayByField(const char16_t* name) const
{
    const Property property(*m_Query, name, 116);
    SafeArray* array = property.AsArray(VariantType::StringArray);
    if (array == nullptr) {
        ThrowUnexpected(116);  // documented for a property that cannot be read; this project raises it for one that is no array too
    }
    const auto [lower, count] = property.Port().ArrayBounds(array);
    std::vector<std::string> texts;
    for (std::int64_t index = lower; index < std::int64_t{lower} + count; ++index) {
        texts.push_back(StringElement(property.Port(), array, static_cast<std::int32_t>(index)));
    }
    return texts;
}

std::int32_t WmiCommonLib::GetInt32ByField(const char16_t* name) const
{
    return static_cast<std::int32_t>(Property(*m_Query, name, 132).Low32());
}

std::uint32_t WmiCommonLib::GetUint32ByField(const char16_t* name) const { return Property(*m_Query, name, 144).Low32(); }

std::uint64_t WmiCommonLib::GetUint64ByField(const char16_t* name) const
{
    const Property property(*m_Query, name, 150);
    return static_cast<std::uint64_t>(WideToInt64(property.AsString(151, 152)));
}

bool WmiCommonLib::GetBoolByField(const char16_t* name) const
{
    const Property property(*m_Query, name, 158);
    if (property.Type() == VariantType::Null) {
        ThrowUnexpected(159);
    }
    if (property.Type() != VariantType::Bool) {
        ThrowUnexpected(160);
    }
    return property.AsBool();
}

}  // namespace Veyra::Orbis::Cpp::Common
