#pragma once

#include <functional>
#include <utility>

#include "HostSdk/Exceptions.h"

namespace Veyra::Orbis::Common {

// Asks whether the host has cancelled a request. Copies ask the same source.
class CancellationToken {
public:
    // `isCancellationRequested` is called on the collecting thread and must not throw.
    explicit CancellationToken(std::function<bool()> isCancellationRequested) : m_IsRequested(std::move(isCancellationRequested)) {}

    [[nodiscard]] bool IsCancellationRequested() const { return m_IsRequested && m_IsRequested(); }
    // Throws OperationCanceledException when cancellation was requested.
    void ThrowIfCancellationRequested() const
    {
        if (IsCancellationRequested()) {
            throw Sdk::Exceptions::OperationCanceledException();
        }
    }

private:
    std::function<bool()> m_IsRequested;
};

}  // namespace Veyra::Orbis::Common
