// What a recording shows of one machine, by the fields that the standards define: what identifies is replaced, what stays is a
// list, and the rest becomes zero.
#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "insight/Pseudonyms.h"
#include "insight/Recording.h"
#include "platform/Firmware.h"
#include "platform/Setup.h"
#include "platform/Text.h"
#include "record/RedactedPages.h"
#include "record/Utf16.h"

namespace orbis::insight {
namespace {

using Span = WritableBytes;
using Buffer = std::vector<std::uint8_t>;

class Redactor {
public:
    explicit Redactor(Recording& recording) : m_Recording(recording) {}

    void Run()
    {
        CollectWords();
        LearnCharacters();
        for (RecordedCall& call : *m_Recording.mutable_call()) {
            ReplaceFields(call);
        }
        for (RecordedQuery& query : *m_Recording.mutable_query()) {
            for (RecordedExecution& execution : *query.mutable_execution()) {
                for (RecordedRow& row : *execution.mutable_row()) {
                    for (RecordedProperty& property : *row.mutable_property()) {
                        ReplaceFields(property);
                    }
                }
            }
        }
        ForEachContent([this](std::string& content) { content = m_Pseudonyms.In(content); });
        ConvertAgain();
        ForEachContent([this](std::string& content) {
            if (m_Pseudonyms.IsFoundIn(content)) {
                throw std::runtime_error("an identifier of this machine is still in the recording; nothing was written");
            }
        });
    }

private:
    // ---- words that stay ----
    void CollectWords()
    {
        for (const RecordedQuery& query : m_Recording.query()) {
            m_Pseudonyms.Keep(query.text());
            m_Pseudonyms.Keep(query.wmi_namespace());
            for (const RecordedExecution& execution : query.execution()) {
                for (const RecordedRow& row : execution.row()) {
                    for (const RecordedProperty& property : row.property()) {
                        m_Pseudonyms.Keep(property.name());
                        if (property.name() == "Model" || property.name() == "FirmwareRevision") {
                            m_Pseudonyms.Keep(platform::Utf16ToUtf8(Utf16Text(property.utf16())));
                        }
                    }
                }
            }
        }
        for (const RecordedCall& call : m_Recording.call()) {
            if (call.operation().starts_with("Pdh::")) {
                m_Pseudonyms.Keep(call.subject());
            }
        }
    }

    // ---- texts ----
    // The last part of an instance id or an interface path tells devices apart: "SCSI\DISK&VEN_X\5&1A2B&0",
    // "\\?\scsi#disk#5&1a2b&0#{..}".
    std::u16string DevicePath(const std::u16string& path)
    {
        const bool isInterface = path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\");
        const std::size_t end = isInterface ? path.rfind(u"#{") : path.size();
        const std::size_t before =
            end == path.npos || end == 0 ? path.npos : path.find_last_of(isInterface ? u"#" : u"\\", end - 1);
        if (before == path.npos) {
            return path.find(u"Volume{") != path.npos ? VolumePath(path) : isInterface ? path : m_Pseudonyms.Text(path);
        }
        return path.substr(0, before + 1) + m_Pseudonyms.Text(std::u16string_view(path).substr(before + 1, end - before - 1)) +
               path.substr(end);
    }
    std::u16string VolumePath(const std::u16string& path)
    {
        const std::size_t open = path.find(u'{');
        const std::size_t close = path.find(u'}', open);
        if (open == path.npos || close == path.npos) {
            return m_Pseudonyms.Text(path);
        }
        return path.substr(0, open + 1) + m_Pseudonyms.Text(std::u16string_view(path).substr(open + 1, close - open - 1)) +
               path.substr(close);
    }
    // A folder keeps its drive; the one that Windows makes stays whole.
    std::u16string Folder(const std::u16string& path)
    {
        constexpr std::size_t kDrive = 3;
        constexpr std::array<std::u16string_view, 2> kUsual{u"Windows\\Minidump", u"\\Windows\\Minidump"};
        const std::u16string rest = path.size() > kDrive ? path.substr(kDrive) : std::u16string();
        const bool isUsual = std::ranges::find(kUsual, rest) != kUsual.end() || path.starts_with(u"%SystemRoot%");
        return isUsual || rest.empty() ? path : path.substr(0, kDrive) + m_Pseudonyms.Text(rest);
    }

