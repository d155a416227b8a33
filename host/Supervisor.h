#pragma once

#include <string>
#include <vector>

namespace orbis::host {

struct Supervision {
    double seconds = 0;                  // the deadline of a pass
    bool isWatch = false;                // collect until interrupted
    std::vector<std::string> arguments;  // those of this program, in UTF-8, without its name
};

// Runs this command in a child process. A source that does not answer within the deadline is left out, and the rest is collected in
// another child. Returns the exit status.
[[nodiscard]] int Supervise(const Supervision& supervision);

}  // namespace orbis::host
