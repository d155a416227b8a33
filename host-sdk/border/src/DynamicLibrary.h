#pragma once

#include <filesystem>

namespace orbis::border {

// A library loaded at run time. It is never unloaded, so what it returns stays valid.
class DynamicLibrary {
public:
    // Throws PluginLoadError with the system's reason.
    explicit DynamicLibrary(const std::filesystem::path& absolutePath);

    // The address of an exported function, or null.
    [[nodiscard]] void* Find(const char* name) const noexcept;

private:
    void* m_Handle;
};

}  // namespace orbis::border
