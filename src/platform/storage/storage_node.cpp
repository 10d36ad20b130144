#include "platform/storage/storage_node.h"

#include <algorithm>

#include "velmar/text.h"

namespace velmar {
namespace {

constexpr size_t kMaxNameLength = 31;  // 32 UTF-16 units with the closing null

bool IsSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDFFF; }
bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

}  // namespace

std::shared_ptr<StorageNode> StorageNode::NewStorage(std::u16string_view name) {
  auto n = std::make_shared<StorageNode>();
  n->name = name;
  n->is_storage = true;
  n->bytes = std::make_shared<std::string>();
  return n;
}

std::shared_ptr<StorageNode> StorageNode::NewStream(std::u16string_view name,
                                                    std::string contents) {
  auto n = std::make_shared<StorageNode>();
  n->name = name;
  n->bytes = std::make_shared<std::string>(std::move(contents));
  return n;
}

std::shared_ptr<StorageNode> StorageNode::Clone() const {
  auto n = std::make_shared<StorageNode>();
  n->name = name;
  n->AssignContents(*this);
  return n;
}

void StorageNode::AssignContents(const StorageNode& other) {
  is_storage = other.is_storage;
  clsid = other.clsid;
  bytes = other.bytes;
  std::vector<std::shared_ptr<StorageNode>> copies;
  copies.reserve(other.children.size());
  for (const auto& c : other.children) copies.push_back(c->Clone());
  children = std::move(copies);
  Reindex();
}

void StorageNode::Reindex() {
  index_.clear();
  for (const auto& c : children) index_.emplace(ToLowerWide(c->name), c);
}

std::shared_ptr<StorageNode> StorageNode::Find(std::u16string_view child) const {
  auto it = index_.find(ToLowerWide(child));
  return it == index_.end() ? nullptr : it->second;
}

void StorageNode::Add(std::shared_ptr<StorageNode> child) {
  index_.emplace(ToLowerWide(child->name), child);
  children.push_back(std::move(child));
}

bool StorageNode::Remove(std::u16string_view child) {
  auto found = index_.find(ToLowerWide(child));
  if (found == index_.end()) return false;
  children.erase(std::find(children.begin(), children.end(), found->second));
  index_.erase(found);
  return true;
}

void StorageNode::Rename(const std::shared_ptr<StorageNode>& child, std::u16string_view name) {
  index_.erase(ToLowerWide(child->name));
  child->name = name;
  index_.emplace(ToLowerWide(child->name), child);
}

std::string& StorageNode::MutableBytes() {
  if (bytes.use_count() > 1) bytes = std::make_shared<std::string>(*bytes);
  return *bytes;
}

std::vector<const StorageNode*> StorageNode::Ordered() const {
  std::vector<const StorageNode*> out;
  out.reserve(children.size());
  for (const auto& c : children) out.push_back(c.get());
  std::stable_sort(out.begin(), out.end(),
                   [](const StorageNode* a, const StorageNode* b) { return CfbNameLess(a->name, b->name); });
  return out;
}

KivResult CheckElementName(std::u16string_view name) {
  if (name.empty() || name.size() > kMaxNameLength) return STG_E_INVALIDNAME;
  for (size_t i = 0; i < name.size(); ++i) {
    char16_t c = name[i];
    if (c == 0 || c == u'/' || c == u'\\' || c == u':' || c == u'!') return STG_E_INVALIDNAME;
    if (IsSurrogate(c)) {
      // Only whole pairs: the file keeps names as UTF-16, libgsf passes them as UTF-8.
      if (!IsHighSurrogate(c) || i + 1 == name.size() || !IsLowSurrogate(name[i + 1]))
        return STG_E_INVALIDNAME;
      ++i;
    }
  }
  return S_OK;
}

bool CfbNameLess(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return a.size() < b.size();
  return CompareNoCase(a, b) < 0;
}

}  // namespace velmar
