#include <gtest/gtest.h>

#include "platform/Errors.h"
#include "platform/Forwarding.h"
#include "simulated/MachineFile.h"

namespace orbis::tests {
namespace {

using namespace platform;

// A decorator that makes a failing call of its own on `machine` after each call that it forwards.
class Meddler final : public ForwardingDeviceIo {
public:
    Meddler(DeviceIo& inner, DeviceIo& machine) : ForwardingDeviceIo(inner), m_Machine(machine) {}

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        const NativeHandle result = ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
        m_Machine.Close(kInvalidHandle);
        return result;
    }

private:
    DeviceIo& m_Machine;
};

TEST(ForwardingTest, CallerReadsTheErrorOfItsOwnCallThroughStackedDecorators)
{
    const auto machine = simulated::ParseMachine("");
    DeviceIo& port = machine->DeviceIoPort();
    Meddler inner(port, port);
    Meddler outer(inner, port);
    EXPECT_EQ(outer.Open(u"\\\\.\\PhysicalDrive7", 0, 0, nullptr, kOpenExisting, 0, 0), kInvalidHandle);
    EXPECT_EQ(port.LastError(), win32::kInvalidHandle);
    EXPECT_EQ(outer.LastError(), win32::kFileNotFound);
}

}  // namespace
}  // namespace orbis::tests
