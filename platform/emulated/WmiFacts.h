#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Wmi.h"

// The facts of a machine that WMI reports. Names are UTF-8 and are compared without regard to case.
namespace orbis::platform::emulated {

// A one-dimensional safe array of bytes or of strings. It may claim another upper bound than it has, and it may fail.
struct WmiArray {
    VariantType type = VariantType::UInt8Array;
    std::vector<std::uint8_t> bytes;
    std::vector<std::optional<std::u16string>> texts;  // nothing is a null pointer
    std::int32_t lowerBound = 0;
    std::optional<std::int32_t> upperBound;  // claimed, where it is not the true one
    Hresult boundError = hresult::kOk;       // of SafeArrayGetUBound
    Hresult elementError = hresult::kOk;     // of SafeArrayGetElement at `failingIndex`
    std::int32_t failingIndex = 0;

    [[nodiscard]] std::size_t Count() const noexcept { return type == VariantType::StringArray ? texts.size() : bytes.size(); }
};

// The result of reading a property.
using WmiValue = std::variant<Variant,         // a type and its payload, or a null string; never another pointer
                              std::u16string,  // VT_BSTR
                              std::shared_ptr<const WmiArray>,
                              Hresult>;  // reading fails

// One row. Names of properties are not copied: they last as long as the machine.
class WmiRow {
public:
    // Adds a property, or replaces the one of that name.
    void Set(std::string_view name, WmiValue value);
    void Remove(std::string_view name);
    [[nodiscard]] const WmiValue* Find(std::string_view name) const;

    // Add a property whose name the row does not have yet, with the variant that its CIM type arrives as.
    WmiRow& Text(std::string_view name, std::string_view utf8);
    WmiRow& Number(std::string_view name, std::uint32_t number);  // uint16 and uint32: VT_I4
    WmiRow& Big(std::string_view name, std::uint64_t number);     // uint64: decimal text
    WmiRow& Flag(std::string_view name, bool value);
    WmiRow& Null(std::string_view name);
    WmiRow& TextOrNull(std::string_view name, std::string_view utf8);  // null for an empty text
    WmiRow& Add(std::string_view name, WmiValue value);

private:
    std::vector<std::pair<std::string_view, WmiValue>> m_Properties;
};
using WmiRows = std::vector<std::shared_ptr<const WmiRow>>;

// A query, once it has been understood as SELECT list FROM class.
struct WmiQuery {
    std::string wmiNamespace;             // lower case, backslashes, no computer: "root\cimv2"
    std::string text;                     // as it was sent
    std::string className;                // as it was written
    std::vector<std::string> properties;  // those asked for; empty: all
};

// The outcome of a query: what ExecQuery answers, and if it succeeds the rows and what Next answers behind the last of them. A
// synchronous query (without WBEM_FLAG_RETURN_IMMEDIATELY) fails in ExecQuery where the rows end with a failure.
struct WmiAnswer {
    Hresult result = hresult::kOk;
    WmiRows rows;
    Hresult end = hresult::kWbemSFalse;
    bool isNull = false;  // ExecQuery succeeds without an enumerator
};
// The answer to a query that fails for its class: there is none of that name, or it may not be read.
[[nodiscard]] inline WmiAnswer WmiClassFails(Hresult error) { return {hresult::kOk, {}, error}; }

// COM as the process finds it.
struct ComFacts {
    bool singleThreaded = false;           // every thread is in a single-threaded apartment already
    Hresult locatorResult = hresult::kOk;  // of creating the WBEM locator
};

class WmiFacts {
public:
    virtual ~WmiFacts() = default;

    [[nodiscard]] virtual ComFacts Com() const { return {}; }
    // Namespaces beside those of every Windows, as a WmiQuery has them.
    [[nodiscard]] virtual bool HasNamespace(std::string_view /*path*/) const { return false; }
    // Unknown class: WmiClassFails(kWbemInvalidClass). May be called from several threads at once.
    [[nodiscard]] virtual WmiAnswer Query(const WmiQuery& query) = 0;
};

// COM and WMI over those facts. `facts` must outlive the result and everything that it hands out.
[[nodiscard]] std::unique_ptr<Wmi> MakeWmi(WmiFacts& facts);

}  // namespace orbis::platform::emulated
