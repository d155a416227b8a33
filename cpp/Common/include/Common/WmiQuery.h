#pragma once

#include <cstdint>

#include "Common/ComCtx.h"
#include "platform/Wmi.h"

namespace Veyra::Orbis::Cpp::Common {

// A WMI connection and the rows of its query. Failures are thrown as ResultException.
class WmiQuery final : public ComCtx {
public:
    explicit WmiQuery(orbis::platform::Wmi& port = orbis::platform::Wmi::Current()) : ComCtx(port) {}

    // Connects to a WMI namespace of this machine, for example u"root\\cimv2".
    void Connect(const char16_t* path);
    // Runs a complete WQL statement; Next fetches the rows.
    void Execute(const char16_t* query);
    // Whether there is a query whose rows Next can fetch.
    [[nodiscard]] bool HasRows() const noexcept { return static_cast<bool>(m_Enumerator); }

    // Releases the current row and fetches the next one, waiting as long as WMI takes. Returns WMI's answer unchecked.
    [[nodiscard]] orbis::platform::Hresult Next();
    // Rows that the last Next delivered, 0 or 1; 1 before the first.
    [[nodiscard]] std::uint32_t ReturnedCount() const noexcept { return m_ReturnedCount; }

    // Reads a property of the current row into `value`. Returns WMI's answer unchecked; E_UNEXPECTED when there is no row.
    [[nodiscard]] orbis::platform::Hresult Get(const char16_t* name, orbis::platform::ComVariant& value) const;

    using ComCtx::Port;

private:
    // Members are destroyed, and so released, from the row back to the locator; then COM is uninitialised.
    orbis::platform::ComReference m_Locator;
    orbis::platform::ComReference m_Services;
    orbis::platform::ComReference m_Enumerator;
    orbis::platform::ComReference m_CurrentRow;
    std::uint32_t m_ReturnedCount = 1;
};

}  // namespace Veyra::Orbis::Cpp::Common
