// The names of disks that the host learns from the collectors' requests.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "DiskWatch.h"
#include "platform/Errors.h"
#include "platform/Requests.h"

namespace orbis::host {
namespace {

using platform::ComObject;

// WMI with one row, always from the same objects, and one device.
class ScriptedMachine final : public platform::ForwardingPlatform,
                              public platform::ForwardingWmi,
                              public platform::ForwardingDeviceIo {
public:
    ScriptedMachine()
        : ForwardingPlatform(Platform::Current()), ForwardingWmi(Inner().WmiPort()), ForwardingDeviceIo(Inner().DeviceIoPort())
    {}
    platform::Wmi& WmiPort() noexcept override { return *this; }
    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }

    std::map<std::u16string, std::u16string> row;
    bool isRefused = false;

private:
    platform::Hresult ExecQuery(ComObject* /*services*/, platform::Bstr /*language*/, platform::Bstr /*query*/,
                                std::int32_t /*flags*/, ComObject** enumerator) override
    {
        *enumerator = reinterpret_cast<ComObject*>(this);
        return platform::hresult::kOk;
    }
    platform::Hresult Next(ComObject* /*enumerator*/, std::uint32_t /*timeout*/, ComObject** object,
                           std::uint32_t* returned) override
    {
        *object = reinterpret_cast<ComObject*>(&row);
        *returned = 1;
        return platform::hresult::kOk;
    }
    platform::Hresult Get(ComObject* /*object*/, const char16_t* name, platform::Variant* value) override
    {
        *value = {platform::VariantType::String, reinterpret_cast<std::uintptr_t>(row[name].c_str())};
        return platform::hresult::kOk;
    }
    void Release(ComObject* /*object*/) noexcept override {}
    platform::NativeHandle Open(const char16_t* /*path*/, std::uint32_t /*access*/, std::uint32_t /*share*/, void* /*security*/,
                                std::uint32_t /*disposition*/, std::uint32_t /*flags*/, platform::NativeHandle /*file*/) override
    {
        return 1;
    }
    bool Control(platform::NativeHandle /*device*/, std::uint32_t /*code*/, void* /*in*/, std::uint32_t /*inSize*/, void* /*out*/,
                 std::uint32_t outSize, std::uint32_t* returned, void* /*overlapped*/) override
    {
        *returned = outSize;
        return !isRefused;
    }
    bool Close(platform::NativeHandle /*device*/) noexcept override { return true; }
};

TEST(DiskWatchTest, KeepsNothingOfAnEarlierRequestOrDisk)
{
    ScriptedMachine machine;
    DiskWatch watch(machine);
    const auto list = [&](const char16_t* query, const char16_t* index, const char16_t* id) {
        platform::Wmi& wmi = watch.WmiPort();
        machine.row = {{u"Index", index}, {u"PNPDeviceID", id}};
        ComObject* enumerator = nullptr;
        ComObject* row = nullptr;
        std::uint32_t returned = 0;
        platform::Variant value;
        static_cast<void>(wmi.ExecQuery(nullptr, nullptr, query, 0, &enumerator));
        static_cast<void>(wmi.Next(enumerator, 0, &row, &returned));
        static_cast<void>(wmi.Get(row, u"Index", &value));
        static_cast<void>(wmi.Get(row, u"PNPDeviceID", &value));
        wmi.Release(row);
        wmi.Release(enumerator);
    };
    const auto askForSmart = [&](bool isRefused) {
        machine.isRefused = isRefused;
        platform::DeviceIo& io = watch.DeviceIoPort();
        const platform::NativeHandle device = io.Open(uR"(\\.\PhysicalDrive0)", 0, 0, nullptr, platform::kOpenExisting, 0, 0);
        platform::AtaPassThroughDirect request;
        request.currentTaskFile[6] = 0xB0;
        std::uint32_t returned = 0;
        static_cast<void>(io.Control(device, platform::kIoctlAtaPassThroughDirect, &request, sizeof(request), &request,
                                     sizeof(request), &returned, nullptr));
        io.Close(device);
        return watch.Seen().at(0).smartError.has_value();
    };
    list(u"SELECT * FROM Win32_DiskDrive", u"0", u"FIRST");
    EXPECT_TRUE(askForSmart(true));
    EXPECT_FALSE(askForSmart(false)) << "a later request was answered";
    list(u"SELECT * FROM Win32_Volume", u"1", u"NO DISK");
    EXPECT_EQ(watch.Seen().size(), 1U) << "the object of a released inventory";
    EXPECT_TRUE(askForSmart(true));
    list(u"SELECT * FROM Win32_DiskDrive", u"0", u"SECOND");
    ASSERT_EQ(watch.Seen().size(), 1U);
    EXPECT_EQ(watch.Seen()[0].itemId, "Disk_SECOND");
    EXPECT_FALSE(watch.Seen()[0].smartError.has_value()) << "of the disk that had this number before";
}

}  // namespace
}  // namespace orbis::host
