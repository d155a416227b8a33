#include "insight/Journal.h"

#include <atomic>

#include "Store.h"

namespace orbis::insight {
namespace {

template <class Unit, class Traits>
std::size_t SizeOf(const std::basic_string<Unit, Traits>& text)
{
    return text.size() * sizeof(Unit);
}
std::size_t SizeOf(const Bytes& bytes) { return bytes.size(); }
std::size_t SizeOf(const std::vector<std::u16string>& texts)
{
    std::size_t size = 0;
    for (const std::u16string& text : texts) {
        size += sizeof(text) + SizeOf(text);
    }
    return size;
}
std::size_t SizeOf(const Value& value) { return SizeOf(value.text); }
template <class Other>
std::size_t SizeOf(const Other& /*value*/)
{
    return 0;  // inside the record itself, or shared
}

// The bytes that a call has outside its record, in those members that it has.
template <class Kind>
std::size_t HeldBy(const Kind& call)
{
    std::size_t size = 0;
    if constexpr (requires { call.request; }) {
        size += call.request.size() + call.output.size() + call.dataBefore.size() + call.dataAfter.size();
    }
    if constexpr (requires { call.detail; }) {
        size += call.detail.size();
    }
    if constexpr (requires { call.value; }) {
        size += SizeOf(call.value);
    }
    if constexpr (requires { call.content; }) {
        size += call.content.size();
    }
    if constexpr (requires { call.text; }) {
        size += SizeOf(call.text);
    }
    if constexpr (requires { call.texts; }) {
        size += SizeOf(call.texts) + call.bytes.size();
    }
    if constexpr (requires { call.names; }) {
        size += SizeOf(call.names);
    }
    if constexpr (requires { call.out; }) {
        size += SizeOf(call.out);
    }
    return size;
}

}  // namespace

std::uint32_t Store::ThisThread() noexcept
{
    static std::atomic<std::uint32_t> last{0};
    thread_local const std::uint32_t number = ++last;
    return number;
}

Bytes Store::CopyOf(const void* data, std::size_t size) noexcept
{
    try {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        return bytes != nullptr ? Bytes(bytes, bytes + size) : Bytes{};
    } catch (...) {
        Locked([&] { ++m_Lost; });
        return {};
    }
}

void Store::Add(Record record)
{
    const std::size_t size = sizeof(Record) + std::visit([](const auto& call) { return HeldBy(call); }, record.call);
    // Once full, the journal stays full until Take, so that the records end early but have no gap.
    if (m_Lost > 0 || !Grow(size)) {
        ++m_Lost;
        return;
    }
    m_Records.push_back(std::move(record));
}

bool Store::Grow(std::size_t bytes) noexcept
{
    if (bytes > m_Capacity - m_Used) {
        return false;
    }
    m_Used += bytes;
    return true;
}

Record* Store::LastOfThisThread() noexcept
{
    return m_Lost == 0 && !m_Records.empty() && m_Records.back().thread == ThisThread() ? &m_Records.back() : nullptr;
}

Extract Store::Take()
{
    const std::lock_guard lock(m_Mutex);
    m_Used = 0;
    return {std::exchange(m_Records, {}), std::exchange(m_Lost, 0), false};
}

class Journal::Ports {
public:
    Ports(platform::Platform& machine, std::size_t capacity)
        : store(capacity),
          deviceIo(JournalDeviceIo(machine.DeviceIoPort(), store)),
          setup(JournalSetup(machine.SetupPort(), store)),
          wmi(JournalWmi(machine.WmiPort(), store)),
          firmware(JournalFirmware(machine.FirmwarePort(), store)),
          pdh(JournalPdh(machine.PdhPort(), store)),
          time(JournalTime(machine.TimePort(), store)),
          text(JournalText(machine.TextPort(), store))
    {}

    Store store;
    std::unique_ptr<platform::DeviceIo> deviceIo;
    std::unique_ptr<platform::Setup> setup;
    std::unique_ptr<platform::Wmi> wmi;
    std::unique_ptr<platform::Firmware> firmware;
    std::unique_ptr<platform::Pdh> pdh;
    std::unique_ptr<platform::Time> time;
    std::unique_ptr<platform::Text> text;
};

Journal::Journal(platform::Platform& machine, std::size_t capacity)
    : ForwardingPlatform(machine), m_Ports(std::make_unique<Ports>(machine, capacity))
{}
Journal::~Journal() = default;

Extract Journal::Take()
{
    Extract extract = m_Ports->store.Take();
    // Decorators in between do not change texts.
    extract.isOfSystem = &Inner().TextPort() == &platform::Platform::System().TextPort();
    return extract;
}

platform::DeviceIo& Journal::DeviceIoPort() noexcept { return *m_Ports->deviceIo; }
platform::Setup& Journal::SetupPort() noexcept { return *m_Ports->setup; }
platform::Wmi& Journal::WmiPort() noexcept { return *m_Ports->wmi; }
platform::Firmware& Journal::FirmwarePort() noexcept { return *m_Ports->firmware; }
platform::Pdh& Journal::PdhPort() noexcept { return *m_Ports->pdh; }
platform::Time& Journal::TimePort() noexcept { return *m_Ports->time; }
platform::Text& Journal::TextPort() noexcept { return *m_Ports->text; }

}  // namespace orbis::insight
