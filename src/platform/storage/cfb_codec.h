// Compound file (CFB) bytes to a storage tree and back, through libgsf.
//
// Thread-safety: the functions may run on several threads at once.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/storage/storage_node.h"

namespace velmar {

// Reads every storage and stream of a compound file. STG_E_DOCFILECORRUPT
// for bytes that are not a whole, consistent compound file.
[[nodiscard]] KivResult ParseCompoundFile(std::string_view bytes,
                                          std::shared_ptr<StorageNode>* root);

// The compound file of a tree (512-byte sectors, version 3).
[[nodiscard]] KivResult SerializeCompoundFile(const StorageNode& root, std::string* bytes);

// True when the bytes start with the compound file signature.
bool HasCompoundFileSignature(std::string_view bytes);

}  // namespace velmar
