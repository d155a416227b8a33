#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "views/Views.h"

namespace orbis::host {

// Activity of the disks over the passes of a watch: the latest figures and a short history of how busy each disk was. A disk that
// was removed keeps its line, without figures, while its history lasts; a new disk gets a line.
class LiveView {
public:
    void Add(const ViewItems<datatypes::PhysicalDiskDynamicInfo>& items);
    [[nodiscard]] std::string Render(const Disks& disks, const Style& style) const;

private:
    struct Activity {
        datatypes::PhysicalDiskDynamicInfo latest;
        bool isPresent = false;
        std::deque<float> busy;  // percent, newest last; negative: no figure
    };
    std::vector<std::string> m_Order;
    std::map<std::string, Activity> m_Disks;
};

// One character for each value, U+2581 to U+2588, the highest for `full`; a blank for a missing value.
[[nodiscard]] std::string Sparkline(const std::deque<float>& values, float full);

}  // namespace orbis::host
