#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "HostSdk/Exceptions.h"

// The host's wrapper over performance counters. Names are UTF-8, and English in every system language. Every failure is a
// PdhException. Objects are not synchronised: one caller at a time.
namespace Veyra::Orbis::Common::Utilities {

// A PDH call or a counter's value failed; the message names the call, its subject and the status.
class PdhException final : public Sdk::Exceptions::Detail::HostExceptionOf<PdhException> {
public:
    static constexpr std::string_view kTypeName = "Veyra.Orbis.Common.Utilities.PdhException";
    PdhException(std::string message, std::uint32_t status) : HostExceptionOf(std::move(message)), m_Status(status) {}

    // PDH status code (pdhmsg.h).
    [[nodiscard]] std::uint32_t Status() const noexcept { return m_Status; }

private:
    std::uint32_t m_Status;
};

// One counter of a query; keeps the query open.
class IPdhCounter {
public:
    virtual ~IPdhCounter() = default;

    // Formatted value of the last sample, not capped at 100. Throws while there is none: before the second sample of a rate, or
    // when the instance has disappeared.
    template <class T>
    [[nodiscard]] T ReadValue() const
    {
        static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>, "counters are read as float or double");
        return static_cast<T>(ReadDouble());
    }

protected:
    [[nodiscard]] virtual double ReadDouble() const = 0;
};

class IPdhQuery {
public:
    virtual ~IPdhQuery() = default;

    // Instance names of a performance object, in the system's order, "_Total" included.
    [[nodiscard]] virtual std::vector<std::string> GetInstanceNames(const std::string& objectName) const = 0;
    // Adds a counter to the query.
    [[nodiscard]] virtual std::shared_ptr<IPdhCounter> CreateCounter(const std::string& objectName, const std::string& counterName,
                                                                     const std::string& instanceName) = 0;
    // Samples every counter. A counter that fails keeps its own status and does not fail the sample; a query without counters does.
    virtual void CollectData() = 0;
};

class PdhQuery {
public:
    // Opens a query; without a data source it has live counters. `userData` is passed to PDH and not used.
    [[nodiscard]] static std::shared_ptr<IPdhQuery> OpenQuery(const std::optional<std::string>& dataSource,
                                                              std::uintptr_t userData);
};

}  // namespace Veyra::Orbis::Common::Utilities
