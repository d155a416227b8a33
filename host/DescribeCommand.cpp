#include <fmt/format.h>
#include <cstdio>

#include "Commands.h"
#include "HostBorder/PluginHost.h"
#include "PluginFile.h"
#include "Table.h"
#include "Terminal.h"

namespace orbis::host {

int Describe(const DescribeOptions& options)
{
    try {
        const border::PluginHost plugin = border::PluginHost::Load(PluginFile(options.plugin));
        Table facts;
        facts.AddColumn("");
        facts.AddColumn("");
        facts.AddRow({"Plug-in", plugin.Name()});
        facts.AddRow({"", plugin.Description()});
        facts.AddRow({"Id", plugin.Id()});
        facts.AddRow({"Log id", plugin.LogId()});
        Table operations;
        operations.AddColumn("Datatype");
        operations.AddColumn("What it tells");
        for (const border::Operation& operation : plugin.Operations()) {
            operations.AddRow({ShortName(operation.datatype), operation.description});
        }
        PrepareOutput(false);
        const std::size_t width = OutputIsTerminal() ? GetTerminalSize().columns : 0;
        const std::string text = facts.Render(width) + '\n' + operations.Render(width);
        std::fwrite(text.data(), 1, text.size(), stdout);
        return kExitOk;
    } catch (const border::PluginLoadError& error) {
        return ReportLoadError(error);
    }
}

}  // namespace orbis::host
