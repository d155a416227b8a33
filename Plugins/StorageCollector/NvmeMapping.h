#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <google/protobuf/arena.h>

#include "MessageArena.h"
#include "StorageHelper.h"
#include "platform/Text.h"
#include "sondix/sondix.h"

// Shared by the NVMe mappers. Each of their lines fills one field: the message's setter on the left, the drive's field on the
// right.
namespace Veyra::Orbis::Plugins::NvmeMapping {

// Owns an object of the device-query library as soon as it is returned. Null stays null.
template <class Object>
[[nodiscard]] std::shared_ptr<Object> TakeOwnership(Object* object)
{
    return object != nullptr ? std::shared_ptr<Object>(object, SXDelete) : nullptr;
}

// Fills a new message from an object of the library and releases the object. Without an object there is no message.
template <class Message, class Object, class Fill>
[[nodiscard]] Message* Map(Object* object, google::protobuf::Arena& arena, Fill fill)
{
    const std::shared_ptr<const Object> from = TakeOwnership(object);
    if (from == nullptr) {
        return nullptr;
    }
    auto* to = NewMessage<Message>(arena);
    fill(*to, *from);
    return to;
}

// A text of the drive: trimmed, up to the first remaining zero byte, as UTF-8.
template <std::size_t N>
[[nodiscard]] std::string Text(const veyra::Carray<N>& field)
{
    return orbis::platform::DefaultToUtf8(StorageHelper::Trim(field.Str()).c_str());
}

// All N bytes, or none when the first is zero. Intentional: a little-endian number that is a
// multiple of 256 is sent empty.
template <std::size_t N>
[[nodiscard]] std::string Bytes(const veyra::Carray<N>& field)
{
    const std::string_view bytes = field.View();
    return StorageHelper::RawBufferToByteString(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                                static_cast<std::int32_t>(bytes.size()));
}

}  // namespace Veyra::Orbis::Plugins::NvmeMapping
