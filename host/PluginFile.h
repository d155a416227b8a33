#pragma once

#include <filesystem>
#include <string>

#include "HostBorder/PluginHost.h"

namespace orbis::host {

// The plug-in to load: the given one, or the one beside this program. Never looked for anywhere else.
[[nodiscard]] std::filesystem::path PluginFile(const std::filesystem::path& given);
// "SmartNvmeInfo" of "veyra.orbis.datatypes.SmartNvmeInfo"
[[nodiscard]] std::string ShortName(const std::string& fullName);
// Says on standard error why there is no plug-in, and returns the exit status for that.
[[nodiscard]] int ReportLoadError(const border::PluginLoadError& error);

}  // namespace orbis::host
