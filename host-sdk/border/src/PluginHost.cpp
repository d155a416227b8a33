#include "HostBorder/PluginHost.h"

#include <system_error>

#include "DynamicLibrary.h"
#include "TextOf.h"

namespace orbis::border {
namespace {

const OrbisRegistration& RegistrationOf(const std::filesystem::path& library)
{
    std::error_code error;
    // With the system's separators: for a path with slashes, Windows does not search the library's folder for its dependencies.
    const std::filesystem::path path = std::filesystem::absolute(library, error).make_preferred();
    if (error) {
        throw PluginLoadError("cannot load " + TextOf(library) + ": " + error.message());
    }
    const DynamicLibrary loaded(path);
    const auto function = reinterpret_cast<OrbisPluginRegistrationFunction>(loaded.Find(ORBIS_PLUGIN_REGISTRATION_NAME));
    const OrbisRegistration* registration = function != nullptr ? function() : nullptr;
    if (registration == nullptr) {
        throw PluginLoadError(TextOf(path) + " is no plug-in: it has no function " ORBIS_PLUGIN_REGISTRATION_NAME);
    }
    return *registration;
}

void ThrowIfNotUsable(const OrbisRegistration& registration)
{
    if (registration.version != ORBIS_BORDER_VERSION) {
        throw PluginLoadError("the plug-in's border has version " + std::to_string(registration.version) + ", this host knows " +
                              std::to_string(ORBIS_BORDER_VERSION) + " only: update the older of the two");
    }
    if (registration.structSize < sizeof(OrbisRegistration) || registration.operationSize < sizeof(OrbisOperation)) {
        throw PluginLoadError("the plug-in's registration is too short for its version");
    }
}

}  // namespace

PluginHost PluginHost::Load(const std::filesystem::path& library) { return PluginHost(RegistrationOf(library)); }

PluginHost::PluginHost(const OrbisRegistration& registration) : m_Registration(&registration)
{
    ThrowIfNotUsable(registration);
    m_Id = TextOf(registration.id);
    m_Name = TextOf(registration.name);
    m_Description = TextOf(registration.description);
    m_LogId = TextOf(registration.logId);
    for (std::size_t index = 0; index < registration.operationCount; ++index) {
        const auto& operation = ElementOf(registration.operations, registration.operationSize, index);
        m_Operations.push_back({index, std::string(TextOf(operation.name)), std::string(TextOf(operation.datatype)),
                                std::string(TextOf(operation.description))});
    }
}

PluginObject PluginHost::Create(std::shared_ptr<common::IZelLog> log) const
{
    return PluginObject(*m_Registration, std::move(log));
}

}  // namespace orbis::border
