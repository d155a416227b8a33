#include "Commands.h"
#include "HostBorder/PluginHost.h"
#include "PluginFile.h"
#include "Table.h"

namespace orbis::host {

int Describe(const DescribeOptions& options, Output& output)
{
    const border::PluginHost plugin = border::PluginHost::Load(PluginFile(options.plugin));
    std::string text =
        RenderFacts({{"Plug-in", plugin.Name()}, {"", plugin.Description()}, {"Id", plugin.Id()}, {"Log id", plugin.LogId()}},
                    output.GetStyle(), 0);
    std::vector<std::pair<std::string, std::string>> operations{{"Datatype", "Contents"}};
    for (const border::Operation& operation : plugin.Operations()) {
        operations.emplace_back(ShortName(operation.datatype), operation.description);
    }
    text += '\n' + RenderFacts(operations, output.GetStyle(), 0);
    output.Write(text);
    return kExitOk;
}

}  // namespace orbis::host
