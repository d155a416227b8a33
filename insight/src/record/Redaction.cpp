// Redacts a recording by the fields that the standards define: identifying values are replaced, the values that are kept are
// listed, and the rest becomes zero.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <algorithm>
#include <array>
#include <cstddef>
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
        m_Recording.set_title("Recording of a machine");
        CollectWords();
        LearnCharacters();
        // The devices' own values are read first, so that other forms of them are recognised.
        for (RecordedCall& call : *m_Recording.mutable_call()) {
            ReplacePages(call);
        }
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
        ReplaceEverywhere();
        ForEachText(m_Recording, [this](const google::protobuf::FieldDescriptor&, const std::string& content) {
            if (m_Pseudonyms.IsFoundIn(content)) {
                throw std::runtime_error("an identifier of this machine is still in the recording");
            }
        });
    }

private:
    // ---- words that are kept ----
    void CollectWords()
    {
        for (const RecordedQuery& query : m_Recording.query()) {
            m_Pseudonyms.KeepWords(query.text());
            m_Pseudonyms.KeepWords(query.wmi_namespace());
            for (const RecordedExecution& execution : query.execution()) {
                for (const RecordedRow& row : execution.row()) {
                    for (const RecordedProperty& property : row.property()) {
                        m_Pseudonyms.KeepWords(property.name());
                        if (property.name() == "Model" || property.name() == "FirmwareRevision") {
                            m_Pseudonyms.KeepName(platform::Utf16ToUtf8(Utf16Text(property.utf16())));
                        }
                    }
                }
            }
        }
        for (RecordedCall& call : *m_Recording.mutable_call()) {
            m_Pseudonyms.KeepWords(call.operation());
            if (call.operation().starts_with("Pdh::")) {
                m_Pseudonyms.KeepWords(call.subject().substr(0, call.subject().find('(')));
                m_Pseudonyms.KeepWords(call.subject().substr(call.subject().rfind('\\') + 1));
            }
        }
    }

    // ---- texts ----
    std::u16string Text(std::u16string_view text) { return m_Pseudonyms.Text(text); }
    std::u16string TextFrom(const std::u16string& text, std::size_t at)
    {
        return text.substr(0, at) + Text(std::u16string_view(text).substr(std::min(at, text.size())));
    }
    // "SCSI\DISK&VEN_X\5&1A2B&0", "\\?\scsi#disk&ven_x#5&1a2b&0#{..}": the part after the enumerator and the device's id identifies
    // a device. "\\?\Volume{..}\" identifies a volume; "\\.\PhysicalDrive0" and "\\.\C:" identify nothing.
    std::u16string DevicePath(const std::u16string& path)
    {
        constexpr std::size_t kPrefix = 4;
        const bool isInterface = path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\");
        const std::u16string rest = isInterface ? path.substr(kPrefix) : path;
        constexpr std::u16string_view kVolume = u"Volume{";
        if (isInterface && rest.starts_with(kVolume)) {
            return TextFrom(path, kPrefix + kVolume.size());
        }
        const char16_t separator = isInterface ? u'#' : u'\\';
        const std::size_t enumerator = rest.find(separator);
        if (enumerator == rest.npos) {
            return isInterface && IsUsualDevice(rest) ? path : TextFrom(path, path.size() - rest.size());
        }
        const std::size_t device = rest.find(separator, enumerator + 1);
        const std::size_t instance = (device != rest.npos ? device : enumerator) + 1;
        constexpr std::size_t kClass = 39;  // "#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}"
        const std::size_t end = isInterface ? std::min(rest.rfind(u"#{"), rest.size()) : rest.size();
        if (end <= instance) {
            return TextFrom(path, path.size() - rest.size() + instance);
        }
        const std::u16string front = path.substr(0, path.size() - rest.size() + instance);
        return front + Text(std::u16string_view(rest).substr(instance, end - instance)) + TextFrom(rest.substr(end), kClass);
    }
    // "PhysicalDrive0", "C:", "Scsi1:".
    static bool IsUsualDevice(const std::u16string& name)
    {
        constexpr std::array<std::string_view, 5> kUsual{"physicaldrive", "scsi", "cdrom", "harddisk", "tape"};
        std::string word;
        std::size_t at = 0;
        for (; at < name.size() && ((name[at] | 0x20U) >= 'a' && (name[at] | 0x20U) <= 'z'); ++at) {
            word += static_cast<char>(name[at] | 0x20U);
        }
        const bool isLetter = word.size() == 1;
        while (at < name.size() && name[at] >= u'0' && name[at] <= u'9' && !isLetter) {
            ++at;
        }
        const std::u16string end = name.substr(at);
        return isLetter ? end == u":" || end == u":\\"
                        : (end.empty() || end == u":") && std::ranges::find(kUsual, word) != kUsual.end();
    }
    // A counter's instance, "0 C: D:" or "_Total": other words in it are names.
    std::u16string Instance(const std::u16string& instance)
    {
        std::u16string replaced;
        for (std::size_t at = 0; at <= instance.size();) {
            const std::size_t end = std::min(instance.find(u' ', at), instance.size());
            const std::u16string word = instance.substr(at, end - at);
            const bool isNumber = word.find_first_not_of(u"0123456789") == word.npos;
            replaced += (at == 0 ? u"" : u" ") + (isNumber || word == u"_Total" || IsUsualDevice(word) ? word : Text(word));
            at = end + 1;
        }
        return replaced;
    }
    // A folder keeps its drive; the folder that Windows creates is kept completely.
    std::u16string Folder(const std::u16string& path)
    {
        constexpr std::array<std::u16string_view, 4> kUsual{u"\\", u"\\Windows\\Minidump", u"%SystemRoot%\\Minidump",
                                                            u"%SystemRoot%\\MEMORY.DMP"};
        const std::size_t drive = path.size() >= 2 && IsUsualDevice(path.substr(0, 2)) ? 2 : 0;
        return std::ranges::find(kUsual, path.substr(drive)) != kUsual.end() ? path : TextFrom(path, drive);
    }

    // ---- calls ----
    void ReplacePages(RecordedCall& call)
    {
        constexpr std::size_t kPage = 512;
        for (RecordedAnswer& answer : *call.mutable_answer()) {
            if (call.operation() == "DeviceIo::Control") {
                InBuffers(answer, call.room(), std::max(kPage, answer.data().size()),
                          [&](Span output, Span data) { m_Pages.Control(call.code(), call.request(), output, data); });
            }
        }
    }
    void ReplaceFields(RecordedCall& call)
    {
        const std::string& operation = call.operation();
        if (operation.starts_with("DeviceIo::") && !call.subject().empty()) {
            call.set_subject(platform::Utf16ToUtf8(DevicePath(platform::Utf8ToUtf16(call.subject()))));
        }
        const std::size_t open = call.subject().find('(');
        const std::size_t close = call.subject().rfind(')');
        if (operation.starts_with("Pdh::") && open < close && close != std::string::npos) {
            const std::string instance = call.subject().substr(open + 1, close - open - 1);
            if (instance != "*") {
                call.set_subject(call.subject().substr(0, open + 1) +
                                 platform::Utf16ToUtf8(Instance(platform::Utf8ToUtf16(instance))) + call.subject().substr(close));
            }
        }
        for (RecordedAnswer& answer : *call.mutable_answer()) {
            const std::size_t room = call.room();
            answer.set_time(answer.time() / 1000 * 1000);  // microseconds, which the clock of every system can show
            if (operation == "Setup::DeviceInterfaceDetail") {
                InBuffers(answer, room, 0, [&](Span output, Span) {
                    ReplaceUtf16(From(output, platform::kDeviceInterfaceDetailPathOffset),
                                 [this](const std::u16string& path) { return DevicePath(path); });
                });
            } else if (operation == "Setup::DeviceProperty") {
                InBuffers(answer, room, 0, [&](Span output, Span) {
                    ReplaceUtf16(output, [this](const std::u16string& path) { return DevicePath(path); });
                });
            } else if (operation == "Pdh::EnumInstances" || operation == "Pdh::CounterInstances") {
                std::u16string replaced;
                const std::u16string names = Utf16Text(answer.output());
                for (std::size_t at = 0; at < names.size();) {
                    const std::size_t end = std::min(names.find(u'\0', at), names.size());
                    replaced += Instance(names.substr(at, end - at)) + names.substr(end, 1);
                    at = end + 1;
                }
                answer.set_output(Utf16Bytes(replaced));
            } else if (operation == "Firmware::SystemFirmwareTable") {
                InBuffers(answer, room, 0, [&](Span output, Span) {
                    call.code() == platform::kFirmwareProviderSmbios ? m_Pages.Smbios(output) : Clear(output);
                });
            }
        }
    }
    // Applies `change` to complete buffers; recordings have no trailing zeros.
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
        constexpr std::array<std::string_view, 8> kKept{"Index",     "SCSIPort",   "Model",           "FirmwareRevision",
                                                        "MediaType", "BootVolume", "PageFilePresent", "InterfaceType"};
        const std::string& name = property.name();
        if (name == "VendorSpecific") {
            Buffer page(property.array().content().begin(), property.array().content().end());
            PageRedaction::SmartPage(Span(page), false);
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
        const bool isInstance = name == "Name" || name == "Caption" || name == "DriveLetter" || name == "DeviceId";
        property.set_payload(0);
        property.set_utf16(Utf16Bytes(isPath                                ? DevicePath(text)
                                      : isInstance                          ? Instance(text)
                                      : name == "ExpandedMiniDumpDirectory" ? Folder(text)
                                                                            : Text(text)));
        if (property.has_array()) {
            RecordedArray& array = *property.mutable_array();
            array.set_content(std::string(array.content().size(), '\0'));
            for (std::string& element : *array.mutable_element()) {
                element = Utf16Bytes(Text(Utf16Text(element)));
            }
        }
    }

    // ---- everything ----
    // Every text and every string of bytes in a message.
    template <class Change>
    static void ForEachText(google::protobuf::Message& message, const Change& change)
    {
        const auto& reflection = *message.GetReflection();
        std::vector<const google::protobuf::FieldDescriptor*> fields;
        reflection.ListFields(message, &fields);
        for (const auto* field : fields) {
            const bool isText = field->cpp_type() == google::protobuf::FieldDescriptor::CPPTYPE_STRING;
            const bool isMessage = field->cpp_type() == google::protobuf::FieldDescriptor::CPPTYPE_MESSAGE;
            for (int at = 0; at < (field->is_repeated() ? reflection.FieldSize(message, field) : 1); ++at) {
                if (isMessage) {
                    ForEachText(field->is_repeated() ? *reflection.MutableRepeatedMessage(&message, field, at)
                                                     : *reflection.MutableMessage(&message, field),
                                change);
                } else if (isText && field->is_repeated()) {
                    std::string content = reflection.GetRepeatedString(message, field, at);
                    change(*field, content);
                    reflection.SetRepeatedString(&message, field, at, content);
                } else if (isText) {
                    std::string content = reflection.GetString(message, field);
                    change(*field, content);
                    reflection.SetString(&message, field, content);
                }
            }
        }
    }
    void ReplaceEverywhere()
    {
        ForEachText(m_Recording, [this](const google::protobuf::FieldDescriptor& field, std::string& content) {
            constexpr std::array<std::string_view, 6> kAnswers{"subject", "output", "data", "utf16", "content", "element"};
            if (std::ranges::find(kAnswers, field.name()) != kAnswers.end()) {
                content = m_Pseudonyms.In(content);
            }
        });
        auto& calls = *m_Recording.mutable_call();
        calls.erase(std::remove_if(calls.begin(), calls.end(), [this](RecordedCall& call) { return !ConvertAgain(call); }),
                    calls.end());
    }

    // ---- texts in another code page than UTF-8 ----
    // One byte for each character: such a conversion can be made for another text.
    static bool IsSingle(const RecordedCall& call)
    {
        const std::size_t size = call.request().size();
        return call.operation() == "Text::DefaultToWide" && call.answer_size() == 1 &&
               (call.room() == 0 ? call.answer(0).returned() == size : call.answer(0).output().size() == size * 2);
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
    // False for a conversion that cannot; the replay then converts the text itself.
    bool ConvertAgain(RecordedCall& call)
    {
        const std::string replaced = call.operation().starts_with("Text::") ? m_Pseudonyms.In(call.request()) : call.request();
        if (replaced == call.request()) {
            return true;
        }
        const bool isSingle = IsSingle(call);
        call.set_request(replaced);
        std::u16string wide;
        for (const char byte : call.room() != 0 ? replaced : std::string()) {
            const auto code = static_cast<unsigned char>(byte);
            wide += m_Characters[code].value_or(static_cast<char16_t>(code));
        }
        call.mutable_answer(0)->set_output(Utf16Bytes(wide));
        return isSingle;
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
