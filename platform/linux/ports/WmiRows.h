#pragma once

#include "linux/kernel/Machine.h"
#include "linux/ports/RowWmi.h"

namespace orbis::platform::linux_system {

// The kernel's knowledge as rows of WMI classes. A class is one entry of a table: where it is, what it is called, who builds its
// rows.
class WmiRows final : public RowSource {
public:
    explicit WmiRows(Machine& machine) : m_Machine(machine) {}

    bool HasNamespace(std::u16string_view path) override;
    Hresult Rows(std::u16string_view path, std::u16string_view className, std::vector<Row>& rows) override;

private:
    Machine& m_Machine;
};

// The name of a disk's instance in the PhysicalDisk performance object: its number and the letters on it ("0 C: D:").
[[nodiscard]] std::string PerformanceInstance(const Disk& disk, const VolumeSet& volumes);

}  // namespace orbis::platform::linux_system
