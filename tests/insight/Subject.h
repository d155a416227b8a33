#pragma once

#include <google/protobuf/text_format.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ChangingMachine.h"
#include "Collections.h"
#include "orbis/simulated/machine.pb.h"
#include "simulated/Machine.h"

// The messages of one disk, and their fields that differ when an answer of the machine is changed.
namespace orbis::insight {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using simulated::description::Machine;

struct SentValue {
    std::string field;   // "Message.field"
    std::string within;  // the field that holds the message, if any
    std::string text;
    bool operator==(const SentValue&) const = default;
};
using SentValues = std::map<std::string, SentValue>;  // by path
inline constexpr const char* kEmptyText = "\"\"";

inline void Flatten(const Message& message, const std::string& prefix, const std::string& within, SentValues& values)
{
    const auto& reflection = *message.GetReflection();
    std::vector<const FieldDescriptor*> fields;
    reflection.ListFields(message, &fields);
    for (const FieldDescriptor* field : fields) {
        const std::string name = field->containing_type()->name() + "." + field->name();
        const std::string path = prefix + "." + field->name();
        const bool isOwn = field->type() == FieldDescriptor::TYPE_MESSAGE &&
                           field->message_type()->file()->package() == message.GetDescriptor()->file()->package();
        const int count = field->is_repeated() ? reflection.FieldSize(message, field) : 1;
        for (int at = 0; at < count; ++at) {
            const std::string one = path + "[" + std::to_string(at) + "]";
            if (isOwn) {
                Flatten(field->is_repeated() ? reflection.GetRepeatedMessage(message, field, at)
                                             : reflection.GetMessage(message, field),
                        one, name, values);
                continue;
            }
            SentValue& value = values[one];
            value = {name, within, {}};
            google::protobuf::TextFormat::Printer().PrintFieldValueToString(message, field, field->is_repeated() ? at : -1,
                                                                            &value.text);
        }
    }
}

struct Changed {
    SentValue value;
    bool isGone = false;
};

// One disk of a machine, with everything that is there beside disks.
class Subject {
public:
    explicit Subject(const Machine& description) : m_Machine(description), m_Changing(m_Machine)
    {
        platform::Platform::Replace(&m_Changing);
        m_Plugin = std::make_unique<Veyra::Orbis::Plugins::StorageCollectorPlugin>(nullptr);
        // A rate has no value before its second sample.
        static_cast<void>(proof::Collect(*m_Plugin, proof::Datatype::Dynamic));
        m_Machine.AdvanceClock(std::chrono::seconds(1));
        m_Changing.Forget();
        for (const proof::Datatype datatype : proof::kDatatypes) {
            m_Changing.asked.clear();
            m_Plain[datatype] = proof::Collect(*m_Plugin, datatype);
            m_PlainValues[datatype] = ValuesOf(m_Plain[datatype]);
            for (const Answer& answer : m_Changing.asked) {
                m_Users[answer].push_back(datatype);
            }
        }
    }
    ~Subject()
    {
        m_Plugin.reset();
        platform::Platform::Replace(nullptr);
    }
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    [[nodiscard]] std::map<Answer, Bytes> Answers() const { return m_Changing.answers; }

    // The datatypes that read an answer.
    [[nodiscard]] std::vector<proof::Datatype> UsersOf(const Answer& answer) const { return m_Users.at(answer); }

    // The fields that differ under a change. Datatypes that do not differ at all are taken out of `datatypes`.
    std::vector<Changed> Differences(const Change& change, std::vector<proof::Datatype>& datatypes)
    {
        std::vector<Changed> differences;
        m_Changing.Set(change);
        std::erase_if(datatypes, [&](proof::Datatype datatype) {
            const proof::Outcome outcome = proof::Collect(*m_Plugin, datatype);
            if (outcome == m_Plain[datatype]) {
                return true;
            }
            const SentValues& before = m_PlainValues[datatype];
            const SentValues now = ValuesOf(outcome);
            for (const auto& [path, value] : before) {
                const auto same = now.find(path);
                if (same == now.end() || same->second != value) {
                    differences.push_back({value, same == now.end() || same->second.text == kEmptyText});
                }
            }
            for (const auto& [path, value] : now) {
                if (!before.contains(path)) {
                    differences.push_back({value, false});
                }
            }
            return false;
        });
        m_Changing.Set({});
        return differences;
    }

private:
    static SentValues ValuesOf(const proof::Outcome& outcome)
    {
        SentValues values;
        for (std::size_t at = 0; at < outcome.items.size(); ++at) {
            if (outcome.items[at].message != nullptr) {
                Flatten(*outcome.items[at].message, std::to_string(at), {}, values);
            }
        }
        return values;
    }

    simulated::Machine m_Machine;
    ChangingMachine m_Changing;
    std::unique_ptr<Veyra::Orbis::Plugins::StorageCollectorPlugin> m_Plugin;
    std::map<proof::Datatype, proof::Outcome> m_Plain;
    std::map<proof::Datatype, SentValues> m_PlainValues;
    std::map<Answer, std::vector<proof::Datatype>> m_Users;
};

}  // namespace orbis::insight
