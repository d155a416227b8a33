#pragma once

#include <cstddef>

namespace orbis::host {

// The layout of text for people.
struct Style {
    std::size_t width = 0;   // columns of the terminal; 0 where there is none: nothing is cut
    bool isAscii = false;    // only ASCII is written
    bool hasColour = false;  // the terminal supports colours and they are not switched off
    bool canRedraw = false;  // the cursor can be moved
};

}  // namespace orbis::host
