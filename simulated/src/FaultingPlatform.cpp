#include "simulated/FaultingPlatform.h"

#include <algorithm>
#include <new>
#include <utility>

#include "FaultCounter.h"

namespace orbis::simulated {

void FaultCounter::Plan(std::optional<std::uint64_t> call, FaultKind kind, std::optional<std::uint32_t> code)
{
    const std::lock_guard lock(m_Mutex);
    m_Calls.clear();
    m_FailingCall = call;
    m_Kind = kind;
    m_Code = code;
    m_Reached = false;
}

std::optional<FaultCounter::Fault> FaultCounter::Count(const FaultableOperation& operation, std::string subject)
{
    const std::lock_guard lock(m_Mutex);
    const bool isCall = m_FailingCall == m_Calls.size();
    m_Calls.push_back({operation.name, std::move(subject), operation.kinds});
    if (!isCall || std::find(operation.kinds.begin(), operation.kinds.end(), m_Kind) == operation.kinds.end()) {
        return std::nullopt;
    }
    m_Reached = true;
    if (m_Kind == FaultKind::BadAlloc) {
        throw std::bad_alloc();
    }
    return Fault{m_Kind, m_Code.value_or(operation.usualError)};
}

std::vector<CountedCall> FaultCounter::Calls() const
{
    const std::lock_guard lock(m_Mutex);
    return m_Calls;
}

bool FaultCounter::Reached() const
{
    const std::lock_guard lock(m_Mutex);
    return m_Reached;
}

class FaultingPlatform::Ports {
public:
    explicit Ports(platform::Platform& platform)
        : deviceIo(MakeFaultingDeviceIo(platform.DeviceIoPort(), counter)),
          setup(MakeFaultingSetup(platform.SetupPort(), counter)),
          wmi(MakeFaultingWmi(platform.WmiPort(), counter)),
          firmware(MakeFaultingFirmware(platform.FirmwarePort(), counter)),
          pdh(MakeFaultingPdh(platform.PdhPort(), counter)),
          text(MakeFaultingText(platform.TextPort(), counter))
    {}

    FaultCounter counter;
    std::unique_ptr<platform::DeviceIo> deviceIo;
    std::unique_ptr<platform::Setup> setup;
    std::unique_ptr<platform::Wmi> wmi;
    std::unique_ptr<platform::Firmware> firmware;
    std::unique_ptr<platform::Pdh> pdh;
    std::unique_ptr<platform::Text> text;
};

FaultingPlatform::FaultingPlatform(platform::Platform& inner) : ForwardingPlatform(inner), m_Ports(std::make_unique<Ports>(inner))
{}
FaultingPlatform::~FaultingPlatform() = default;

void FaultingPlatform::FailAt(std::uint64_t call, FaultKind kind, std::optional<std::uint32_t> code)
{
    m_Ports->counter.Plan(call, kind, code);
}
void FaultingPlatform::PassAll() { m_Ports->counter.Plan(std::nullopt, FaultKind::Error, std::nullopt); }
std::vector<CountedCall> FaultingPlatform::Calls() const { return m_Ports->counter.Calls(); }
bool FaultingPlatform::Reached() const { return m_Ports->counter.Reached(); }

platform::DeviceIo& FaultingPlatform::DeviceIoPort() noexcept { return *m_Ports->deviceIo; }
platform::Setup& FaultingPlatform::SetupPort() noexcept { return *m_Ports->setup; }
platform::Wmi& FaultingPlatform::WmiPort() noexcept { return *m_Ports->wmi; }
platform::Firmware& FaultingPlatform::FirmwarePort() noexcept { return *m_Ports->firmware; }
platform::Pdh& FaultingPlatform::PdhPort() noexcept { return *m_Ports->pdh; }
platform::Text& FaultingPlatform::TextPort() noexcept { return *m_Ports->text; }

}  // namespace orbis::simulated
