#include "emulated/Wql.h"

#include <algorithm>
#include <array>

#include "emulated/CaseFolding.h"

namespace orbis::platform::emulated {
namespace {

constexpr std::array<std::string_view, 8> kNamespaces{"root",
                                                      R"(root\cimv2)",
                                                      R"(root\wmi)",
                                                      R"(root\microsoft\windows\storage)",
                                                      R"(root\default)",
                                                      R"(root\standardcimv2)",
                                                      R"(root\cimv2\security\microsoftvolumeencryption)",
                                                      R"(root\cimv2\power)"};

constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kMarks = ",*";  // each a word of its own

// The next word of a query, taken away from it.
std::string_view NextWord(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const auto isEnd = [](char c) { return kBlanks.find(c) != kBlanks.npos || kMarks.find(c) != kMarks.npos; };
    const bool isMark = !text.empty() && kMarks.find(text.front()) != kMarks.npos;
    const auto length = isMark ? 1 : std::ranges::find_if(text, isEnd) - text.begin();
    const std::string_view word = text.substr(0, static_cast<std::size_t>(length));
    text.remove_prefix(word.size());
    return word;
}

}  // namespace

Hresult ParseNamespacePath(std::string_view path, std::string& wmiNamespace)
{
    wmiNamespace = LowerAscii(std::string(path));
    std::ranges::replace(wmiNamespace, '/', '\\');
    if (!wmiNamespace.starts_with("\\\\")) {
        return hresult::kOk;
    }
    if (wmiNamespace.starts_with("\\\\\\")) {
        return hresult::kWbemInvalidParameter;
    }
    const std::size_t end = std::min(wmiNamespace.find('\\', 2), wmiNamespace.size());
    const std::string computer = wmiNamespace.substr(2, end - 2);
    wmiNamespace.erase(0, end + 1);
    return computer.empty() || computer == "." ? hresult::kOk : hresult::kRpcServerUnavailable;
}

bool IsWindowsNamespace(std::string_view wmiNamespace) { return std::ranges::find(kNamespaces, wmiNamespace) != kNamespaces.end(); }

bool ParseSelect(WmiQuery& query)
{
    std::string_view text = query.text;
    if (!EqualIgnoreCase(NextWord(text), "SELECT")) {
        return false;
    }
    for (std::string_view separator = ","; !EqualIgnoreCase(separator, "FROM"); separator = NextWord(text)) {
        const std::string_view property = separator == "," ? NextWord(text) : "";
        if (property.empty() || property == ",") {
            return false;
        }
        query.properties.emplace_back(property);
    }
    if (std::ranges::find(query.properties, "*") != query.properties.end()) {
        query.properties.clear();
    }
    query.className = NextWord(text);
    return !query.className.empty() && kMarks.find(query.className.front()) == kMarks.npos && NextWord(text).empty();
}

}  // namespace orbis::platform::emulated
