#pragma once

#include <string>
#include <string_view>

#include "emulated/WmiFacts.h"

// WMI's texts: paths of namespaces and queries.
namespace orbis::platform::emulated {

// The namespace of an object path ("root\cimv2", "\\.\root\cimv2", or with slashes) in the form that a WmiQuery has. Whether there
// is such a namespace is not looked at.
[[nodiscard]] Hresult ParseNamespacePath(std::string_view path, std::string& wmiNamespace);
// Whether every Windows has the namespace.
[[nodiscard]] bool IsWindowsNamespace(std::string_view wmiNamespace);

// Reads SELECT list FROM class out of `query.text`. A condition (WHERE) is not understood and makes the query an invalid one.
[[nodiscard]] bool ParseSelect(WmiQuery& query);

}  // namespace orbis::platform::emulated
