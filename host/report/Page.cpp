#include "report/Page.h"

#include <google/protobuf/util/json_util.h>
#include <stdexcept>
#include <string_view>

#include "PageText.h"

namespace orbis::host {

std::string JsonForScript(const std::string& json)
{
    // All of these occur only in JSON's texts, where they can be escaped.
    constexpr std::string_view kSeparators = "\xE2\x80";  // U+2028 and U+2029 end a line in older script engines
    std::string out;
    out.reserve(json.size());
    for (std::size_t at = 0; at < json.size(); ++at) {
        const bool isSeparator =
            json.compare(at, 2, kSeparators) == 0 && at + 2 < json.size() && (json[at + 2] == '\xA8' || json[at + 2] == '\xA9');
        if (isSeparator) {
            out += json[at + 2] == '\xA8' ? "\\u2028" : "\\u2029";
            at += 2;
        } else if (json[at] == '<') {
            out += "\\u003c";
        } else {
            out += json[at];
        }
    }
    return out;
}

std::string RenderPage(const insight::Report& report)
{
    std::string json;
    const auto status = google::protobuf::util::MessageToJsonString(report, &json);
    if (!status.ok()) {
        throw std::runtime_error("the report cannot be written as JSON: " + status.ToString());
    }
    std::string page(kPageHead);
    page += JsonForScript(json);
    page += kPageTail;
    return page;
}

}  // namespace orbis::host
