#pragma once

#include <cstddef>

namespace orbis::host {

// How text for people is laid out.
struct Style {
    std::size_t width = 0;   // columns of the terminal; 0 where there is none: nothing is cut
    bool isAscii = false;    // nothing but ASCII is written
    bool hasColour = false;  // colours are understood and wanted
    bool canRedraw = false;  // the cursor can be moved
};

}  // namespace orbis::host