    // ---- calls ----
    void ReplaceFields(RecordedCall& call)
    {
        const std::string& operation = call.operation();
        if (operation.starts_with("DeviceIo::") && !call.subject().empty()) {
            call.set_subject(platform::Utf16ToUtf8(DevicePath(platform::Utf8ToUtf16(call.subject()))));
        }
        for (RecordedAnswer& answer : *call.mutable_answer()) {
            const std::size_t room = call.room();
            if (operation == "DeviceIo::Control") {
                constexpr std::size_t kPage = 512;
                InBuffers(answer, room, std::max(kPage, answer.data().size()),
                          [&](Span output, Span data) { m_Pages.Control(call.code(), call.request(), output, data); });
            } else if (operation == "Setup::DeviceInterfaceDetail") {
                InBuffers(answer, room, 0, [&](Span output, Span) {
                    ReplaceUtf16(From(output, platform::kDeviceInterfaceDetailPathOffset),
                                 [this](const std::u16string& path) { return DevicePath(path); });
                });
            } else if (operation == "Setup::DeviceProperty") {
                InBuffers(answer, room, 0, [&](Span output, Span) {
                    ReplaceUtf16(output, [this](const std::u16string& path) { return DevicePath(path); });
                });
            } else if (operation == "Firmware::SystemFirmwareTable") {
                InBuffers(answer, room, 0, [&](Span output, Span) {
                    call.code() == platform::kFirmwareProviderSmbios ? m_Pages.Smbios(output) : Clear(output);
                });
            }
        }
    }
    // Lets `change` work on whole buffers; zeros at their ends are not kept.
    template <class Change>
    static void InBuffers(RecordedAnswer& answer, std::size_t outputSize, std::size_t dataSize, const Change& change)
    {
        const auto grown = [](const std::string& text, std::size_t size) {
            Buffer buffer(text.begin(), text.end());
            buffer.resize(std::max(size, buffer.size()));
            return buffer;
        };
        const auto trimmed = [](const Buffer& buffer) {
            std::string text(buffer.begin(), buffer.end());
            text.resize(text.find_last_not_of('\0') + 1);
            return text;
        };
        Buffer output = grown(answer.output(), answer.output().empty() ? 0 : outputSize);
        Buffer data = grown(answer.data(), answer.data().empty() ? 0 : dataSize);
        change(Span(output), Span(data));
        answer.set_output(trimmed(output));
        answer.set_data(trimmed(data));
    }

    // ---- WMI ----
    void ReplaceFields(RecordedProperty& property)
    {
        constexpr std::array<std::string_view, 12> kKept{"Index",       "SCSIPort",        "Model",         "FirmwareRevision",
                                                         "DeviceId",    "MediaType",       "Caption",       "BootVolume",
                                                         "DriveLetter", "PageFilePresent", "InterfaceType", "Name"};
        const std::string& name = property.name();
        if (name == "VendorSpecific") {
            Buffer page(property.array().content().begin(), property.array().content().end());
            PageRedaction::SmartPage(Span(page));
            if (property.has_array()) {
                property.mutable_array()->set_content(std::string(page.begin(), page.end()));
            }
            return;
        }
        if (std::ranges::find(kKept, name) != kKept.end()) {
            return;
        }
        const std::u16string text = Utf16Text(property.utf16());
        const bool isPath = name == "PNPDeviceID" || name == "InstanceName" || name == "DeviceID";
        property.set_utf16(Utf16Bytes(isPath                                ? DevicePath(text)
                                      : name == "ExpandedMiniDumpDirectory" ? Folder(text)
                                                                            : m_Pseudonyms.Text(text)));
        if (property.has_array()) {
            RecordedArray& array = *property.mutable_array();
            array.set_content(std::string(array.content().size(), '\0'));
            for (std::string& element : *array.mutable_element()) {
                element = Utf16Bytes(m_Pseudonyms.Text(Utf16Text(element)));
            }
        }
    }

    // ---- everything ----
    void ForEachContent(const std::function<void(std::string&)>& change)
    {
        for (RecordedCall& call : *m_Recording.mutable_call()) {
            const bool isConversion = call.operation().starts_with("Text::");
            change(*call.mutable_subject());
            if (isConversion) {
                change(*call.mutable_request());
            }
            for (RecordedAnswer& answer : *call.mutable_answer()) {
                change(*answer.mutable_output());
                change(*answer.mutable_data());
            }
        }
        for (RecordedQuery& query : *m_Recording.mutable_query()) {
            for (RecordedExecution& execution : *query.mutable_execution()) {
                for (RecordedRow& row : *execution.mutable_row()) {
                    for (RecordedProperty& property : *row.mutable_property()) {
                        change(*property.mutable_utf16());
                        if (property.has_array()) {
                            change(*property.mutable_array()->mutable_content());
                            std::ranges::for_each(*property.mutable_array()->mutable_element(), change);
                        }
                    }
                }
            }
        }
    }

    // ---- texts in another code page than UTF-8 ----
    // One byte for each character: such a conversion can be made of another text.
    static bool IsSingle(const RecordedCall& call)
    {
        return call.operation() == "Text::DefaultToWide" && call.answer_size() == 1 && !call.answer(0).output().empty() &&
               call.answer(0).output().size() == call.request().size() * 2;
    }
    void LearnCharacters()
    {
        for (const RecordedCall& call : m_Recording.call()) {
            const std::u16string wide = IsSingle(call) ? Utf16Text(call.answer(0).output()) : std::u16string();
            for (std::size_t at = 0; at < wide.size(); ++at) {
                m_Characters[static_cast<unsigned char>(call.request()[at])] = wide[at];
            }
        }
    }
    void ConvertAgain()
    {
        for (RecordedCall& call : *m_Recording.mutable_call()) {
            std::u16string wide;
            for (const char byte : IsSingle(call) ? call.request() : std::string()) {
                const auto code = static_cast<unsigned char>(byte);
                wide += m_Characters[code].value_or(code < 0x80 ? static_cast<char16_t>(code) : u'?');
            }
            if (!wide.empty()) {
                call.mutable_answer(0)->set_output(Utf16Bytes(wide));
            }
        }
    }

    Recording& m_Recording;
    Pseudonyms m_Pseudonyms;
    PageRedaction m_Pages{m_Pseudonyms};
    std::array<std::optional<char16_t>, 256> m_Characters;
};

}  // namespace

void Redact(Recording& recording)
{
    Redactor(recording).Run();
    recording.set_redacted(true);
}

}  // namespace orbis::insight
