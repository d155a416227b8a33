#include "JsonWriter.h"

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/type.pb.h>
#include <google/protobuf/util/json_util.h>
#include <google/protobuf/util/type_resolver.h>

#include <string_view>
#include <unordered_map>
#include <utility>

#include "SchemaBytes.h"
#include "orbis/host/internal/schema_files.pb.h"

namespace orbis::host {
namespace {

namespace pb = google::protobuf;

constexpr std::string_view kTypeUrlPrefix = "type.googleapis.com/";
constexpr const char* kNull = "null";

// Several messages are written as one: a list of entries with one message each. The name of an entry's field is no identifier, so
// what precedes the message occurs nowhere else in the text: inside a JSON string its quotes would be escaped.
constexpr const char* kListUrl = "type.googleapis.com/#list";
constexpr const char* kEntryUrl = "type.googleapis.com/#entry";
constexpr std::string_view kBeforeMessage = R"({"#":)";

std::string TypeUrl(std::string_view name) { return std::string(kTypeUrlPrefix).append(name); }

// The encoded field 1 of a message, itself a message.
std::string Embedded(const std::string& message)
{
    std::string out;
    pb::io::StringOutputStream stream(&out);
    pb::io::CodedOutputStream coded(&stream);
    coded.WriteTag((1U << 3U) | 2U);  // field 1, length-delimited
    coded.WriteVarint64(message.size());
    coded.WriteString(message);
    coded.Trim();
    return out;
}

}  // namespace

// The types of the schema by their URL. A file of the schema is decoded when a type of it is asked for.
class JsonWriter::Types final : public pb::util::TypeResolver {
public:
    Types() { m_Files.ParseFromArray(kSchemaFiles, sizeof(kSchemaFiles)); }

    // The type of the messages in a list.
    void SetListed(std::string url) { m_Listed = std::move(url); }

    pb::util::Status ResolveMessageType(const std::string& url, pb::Type* type) override
    {
        if (url == kListUrl || url == kEntryUrl) {
            pb::Field& field = *type->add_fields();
            field.set_kind(pb::Field::TYPE_MESSAGE);
            field.set_cardinality(url == kListUrl ? pb::Field::CARDINALITY_REPEATED : pb::Field::CARDINALITY_OPTIONAL);
            field.set_number(1);
            field.set_json_name("#");
            field.set_type_url(url == kListUrl ? kEntryUrl : m_Listed);
            return {};
        }
        const pb::DescriptorProto* const message = Find(m_Messages, url);
        if (message == nullptr) {
            return pb::util::NotFoundError(url);
        }
        type->set_name(url.substr(kTypeUrlPrefix.size()));
        for (const pb::FieldDescriptorProto& from : message->field()) {
            pb::Field& field = *type->add_fields();
            field.set_kind(static_cast<pb::Field::Kind>(from.type()));  // the numbers of both are the same
            field.set_cardinality(static_cast<pb::Field::Cardinality>(from.label()));
            field.set_number(from.number());
            field.set_name(from.name());
            field.set_json_name(from.json_name());
            if (from.has_type_name()) {
                field.set_type_url(from.type_name());
            }
        }
        return {};
    }

    pb::util::Status ResolveEnumType(const std::string& url, pb::Enum* type) override
    {
        const pb::EnumDescriptorProto* const values = Find(m_Enums, url);
        if (values == nullptr) {
            return pb::util::NotFoundError(url);
        }
        type->set_name(url.substr(kTypeUrlPrefix.size()));
        for (const pb::EnumValueDescriptorProto& from : values->value()) {
            pb::EnumValue& value = *type->add_enumvalue();
            value.set_name(from.name());
            value.set_number(from.number());
        }
        return {};
    }

private:
    template <class Definition>
    using Definitions = std::unordered_map<std::string, const Definition*>;

    template <class Definition>
    const Definition* Find(const Definitions<Definition>& known, const std::string& url)
    {
        auto found = known.find(url);
        const std::string_view name = std::string_view(url).substr(url.find_last_of("./") + 1);
        for (std::string& file : *m_Files.mutable_file()) {
            if (found != known.end()) {
                break;
            }
            if (file.find(name) != std::string::npos) {  // as in every file that defines it
                Decode(std::exchange(file, {}));
                found = known.find(url);
            }
        }
        return found != known.end() ? found->second : nullptr;
    }

    void Decode(const std::string& encoded)
    {
        auto& file = *pb::Arena::CreateMessage<pb::FileDescriptorProto>(&m_Arena);
        file.ParseFromString(encoded);
        Learn(TypeUrl(file.package()), *file.mutable_message_type(), file.enum_type());
    }

    void Learn(const std::string& scope, pb::RepeatedPtrField<pb::DescriptorProto>& messages,
               const pb::RepeatedPtrField<pb::EnumDescriptorProto>& enums)
    {
        for (const pb::EnumDescriptorProto& one : enums) {
            m_Enums.emplace(scope + '.' + one.name(), &one);
        }
        for (pb::DescriptorProto& one : messages) {
            const std::string url = scope + '.' + one.name();
            m_Messages.emplace(url, &one);
            for (pb::FieldDescriptorProto& field : *one.mutable_field()) {
                if (field.has_type_name()) {  // ".package.Name"
                    field.mutable_type_name()->replace(0, 1, kTypeUrlPrefix);
                }
            }
            Learn(url, *one.mutable_nested_type(), one.enum_type());
        }
    }

    std::string m_Listed;
    pb::Arena m_Arena;
    SchemaFiles m_Files;
    Definitions<pb::DescriptorProto> m_Messages;
    Definitions<pb::EnumDescriptorProto> m_Enums;
};

JsonWriter::JsonWriter() : m_Types(std::make_unique<Types>()) {}

JsonWriter::~JsonWriter() = default;

std::string JsonWriter::Write(const std::string& type, const pb::MessageLite& message)
{
    std::string text;
    const auto status = pb::util::BinaryToJsonString(m_Types.get(), TypeUrl(type), message.SerializeAsString(), &text);
    return status.ok() ? text : std::string(kNull);
}

std::vector<std::string> JsonWriter::Write(const std::string& type, const std::vector<const pb::MessageLite*>& messages)
{
    std::string list;
    for (const pb::MessageLite* const message : messages) {
        if (message != nullptr) {
            list += Embedded(Embedded(message->SerializeAsString()));
        }
    }
    m_Types->SetListed(TypeUrl(type));
    std::string text;
    const auto status = pb::util::BinaryToJsonString(m_Types.get(), kListUrl, list, &text);
    std::vector<std::string> texts;
    std::size_t begin = text.find(kBeforeMessage, 1);  // behind the same characters, which begin the list
    for (const pb::MessageLite* const message : messages) {
        if (message == nullptr || !status.ok()) {
            texts.push_back(message == nullptr ? kNull : Write(type, *message));  // only the one that fails is lost
            continue;
        }
        begin += kBeforeMessage.size();
        const std::size_t next = text.find(kBeforeMessage, begin);
        // Between two messages are the end of an entry and a comma, behind the last one the ends of entry, list and text.
        const std::size_t end = next != std::string::npos ? next - 2 : text.size() - 3;
        texts.push_back(text.substr(begin, end - begin));
        begin = next;
    }
    return texts;
}

}  // namespace orbis::host
