#include "Common/ComCtx.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

constexpr std::uint32_t kMultithreaded = 0;             // COINIT_MULTITHREADED
constexpr std::int32_t kAnyAuthenticationService = -1;  // COM chooses
constexpr std::uint32_t kAuthenticationDefault = 0;     // RPC_C_AUTHN_LEVEL_DEFAULT
constexpr std::uint32_t kImpersonate = 3;               // RPC_C_IMP_LEVEL_IMPERSONATE
constexpr std::uint32_t kNoCapabilities = 0;            // EOAC_NONE

}  // namespace

ComCtx::ComCtx(orbis::platform::Wmi& port) : m_Port(port)
{
    // A thread that is already in a single-threaded apartment is no failure: WMI works there too.
    if (orbis::platform::Failed(m_Port.InitializeCom(kMultithreaded))) {
        return;
    }
    try {
        // RPC_E_TOO_LATE is normal: the host process has usually set its security before.
        static_cast<void>(
            m_Port.InitializeSecurity(kAnyAuthenticationService, kAuthenticationDefault, kImpersonate, kNoCapabilities));
    } catch (...) {
        // No destructor runs for an object whose constructor throws.
        m_Port.UninitializeCom();
        throw;
    }
}

ComCtx::~ComCtx()
{
    // Intentional: COM is uninitialised even when the initialisation failed.
    m_Port.UninitializeCom();
}

}  // namespace Veyra::Orbis::Cpp::Common
