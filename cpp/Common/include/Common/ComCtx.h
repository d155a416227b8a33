#pragma once

#include "platform/Wmi.h"

namespace Veyra::Orbis::Cpp::Common {

// Owns the COM initialisation of the calling thread (multi-threaded apartment). Create, use and destroy on one thread.
class ComCtx {
public:
    explicit ComCtx(orbis::platform::Wmi& port = orbis::platform::Wmi::Current());
    ComCtx(const ComCtx&) = delete;
    ComCtx& operator=(const ComCtx&) = delete;
    virtual ~ComCtx();

protected:
    [[nodiscard]] orbis::platform::Wmi& Port() const noexcept { return m_Port; }

private:
    orbis::platform::Wmi& m_Port;
};

}  // namespace Veyra::Orbis::Cpp::Common
