#include "Suggest.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace orbis::host {
namespace {

std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; });
    return lower;
}

// Letters to add, drop, change or swap with a neighbour (optimal string alignment).
std::size_t Distance(std::string_view one, std::string_view other)
{
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(other.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t at = 1; at <= one.size(); ++at) {
        std::vector<std::size_t> row(other.size() + 1, at);
        for (std::size_t to = 1; to <= other.size(); ++to) {
            row[to] = std::min({last[to] + 1, row[to - 1] + 1, last[to - 1] + (one[at - 1] == other[to - 1] ? 0U : 1U)});
            if (at > 1 && to > 1 && one[at - 1] == other[to - 2] && one[at - 2] == other[to - 1]) {
                row[to] = std::min(row[to], beforeLast[to - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

}  // namespace

std::string Nearest(const std::vector<std::string>& known, std::string_view given)
{
    const std::string word = Lower(given);
    std::string nearest;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        const std::string lower = Lower(candidate);
        // A prefix of a word counts as near.
        const std::size_t distance = word.size() >= 3 && lower.starts_with(word) ? 1 : Distance(lower, word);
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string FindWord(const std::vector<std::string>& known, std::string_view given, std::string_view what)
{
    const std::string word = Lower(given);
    const auto found = std::find_if(known.begin(), known.end(), [&](const std::string& one) { return Lower(one) == word; });
    if (found != known.end()) {
        return *found;
    }
    std::string advice;
    if (const std::string nearest = Nearest(known, given); !nearest.empty()) {
        advice = fmt::format("Did you mean {}?", nearest);
    } else if (!known.empty()) {
        advice = "One of these:";
        for (const std::string& one : known) {
            advice += "\n  " + one;
        }
    }
    throw std::invalid_argument(fmt::format("no such {}: {}{}{}", what, given, known.empty() ? "" : ". ", advice));
}

}  // namespace orbis::host
