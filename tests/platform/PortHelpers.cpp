#include "PortHelpers.h"

namespace orbis::tests {

using namespace platform;

std::vector<WalkedDisk> WalkDisks(Setup& setup)
{
    std::vector<WalkedDisk> disks;
    const DeviceInfoSet set(setup,
                            setup.ClassDevices(&kDiskInterfaceGuid, nullptr, nullptr, kDigcfPresent | kDigcfDeviceInterface));
    if (!set.IsValid()) {
        return disks;
    }
    for (std::uint32_t index = 0;; ++index) {
        DeviceInterfaceData data;
        if (!setup.EnumDeviceInterfaces(set.Get(), kDiskInterfaceGuid, index, &data)) {
            return disks;
        }
        WalkedDisk disk;
        std::uint32_t required = 0;
        if (!setup.DeviceInterfaceDetail(set.Get(), data, nullptr, 0, &required) && required > kDeviceInterfaceDetailPathOffset) {
            std::vector<std::uint8_t> detail(required + sizeof(char16_t));
            std::memcpy(detail.data(), &kDeviceInterfaceDetailHeaderSize, sizeof(std::uint32_t));
            if (setup.DeviceInterfaceDetail(set.Get(), data, detail.data(), required, nullptr)) {
                disk.path.resize((required - kDeviceInterfaceDetailPathOffset) / sizeof(char16_t) - 1);
                std::memcpy(disk.path.data(), detail.data() + kDeviceInterfaceDetailPathOffset,
                            disk.path.size() * sizeof(char16_t));
            }
        }
        DeviceInfoData info;
        std::u16string id(512, u'\0');
        std::uint32_t type = 0;
        if (setup.EnumDeviceInfo(set.Get(), index, &info) &&
            setup.DeviceProperty(set.Get(), info, kDeviceInstanceIdKey, &type, id.data(), 1024, &required, 0)) {
            disk.instanceId = id.substr(0, required / sizeof(char16_t) - 1);
        }
        disks.push_back(std::move(disk));
    }
}

WmiResult Query(Wmi& wmi, const char16_t* wmiNamespace, const char16_t* query, const std::vector<const char16_t*>& properties)
{
    // The apartment ends after everything that was made in it.
    struct Apartment {
        Wmi& wmi;
        explicit Apartment(Wmi& port) : wmi(port) { wmi.InitializeCom(0); }
        ~Apartment() { wmi.UninitializeCom(); }
    } const apartment(wmi);

    const ComString path(wmi, wmi.AllocateString(wmiNamespace));
    const ComString language(wmi, wmi.AllocateString(u"WQL"));
    const ComString text(wmi, wmi.AllocateString(query));
    ComObject* object = nullptr;
    Hresult result = wmi.CreateLocator(&object);
    const ComReference locator(wmi, object);
    result = Failed(result) ? result : wmi.ConnectServer(locator.Get(), path.Get(), &object);
    const ComReference services(wmi, Failed(result) ? nullptr : object);
    result = Failed(result) || services ? result : hresult::kUnexpected;
    result = Failed(result) ? result : wmi.ExecQuery(services.Get(), language.Get(), text.Get(), 0x30, &object);
    const ComReference enumerator(wmi, Failed(result) ? nullptr : object);
    result = Failed(result) || enumerator ? result : hresult::kUnexpected;

    WmiResult outcome;
    while (!Failed(result)) {
        std::uint32_t returned = 0;
        result = wmi.Next(enumerator.Get(), 0xFFFFFFFF, &object, &returned);
        if (Failed(result) || returned == 0) {
            break;
        }
        const ComReference row(wmi, object);
        auto& values = outcome.rows.emplace_back();
        for (const char16_t* property : properties) {
            ComVariant variant(wmi);
            WmiValue value;
            value.result = wmi.Get(row.Get(), property, variant.Put());
            value.type = variant.Get().type;
            value.payload = variant.Get().payload;
            if (value.type == VariantType::String && value.payload != 0) {
                value.text = std::u16string(variant.Get().AsString(), wmi.StringLength(variant.Get().AsString()));
            }
            values.push_back(std::move(value));
        }
    }
    outcome.result = result;
    return outcome;
}

}  // namespace orbis::tests
