#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MachineState.h"
#include "platform/Errors.h"

namespace orbis::simulated {

// What reading one property gives, before it becomes a variant.
struct PropertyValue {
    platform::VariantType type = platform::VariantType::Null;
    std::uint64_t payload = 0;           // of types that hold no pointer
    std::optional<std::u16string> text;  // VT_BSTR; nothing is a null pointer
    platform::Hresult getError = platform::hresult::kOk;

    // Arrays, of bytes or of strings.
    ByteVector bytes;
    std::vector<std::optional<std::u16string>> texts;
    std::int32_t lowerBound = 0;
    std::optional<std::int32_t> upperBound;  // claimed, where it is not the true one
    platform::Hresult boundError = platform::hresult::kOk;
    platform::Hresult elementError = platform::hresult::kOk;
    std::int32_t failingIndex = 0;
};
[[nodiscard]] PropertyValue TextValue(std::string_view utf8);
[[nodiscard]] PropertyValue NumberValue(std::uint32_t number);     // CIM uint32 and uint16 arrive as VT_I4
[[nodiscard]] PropertyValue BigNumberValue(std::uint64_t number);  // CIM uint64 arrives as text
[[nodiscard]] PropertyValue BoolValue(bool value);
[[nodiscard]] PropertyValue BytesValue(ByteVector bytes);
[[nodiscard]] PropertyValue NullValue();
[[nodiscard]] PropertyValue ValueOf(const description::WmiProperty& property);

// One row.
class WmiRow {
public:
    platform::Hresult nextError = platform::hresult::kOk;

    WmiRow& Set(std::string_view name, PropertyValue value);
    void Remove(std::string_view name);
    [[nodiscard]] const PropertyValue* Find(const std::u16string& lowerCaseName) const;

private:
    std::map<std::u16string, PropertyValue> m_Properties;  // by lower-case name
};
using WmiRows = std::vector<std::shared_ptr<const WmiRow>>;

// The rows of a class of a namespace with the disks that are plugged in now; nothing when the namespace has no such class.
[[nodiscard]] std::optional<WmiRows> FindRows(const MachineState& machine, const std::string& wmiNamespace,
                                              const std::string& className);
// The HRESULT with which the file makes a query of the class fail.
[[nodiscard]] platform::Hresult QueryError(const MachineState& machine, const std::string& wmiNamespace,
                                           const std::string& className);
[[nodiscard]] bool HasNamespace(const MachineState& machine, const std::string& wmiNamespace);

// What a WQL query asks for: SELECT list FROM class. Nothing for any other statement.
struct WmiQueryText {
    std::vector<std::u16string> properties;  // in lower case; empty: all
    std::string className;
};
[[nodiscard]] std::optional<WmiQueryText> ParseQuery(std::string_view query);

}  // namespace orbis::simulated
