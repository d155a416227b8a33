#include "options/HelpText.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "ExitStatus.h"
#include "Text.h"

namespace orbis::host {

std::string Fitted(const std::string& help, std::size_t width)
{
    constexpr std::size_t kLeastColumns = 30;
    std::string fitted;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        if (width == 0 || line.size() <= width) {
            fitted += line + '\n';
            continue;
        }
        const std::size_t begin = line.find_first_not_of(' ');
        const std::size_t gap = line.find("  ", begin);
        std::size_t description = gap == std::string::npos ? begin : line.find_first_not_of(' ', gap);
        std::string lead = line.substr(0, description);
        const std::string text = line.substr(description);
        if (description + kLeastColumns > width) {  // under the name, where there is no room beside it
            description = std::min(description, begin + 4);
            fitted += gap == std::string::npos ? "" : line.substr(0, gap) + '\n';
            lead = std::string(description, ' ');
        }
        for (const std::string& part : Wrap(text, width - std::min(width - 1, description))) {
            fitted += std::exchange(lead, std::string(description, ' ')) + part + '\n';
        }
    }
    return fitted;
}

std::string ExitStatusFooter()
{
    std::string text = "Exit status, the first that applies:";
    for (const ExitStatusText& one : kExitStatuses) {
        text += fmt::format("\n  {}  {}", one.status, one.text);
    }
    return text;
}

}  // namespace orbis::host
