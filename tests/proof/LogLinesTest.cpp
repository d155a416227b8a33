// Every line that is logged on the example machines names a file and a line of it: there must stand the log call.
#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Collections.h"
#include "simulated/MachineFile.h"

namespace orbis::proof {
namespace {

// The statement of a source file up to the end of line `number`; empty when the file has no such line.
std::string StatementAt(std::string file, int number)
{
    std::ranges::replace(file, '\\', '/');
    std::ifstream source("testdata/sources/" + file + ".cpp");
    if (!source) {
        source.open("testdata/sources/" + file + ".h");
    }
    std::string statement;
    for (std::string line; std::getline(source, line); --number) {
        statement += line;
        if (number == 1) {
            return line.find("__LINE__") != std::string::npos ? statement : line;
        }
        if (line.ends_with(';') || line.ends_with('{') || line.ends_with('}')) {
            statement.clear();
        }
    }
    return "";
}

TEST(LogLines, NameTheirLogCall)
{
    for (const std::string& name : ExampleMachines()) {
        PluginOnMachine plugin(simulated::ParseMachine(MachineText(name)));
        plugin.Construct();
        std::vector<fakes::LogLine> lines;
        for (const Datatype datatype : kDatatypes) {
            std::ranges::move(plugin.CollectNext(datatype).log, std::back_inserter(lines));
        }
        ASSERT_EQ(lines.size(), plugin.SourceLines().size());
        for (std::size_t at = 0; at < lines.size(); ++at) {
            if (!lines[at].file.empty()) {  // one call deliberately names none
                const std::string statement = StatementAt(lines[at].file, plugin.SourceLines()[at]);
                EXPECT_NE(statement.find(lines[at].level + "("), std::string::npos)
                    << lines[at] << ":" << plugin.SourceLines()[at] << " is: " << statement;
            }
        }
        EXPECT_EQ(plugin.Finish(), PluginOnMachine::kNothingOpen);
    }
}

}  // namespace
}  // namespace orbis::proof
