#include "Targets.h"

#include <cstdlib>
#include <iostream>
#include <memory>

namespace orbis::fuzz {

void Require(bool holds, const char* rule)
{
    if (!holds) {
        std::cerr << "broken: " << rule << '\n';
        std::abort();
    }
}

void RequireReadable(const google::protobuf::MessageLite* message)
{
    if (message != nullptr) {
        const std::unique_ptr<google::protobuf::MessageLite> again(message->New());
        Require(again->ParseFromString(message->SerializeAsString()), "a message can be read again");
    }
}

}  // namespace orbis::fuzz
