// The in-memory tree behind structured storage: one node per storage or
// stream. Stream bytes are shared between copies of a tree until one of
// them writes (copy on write), so a transacted copy costs only its nodes.
//
// Not thread-safe: a tree belongs to the thread that uses its storage.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "velmar/guid.h"
#include "velmar/result.h"

namespace velmar {

struct StorageNode {
  std::u16string name;
  bool is_storage = false;
  Guid clsid;                                             // storages
  std::shared_ptr<std::string> bytes;                     // streams, never null
  std::vector<std::shared_ptr<StorageNode>> children;     // storages; change through Add/Remove/Rename
  bool open = false;  // an object holds this element now (opens are exclusive)

  static std::shared_ptr<StorageNode> NewStorage(std::u16string_view name);
  static std::shared_ptr<StorageNode> NewStream(std::u16string_view name,
                                                std::string contents = {});

  // A deep copy that shares stream bytes; nothing in it is open.
  std::shared_ptr<StorageNode> Clone() const;
  // Takes over `other`'s contents (class, bytes, children), keeping this
  // node's name and identity.
  void AssignContents(const StorageNode& other);

  // Children by name, any letter case; found through an index, so a
  // storage of many elements costs no scan per look-up.
  std::shared_ptr<StorageNode> Find(std::u16string_view child) const;
  bool Remove(std::u16string_view child);
  void Add(std::shared_ptr<StorageNode> child);
  // Renames a child in place (its identity and contents stay).
  void Rename(const std::shared_ptr<StorageNode>& child, std::u16string_view name);

  const std::string& Bytes() const { return *bytes; }
  // The bytes to change, copied first when another tree shares them.
  std::string& MutableBytes();

  // Children in the compound file's order.
  std::vector<const StorageNode*> Ordered() const;

 private:
  void Reindex();
  std::unordered_map<std::u16string, std::shared_ptr<StorageNode>> index_;  // by folded name
};

// S_OK for a name an element may have, else STG_E_INVALIDNAME.
[[nodiscard]] KivResult CheckElementName(std::u16string_view name);
// The compound file's order of names: shorter first, then by letters
// compared without regard to case.
bool CfbNameLess(std::u16string_view a, std::u16string_view b);

}  // namespace velmar
