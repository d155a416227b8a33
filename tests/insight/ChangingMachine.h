#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "insight/Pages.h"
#include "platform/Forwarding.h"
#include "platform/Requests.h"

namespace orbis::insight {

// What one request, property, counter or firmware table answered. The SMART table that WMI and the pass-through both carry is one
// answer.
struct Answer {
    Request request = REQUEST_UNSPECIFIED;
    std::u16string place;     // device path, query, counter path
    std::uint32_t row = 0;    // of a query
    std::u16string property;  // of a row

    friend auto operator<=>(const Answer&, const Answer&) = default;
};

// Bytes of an answer that differ, in one of two ways; properties and samples change whole.
struct Change {
    Answer answer;
    std::size_t first = 0;
    std::size_t last = 0;
    bool second = false;
};

// A machine that gives the same answers again and again, whatever its clock says, but for the change that is set.
class ChangingMachine final : public platform::ForwardingPlatform,
                              private platform::ForwardingDeviceIo,
                              private platform::ForwardingWmi,
                              private platform::ForwardingPdh,
                              private platform::ForwardingFirmware {
public:
    explicit ChangingMachine(platform::Platform& inner)
        : ForwardingPlatform(inner),
          ForwardingDeviceIo(inner.DeviceIoPort()),
          ForwardingWmi(inner.WmiPort()),
          ForwardingPdh(inner.PdhPort()),
          ForwardingFirmware(inner.FirmwarePort())
    {}
    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    platform::Wmi& WmiPort() noexcept override { return *this; }
    platform::Pdh& PdhPort() noexcept override { return *this; }
    platform::Firmware& FirmwarePort() noexcept override { return *this; }

    void Set(std::optional<Change> change) { m_Change = std::move(change); }
    // From now on the next answers are those that are repeated.
    void Forget()
    {
        answers.clear();
        m_Samples.clear();
    }
    std::map<Answer, Bytes> answers;  // what was answered first; one byte for what changes whole
    std::set<Answer> asked;           // since somebody cleared it

private:
    bool IsChanged(const Answer& answer) const { return m_Change && m_Change->answer == answer; }
    // Of an answer that changes whole.
    bool GiveChanged(const Answer& answer)
    {
        asked.insert(answer);
        answers[answer].assign(1, 0);
        return IsChanged(answer);
    }

    void Give(const Answer& answer, std::uint8_t* bytes, std::size_t size)
    {
        asked.insert(answer);
        Bytes& first = answers.try_emplace(answer, bytes, bytes + size).first->second;
        if (first.size() < size) {
            first.assign(bytes, bytes + size);
        }
        std::copy_n(first.begin(), size, bytes);
        for (std::size_t at = m_Change ? m_Change->first : 0; IsChanged(answer) && at <= m_Change->last && at < size; ++at) {
            bytes[at] = static_cast<std::uint8_t>(m_Change->second ? bytes[at] + 1 : bytes[at] ^ 0xFFU);
        }
    }

    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override
    {
        const auto handle = ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
        m_Paths[handle] = path;
        return handle;
    }

    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override
    {
        call::Control control;
        control.code = code;
        control.succeeded = true;
        control.request.assign(static_cast<const std::uint8_t*>(in), static_cast<const std::uint8_t*>(in) + inSize);
        control.dataAfter.assign(1, 1);  // a page of zeros would count as none
        if (!ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped)) {
            return false;
        }
        const auto page = PageOf(control);
        const auto& path = m_Paths[device];
        auto* bytes = static_cast<std::uint8_t*>(out);
        const auto passThrough = [&](Request status, const auto& request) {
            Give({status, path + char16_t(page ? page->request : 0), 0, {}}, bytes, *returned);
            if (page) {
                Give({page->request, page->request == SMART_DATA ? u"" : path, 0, {}},
                     static_cast<std::uint8_t*>(request.dataBuffer), request.dataTransferLength);
            } else if (status == SCSI_STATUS) {
                Give({SCSI_INQUIRY, path, 0, {}}, static_cast<std::uint8_t*>(request.dataBuffer), request.dataTransferLength);
            }
        };
        if (code == platform::kIoctlAtaPassThroughDirect) {
            passThrough(ATA_STATUS, *reinterpret_cast<const platform::AtaPassThroughDirect*>(control.request.data()));
        } else if (code == platform::kIoctlScsiPassThroughDirect) {
            passThrough(SCSI_STATUS, *reinterpret_cast<const platform::ScsiPassThroughDirect*>(control.request.data()));
        } else if (page && page->request > MAKER_HEALTH_LOG) {
            Give({page->request, path, 0, {}}, bytes, *returned);
        } else if (!page && code == platform::kIoctlStorageQueryProperty) {
            Give({DEVICE_DESCRIPTOR, path, *returned, {}}, bytes, *returned);
        }
        return true;
    }

