#include <fmt/format.h>
#include <google/protobuf/text_format.h>
#include <algorithm>
#include <map>
#include <stdexcept>

#include "explain/SourcesText.h"
#include "insight/Explanation.h"

namespace orbis::insight {
namespace {

struct Index {
    SourceTable table;
    std::map<std::string_view, const FieldSource*> byName;
    std::map<Request, const RequestText*> requests;

    Index()
    {
        if (!google::protobuf::TextFormat::ParseFromString(std::string(kSourcesText), &table)) {
            throw std::logic_error("insight/sources/sources.txtpb cannot be read");
        }
        for (const FieldSource& field : table.field()) {
            byName[field.name()] = &field;
        }
        for (const RequestText& request : table.request()) {
            requests[request.request()] = &request;
        }
    }
};

const Index& TheIndex()
{
    static const Index index;
    return index;
}

std::string BytesText(const Place& place, std::uint32_t base)
{
    if (!place.has_first()) {
        return {};
    }
    const std::uint32_t first = place.first() + base;
    const std::uint32_t last = place.last() + base;
    std::string text = first == last ? fmt::format(" byte {}", first) : fmt::format(" bytes {}-{}", first, last);
    if (place.has_high()) {
        text += place.high() == place.low() ? fmt::format(" bit {}", place.high())
                                            : fmt::format(" bits {}-{}", place.high(), place.low());
    }
    return text;
}

std::string OnePlaceText(const Place& place, std::uint32_t base, std::uint32_t attribute)
{
    switch (place.request()) {
        case WMI:
            return place.wmi_class() + "." + place.property();
        case COUNTER:
            return fmt::format("counter \"{}\"", place.counter());
        case SMBIOS:
            return fmt::format("SMBIOS type {} string {}", place.structure(), place.string());
        case OTHER_FIELD:
            return place.field();
        case CONSTANT:
            return "constant";
        default:
            break;
    }
    std::string text = PageName(place.request());
    if (place.has_attribute() || attribute != 0) {
        text += fmt::format(" attribute {}", place.has_attribute() ? place.attribute() : attribute);
    }
    text += BytesText(place, base);
    if (!place.symbol().empty()) {
        text += fmt::format(" ({})", place.symbol());
    }
    return text;
}

}  // namespace

const SourceTable& Sources() { return TheIndex().table; }

const FieldSource* SourceOf(std::string_view field)
{
    const auto found = TheIndex().byName.find(field);
    return found == TheIndex().byName.end() ? nullptr : found->second;
}

std::string PageName(Request request)
{
    const auto found = TheIndex().requests.find(request);
    return found == TheIndex().requests.end() ? Request_Name(request) : found->second->name();
}

std::string PlaceText(const FieldSource& source, std::uint32_t base, std::uint32_t attribute)
{
    std::string text;
    for (const Place& place : source.from()) {
        text += (text.empty() ? "" : source.joined() ? " and " : ", else ") + OnePlaceText(place, base, attribute);
    }
    return text;
}

}  // namespace orbis::insight
