#include <gtest/gtest.h>

#include "platform/Errors.h"
#include "platform/Forwarding.h"
#include "simulated/MachineFile.h"

namespace orbis::tests {
namespace {

using namespace platform;

// A decorator that makes a failing call of its own after each call that it forwards.
class Meddler final : public ForwardingDeviceIo {
public:
    explicit Meddler(DeviceIo& inner) : ForwardingDeviceIo(inner), m_Inner(inner) {}

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        const NativeHandle result = ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
        m_Inner.Close(kInvalidHandle);
        return result;
    }

private:
    DeviceIo& m_Inner;
};

TEST(ForwardingTest, CallerReadsTheErrorOfItsOwnCallThroughStackedDecorators)
{
    const auto machine = simulated::ParseMachine("");
    Meddler inner(machine->DeviceIoPort());
    Meddler outer(inner);
    EXPECT_EQ(outer.Open(u"\\\\.\\PhysicalDrive7", 0, 0, nullptr, kOpenExisting, 0, 0), kInvalidHandle);
    EXPECT_EQ(machine->DeviceIoPort().LastError(), win32::kInvalidHandle);
    EXPECT_EQ(outer.LastError(), win32::kFileNotFound);
}

}  // namespace
}  // namespace orbis::tests
