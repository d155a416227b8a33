#include <algorithm>
#include <cstdint>

#include "Metrics.h"

namespace orbis::host {

void MetricsText::Add(const Family& family, Labels labels, std::string value)
{
    std::string series(family.name);
    const char* separator = "{";
    for (const auto& [name, text] : labels) {
        series += std::exchange(separator, ",") + name + "=\"";
        for (const char letter : text) {
            if (letter == '\n') {
                series += "\\n";
            } else {
                series += letter == '\\' || letter == '"' ? "\\" : "";
                series += letter;
            }
        }
        series += '"';
    }
    series += labels.empty() ? "" : "}";
    if (!m_Series.insert(series).second) {
        return;
    }
    auto found = m_Families.find(family.name);
    if (found == m_Families.end()) {
        const std::string name(family.name);
        m_Order.push_back(name);
        const std::string type = family.name.ends_with("_total") ? "counter" : "gauge";
        found =
            m_Families
                .emplace(name,
                         Samples{"# HELP " + name + ' ' + std::string(family.help) + "\n# TYPE " + name + ' ' + type + '\n', {}})
                .first;
    }
    found->second.lines += series + ' ' + value + '\n';
}

std::string MetricsText::Text() const
{
    std::string text;
    for (const std::string& name : m_Order) {
        const Samples& samples = m_Families.find(name)->second;
        text += samples.head + samples.lines;
    }
    return text;
}

std::string Decimal(std::string_view littleEndian, std::uint32_t factor)
{
    constexpr std::uint64_t kLimb = 1'000'000'000;
    std::vector<std::uint64_t> limbs{0};  // least first
    const auto multiplyAndAdd = [&](std::uint64_t by, std::uint64_t carry) {
        for (std::uint64_t& limb : limbs) {
            carry += limb * by;
            limb = carry % kLimb;
            carry /= kLimb;
        }
        if (carry != 0) {
            limbs.push_back(carry);
        }
    };
    std::for_each(littleEndian.rbegin(), littleEndian.rend(),
                  [&](char byte) { multiplyAndAdd(256, static_cast<unsigned char>(byte)); });
    multiplyAndAdd(factor, 0);
    std::string text;
    for (const std::uint64_t limb : limbs) {
        std::string digits = std::to_string(limb);
        digits.insert(0, 9 - digits.size(), '0');
        text.insert(0, digits);
    }
    const std::size_t first = text.find_first_not_of('0');
    return first == std::string::npos ? "0" : text.substr(first);
}

}  // namespace orbis::host
