#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Wmi.h"

// WMI for machines that have none: objects, strings, variants and safe arrays over plain rows. Whoever knows a machine's rows
// implements RowSource; the port made of it plays COM and WMI on top of it.
namespace orbis::platform {

// One property's value, and with it the variant type that a reader gets. WMI hands uint32 out as VT_I4, uint16 as VT_I4 too, and
// 64-bit numbers as decimal text; the helpers below follow it.
struct RowNull {
    friend bool operator==(const RowNull&, const RowNull&) = default;
};
using RowBytes = std::vector<std::uint8_t>;      // VT_ARRAY | VT_UI1
using RowStrings = std::vector<std::u16string>;  // VT_ARRAY | VT_BSTR
using RowValue = std::variant<RowNull,           // VT_NULL
                              Variant,           // a type and its raw payload; never a string or an array
                              std::u16string,    // VT_BSTR
                              RowBytes, RowStrings>;

[[nodiscard]] RowValue RowUint32(std::uint32_t value);
[[nodiscard]] RowValue RowUint64(std::uint64_t value);
[[nodiscard]] RowValue RowBool(bool value);

struct RowProperty {
    std::u16string name;
    RowValue value;
};
using Row = std::vector<RowProperty>;

// Where rows come from. Namespaces arrive in one form: lower case, backslashes, no "\\." in front ("root\cimv2"). Classes arrive as
// the query wrote them; WMI compares their names without regard to case, and so should an implementation (EqualIgnoreCase).
class RowSource {
public:
    virtual ~RowSource() = default;

    [[nodiscard]] virtual bool HasNamespace(std::u16string_view path) = 0;
    // The rows of a class in their lasting order. Unknown class: kWbemInvalidClass.
    [[nodiscard]] virtual Hresult Rows(std::u16string_view path, std::u16string_view className, std::vector<Row>& rows) = 0;
};

[[nodiscard]] bool EqualIgnoreCase(std::u16string_view left, std::u16string_view right) noexcept;

// Understands "SELECT * FROM Class" and "SELECT Property, ... FROM Class"; a WHERE clause is an invalid query here. `source` must
// outlive the result and everything that it hands out.
[[nodiscard]] std::unique_ptr<Wmi> MakeRowWmi(RowSource& source);

}  // namespace orbis::platform