    platform::Hresult ExecQuery(platform::ComObject* services, platform::Bstr language, platform::Bstr query, std::int32_t flags,
                                platform::ComObject** enumerator) override
    {
        const auto result = ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
        m_Rows[*enumerator] = {query, 0};
        return result;
    }
    platform::Hresult Next(platform::ComObject* enumerator, std::uint32_t timeout, platform::ComObject** object,
                           std::uint32_t* returned) override
    {
        const auto result = ForwardingWmi::Next(enumerator, timeout, object, returned);
        m_Rows[*object] = {m_Rows[enumerator].first, m_Rows[enumerator].second++};
        return result;
    }
    platform::Hresult Get(platform::ComObject* object, const char16_t* name, platform::Variant* value) override
    {
        using platform::VariantType;
        const auto result = ForwardingWmi::Get(object, name, value);
        const auto& [query, row] = m_Rows[object];
        const Answer answer{WMI, query, row, name};
        if (platform::Failed(result)) {
            return result;
        }
        m_IsSmartData = query.ends_with(u"ATAPISmartData");
        if (value->type == VariantType::String && value->AsString() != nullptr) {
            if (GiveChanged(answer)) {
                // Another first or last character; numbers stay numbers.
                std::u16string text(value->AsString(), ForwardingWmi::StringLength(value->AsString()));
                text = text.empty() ? u"5" : text;
                char16_t& letter = m_Change->second ? text.back() : text.front();
                letter = letter == u'5' ? u'4' : u'5';
                ForwardingWmi::FreeString(value->AsString());
                value->payload = reinterpret_cast<std::uintptr_t>(ForwardingWmi::AllocateString(text.c_str()));
            }
        } else if (value->type == VariantType::Bool || value->type == VariantType::Int32 || value->type == VariantType::UInt8) {
            if (GiveChanged(answer)) {
                value->payload =
                    value->type == VariantType::Bool ? value->payload ^ 0xFFFFU : value->payload + (m_Change->second ? 2 : 1);
            }
        }
        return result;
    }
    platform::Hresult ArrayElement(platform::SafeArray* array, std::int32_t index, void* element) override
    {
        const auto result = ForwardingWmi::ArrayElement(array, index, element);
        const auto at = static_cast<std::size_t>(index);
        if (m_IsSmartData && IsChanged({SMART_DATA, {}, 0, {}}) && at >= m_Change->first && at <= m_Change->last) {
            auto& byte = *static_cast<std::uint8_t*>(element);
            byte = static_cast<std::uint8_t>(m_Change->second ? byte + 1 : byte ^ 0xFFU);
        }
        return result;
    }

    platform::PdhStatus AddEnglishCounter(platform::PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                          platform::PdhCounterObject** counter) override
    {
        const auto status = ForwardingPdh::AddEnglishCounter(query, path, userData, counter);
        m_Counters[*counter] = path;
        return status;
    }
    platform::PdhStatus FormattedValue(platform::PdhCounterObject* counter, std::uint32_t format,
                                       platform::PdhCounterValue* value) override
    {
        const auto status = ForwardingPdh::FormattedValue(counter, format, value);
        const Answer answer{COUNTER, m_Counters[counter], 0, {}};
        // The clock stands still, which would leave rates without a value.
        const auto& sample = m_Samples.try_emplace(answer.place, status, *value).first->second;
        *value = sample.second;
        if (GiveChanged(answer)) {
            value->value = m_Change->second ? value->value / 2 : value->value + 1;
        }
        return sample.first;
    }

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        const std::uint32_t result = ForwardingFirmware::SystemFirmwareTable(provider, table, buffer, size);
        if (buffer != nullptr && result <= size) {
            Give({SMBIOS, {}, 0, {}}, static_cast<std::uint8_t*>(buffer), result);
        }
        return result;
    }

    std::optional<Change> m_Change;
    bool m_IsSmartData = false;  // of the row that was read last
    std::map<platform::NativeHandle, std::u16string> m_Paths;
    std::map<platform::ComObject*, std::pair<std::u16string, std::uint32_t>> m_Rows;  // of rows and enumerators
    std::map<platform::PdhCounterObject*, std::u16string> m_Counters;
    std::map<std::u16string, std::pair<platform::PdhStatus, platform::PdhCounterValue>> m_Samples;
};

}  // namespace orbis::insight
