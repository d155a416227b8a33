#include "PluginFile.h"

#include <cstdio>

#include "Commands.h"
#include "Table.h"
#include "Terminal.h"

namespace orbis::host {

std::filesystem::path PluginFile(const std::filesystem::path& given)
{
    return given.empty() ? ProgramFolder() / PluginFileName("StorageCollector") : given;
}

std::string ShortName(const std::string& fullName) { return fullName.substr(fullName.rfind('.') + 1); }

int ReportLoadError(const border::PluginLoadError& error)
{
    std::fprintf(stderr, "orbis-host: %s\n", Printable(error.what()).c_str());
    std::fprintf(stderr, "orbis-host: the plug-in stands beside this program; --plugin FILE names another\n");
    return kExitNoPlugin;
}

}  // namespace orbis::host
