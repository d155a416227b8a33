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

}  // namespace Veyra::Orbis::Plugins
