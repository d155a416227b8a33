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

WmiSession::~WmiSession()
{
    m_Enumerator.Reset();
    m_Services.Reset();
    m_Locator.Reset();
    m_Wmi.UninitializeCom();
}

Hresult WmiSession::Connect(const char16_t* path)
{
    const ComString text(m_Wmi, m_Wmi.AllocateString(path));
    ComObject* object = nullptr;
    Hresult result = m_Wmi.CreateLocator(&object);
    m_Locator = ComReference(m_Wmi, object);
    result = Failed(result) ? result : m_Wmi.ConnectServer(m_Locator.Get(), text.Get(), &object);
    m_Services = ComReference(m_Wmi, Failed(result) ? nullptr : object);
    return Failed(result) || m_Services ? result : hresult::kUnexpected;
}

Hresult WmiSession::Execute(const char16_t* language, const char16_t* query, std::int32_t flags)
{
    const auto allocate = [&](const char16_t* text) { return text != nullptr ? m_Wmi.AllocateString(text) : nullptr; };
    const ComString languageText(m_Wmi, allocate(language));
    const ComString queryText(m_Wmi, allocate(query));
    ComObject* object = nullptr;
    const Hresult result = m_Wmi.ExecQuery(m_Services.Get(), languageText.Get(), queryText.Get(), flags, &object);
    m_Enumerator = ComReference(m_Wmi, Failed(result) ? nullptr : object);
    return Failed(result) || m_Enumerator ? result : hresult::kUnexpected;
}

WmiResult Query(Wmi& wmi, const char16_t* wmiNamespace, const char16_t* query, const std::vector<const char16_t*>& properties)
{
    WmiSession session(wmi);
    Hresult result = session.Connect(wmiNamespace);
    result = Failed(result) ? result : session.Execute(u"WQL", query, kForwardOnlyImmediate);
    WmiResult outcome;
    while (!Failed(result)) {
        ComObject* object = nullptr;
        std::uint32_t returned = 0;
        result = wmi.Next(session.Enumerator(), 0xFFFFFFFF, &object, &returned);
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
