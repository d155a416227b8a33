#pragma once

#include <filesystem>
#include <string>

namespace orbis::host {

// The plug-in to load: the given one, or the one beside this program. No other folder is searched.
[[nodiscard]] std::filesystem::path PluginFile(const std::filesystem::path& given);
// "SmartNvmeInfo" of "veyra.orbis.datatypes.SmartNvmeInfo"
[[nodiscard]] std::string ShortName(const std::string& fullName);

}  // namespace orbis::host
