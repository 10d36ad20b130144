// Copies a snapshot of a tree into any storage, through its interface only,
// so the destination may be another tree, another file or memory.
#pragma once

#include <string>
#include <string_view>

#include "platform/storage/storage_node.h"
#include "velmar/storage.h"

namespace velmar {

// Sets `dest`'s class and copies every element of `src` into it: streams
// replace streams of the same name, storages merge into storages.
[[nodiscard]] KivResult CopyContents(const StorageNode& src, IKivStorage* dest);

// Makes `name` in `dest` (which must be free) as a copy of `src`.
[[nodiscard]] KivResult CopyElement(const StorageNode& src, IKivStorage* dest,
                                    std::u16string_view name);

// Writes all of `bytes` at the stream's position.
[[nodiscard]] KivResult WriteAll(IKivStream* stream, std::string_view bytes);

}  // namespace velmar
