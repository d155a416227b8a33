#pragma once

#include <cstddef>
#include <memory>

#include <google/protobuf/arena.h>

namespace Veyra::Orbis::Plugins {

// An arena for the messages of one collection. Its first block holds what one drive needs; more drives add blocks.
[[nodiscard]] inline std::shared_ptr<google::protobuf::Arena> NewMessageArena()
{
    constexpr std::size_t kKiB = 1024;
    google::protobuf::ArenaOptions options;
    options.start_block_size = 16 * kKiB;
    options.max_block_size = 64 * kKiB;
    return std::make_shared<google::protobuf::Arena>(options);
}

// A new message on an arena. Releases of protobuf before 22 do this with CreateMessage, releases from 30 on only with Create; the
// older name is used where it exists. `MessageArena` is a template parameter so that the name is looked up at instantiation.
template <class Message, class MessageArena = google::protobuf::Arena>
[[nodiscard]] Message* NewMessage(MessageArena& arena)
{
    if constexpr (requires { MessageArena::template CreateMessage<Message>(&arena); }) {
        return MessageArena::template CreateMessage<Message>(&arena);
    } else {
        return MessageArena::template Create<Message>(&arena);
    }
}

}  // namespace Veyra::Orbis::Plugins
