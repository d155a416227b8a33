#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Targets.h"

namespace orbis::fuzz {

void PrintTo(const Target& target, std::ostream* out) { *out << target.name; }

namespace {

class Replay : public testing::TestWithParam<Target> {};

// Runs the empty input, then every input that once failed, through its target.
TEST_P(Replay, KeptInputs)
{
    GetParam().run({});
    const std::filesystem::path kept = std::filesystem::path("testdata/fuzz") / GetParam().name;
    for (const auto& entry : std::filesystem::directory_iterator(kept)) {
        SCOPED_TRACE(entry.path().string());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        std::cout << entry.path().string() << std::endl;  // the target may end the process
        GetParam().run({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    }
}

INSTANTIATE_TEST_SUITE_P(Fuzz, Replay, testing::ValuesIn(kTargets), [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace orbis::fuzz
