#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "Targets.h"

// libFuzzer's entry points. The program's first argument names the target; libFuzzer gets the others.

namespace {

const orbis::fuzz::Target* chosen = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    const auto& targets = orbis::fuzz::kTargets;
    chosen = *argc > 1 ? std::ranges::find(targets, std::string_view((*argv)[1]), &orbis::fuzz::Target::name) : targets.end();
    if (chosen == targets.end()) {
        std::cerr << "usage: orbis-fuzz TARGET [LIBFUZZER ARGUMENT...]; fuzz/run does the rest\n";
        std::exit(2);
    }
    std::rotate(*argv + 1, *argv + 2, *argv + *argc);
    --*argc;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    chosen->run({data, size});
    return 0;
}
