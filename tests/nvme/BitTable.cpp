#include "BitTable.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace orbis::tests {
namespace {

constexpr std::size_t kPowerStates = 32;
constexpr std::size_t kPowerStateBits = 32 * 8;

// "7:4" or "4" as low and high.
std::pair<std::size_t, std::size_t> Range(const std::string& text)
{
    const auto colon = text.find(':');
    const auto high = std::stoul(text);
    return {colon == std::string::npos ? high : std::stoul(text.substr(colon + 1)), high};
}

}  // namespace

BitTable::BitTable(const std::string& path, std::size_t pageBytes) : m_ByBit(pageBytes * 8)
{
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error(path + " cannot be read");
    }
    std::string line;
    std::string bytes;
    std::string slot;
    std::string message;  // whose fields a line lists
    std::size_t nested = 0;
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::istringstream words(line);
        BitField field;
        try {
            if (line.front() != ' ') {
                words >> bytes >> slot >> message;
                nested = 0;
                field.slot = slot == "-" ? 0 : std::stoul(slot);
                if (!message.ends_with(':')) {
                    field.name = message;
                    words >> field.form;
                    Add(bytes, field);
                    continue;
                }
                message.back() = '.';
            }
            for (std::string bits, name; words >> bits >> name;) {
                field.name = message + name;
                field.slot = std::stoul(slot);
                field.nested = ++nested;
                Add(bytes + "." + bits, field);
            }
        } catch (const std::exception& failure) {
            throw std::runtime_error(path + ":" + std::to_string(number) + ": " + failure.what());
        }
    }
}

void BitTable::Add(const std::string& bytes, const BitField& field)
{
    const auto dot = bytes.find('.');
    const auto [lowByte, highByte] = Range(bytes.substr(0, dot));
    const auto [low, high] = dot == std::string::npos ? std::pair<std::size_t, std::size_t>{0, (highByte - lowByte) * 8 + 7}
                                                      : Range(bytes.substr(dot + 1));
    const auto star = field.name.find("[*]");
    for (std::size_t state = 0; state < (star == std::string::npos ? 1 : kPowerStates); ++state) {
        auto one = field;
        if (star != std::string::npos) {
            one.name.replace(star, 3, "[" + std::to_string(state) + "]");
        }
        one.firstBit = lowByte * 8 + low + state * kPowerStateBits;
        one.bits = high - low + 1;
        m_Fields.push_back(one);
        for (std::size_t bit = one.firstBit; bit <= one.firstBit + (high - low); ++bit) {
            if (std::exchange(m_ByBit.at(bit), m_Fields.size()) != 0) {
                throw std::runtime_error("bit " + std::to_string(bit) + " belongs to two fields");
            }
        }
    }
}

const BitField* BitTable::At(std::size_t bit) const
{
    const auto position = m_ByBit.at(bit);
    return position == 0 ? nullptr : &m_Fields[position - 1];
}

}  // namespace orbis::tests
