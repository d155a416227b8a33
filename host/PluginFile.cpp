#include "PluginFile.h"

#include "Terminal.h"

namespace orbis::host {

std::filesystem::path PluginFile(const std::filesystem::path& given)
{
    return given.empty() ? ProgramFolder() / PluginFileName("StorageCollector") : given;
}

std::string ShortName(const std::string& fullName) { return fullName.substr(fullName.rfind('.') + 1); }

}  // namespace orbis::host
