#pragma once

#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/message_lite.h>

namespace orbis::host {

// Writes messages as protobuf's canonical JSON. The types that protobuf's writer asks for are made from the encoded schema. To make
// them from descriptors, as MessageToJsonString does, takes a fifth of all instructions of a one-shot collection.
class JsonWriter {
public:
    JsonWriter();
    ~JsonWriter();
    JsonWriter(const JsonWriter&) = delete;
    JsonWriter& operator=(const JsonWriter&) = delete;

    // A message of the datatypes, of this program's documents or of what they import, by the full name of its type; "null" when it
    // cannot be written. The name is an argument because a message that is asked for it builds its descriptors.
    [[nodiscard]] std::string Write(const std::string& type, const google::protobuf::MessageLite& message);
    // Each of several messages of one type; "null" for a null pointer. protobuf's writer looks at the type once for all of them,
    // which takes as long as to write one message.
    [[nodiscard]] std::vector<std::string> Write(const std::string& type,
                                                 const std::vector<const google::protobuf::MessageLite*>& messages);

private:
    class Types;
    const std::unique_ptr<Types> m_Types;
};

}  // namespace orbis::host
