#include <dlfcn.h>

#include <string>

#include "DynamicLibrary.h"
#include "HostBorder/PluginHost.h"
#include "TextOf.h"

namespace orbis::border {

DynamicLibrary::DynamicLibrary(const std::filesystem::path& absolutePath)
    : m_Handle(dlopen(absolutePath.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (m_Handle == nullptr) {
        const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): glibc keeps one for each thread
        throw PluginLoadError("cannot load " + TextOf(absolutePath) + ": " + (reason != nullptr ? reason : "no reason given"));
    }
}

void* DynamicLibrary::Find(const char* name) const noexcept { return dlsym(m_Handle, name); }

}  // namespace orbis::border
