// RegistryKey: a key path on a RegistryFile. Every call walks the path
// afresh, so a key deleted by someone else reads as not found.
#include <algorithm>

#include "platform/registry/registry_file.h"
#include "velmar/registry.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// The parts of a path that was checked when its key was opened.
std::vector<std::u16string> PartsOf(std::u16string_view path) {
  return SplitKeyPath(path).value_or(std::vector<std::u16string>{});
}

template <class T>
KivResult QueryTyped(const RegistryKey& key, std::u16string_view name, T* out) {
  if (!out) return E_POINTER;
  RegData data;
  KivResult r = key.QueryValue(name, &data);
  if (Failed(r)) return r;
  T* typed = std::get_if<T>(&data);
  if (!typed) return REG_E_WRONGTYPE;
  *out = std::move(*typed);
  return S_OK;
}

bool NameLess(const std::u16string& a, const std::u16string& b) {
  return CompareNoCase(a, b) < 0;
}

// Runs `fn` on the key at `path` as the file holds it now.
template <class Fn>
KivResult ReadKey(RegistryFile& file, std::u16string_view path, Fn fn) {
  const auto parts = PartsOf(path);
  return file.Read([&](const RegNode& root) {
    const RegNode* key = Walk(root, parts);
    return key ? fn(*key) : REG_E_NOTFOUND;
  });
}

// Runs `fn` on the key at `path` under the file's lock, writing on S_OK.
template <class Fn>
KivResult UpdateKey(RegistryFile& file, std::u16string_view path, Fn fn) {
  const auto parts = PartsOf(path);
  return file.Update([&](RegNode& root) {
    RegNode* key = Walk(root, parts);
    return key ? fn(*key) : REG_E_NOTFOUND;
  });
}

}  // namespace

KivResult RegistryKey::OpenOrCreate(std::shared_ptr<RegistryFile> file, std::u16string_view path,
                                    bool create, RegistryKey* out) {
  if (!out) return E_POINTER;
  if (!file) return E_INVALIDARG;
  auto parts = SplitKeyPath(path);
  if (!parts) return E_INVALIDARG;
  KivResult r = file->Read([&](const RegNode& root) {
    return Walk(root, *parts) ? S_OK : REG_E_NOTFOUND;
  });
  if (r == REG_E_NOTFOUND && create) {
    r = file->Update([&](RegNode& root) {
      RegNode* node = &root;
      for (const auto& p : *parts) node = &node->FindOrAddKey(p);
      return S_OK;
    });
  }
  if (Failed(r)) return r;
  *out = RegistryKey(std::move(file), std::u16string(path));
  return S_OK;
}

KivResult RegistryKey::Open(RegHive hive, std::u16string_view path, RegistryKey* out) {
  return OpenOrCreate(RegistryFile::ForHive(hive), path, false, out);
}

KivResult RegistryKey::Create(RegHive hive, std::u16string_view path, RegistryKey* out) {
  return OpenOrCreate(RegistryFile::ForHive(hive), path, true, out);
}

KivResult RegistryKey::Open(std::shared_ptr<RegistryFile> file, std::u16string_view path,
                            RegistryKey* out) {
  return OpenOrCreate(std::move(file), path, false, out);
}

KivResult RegistryKey::Create(std::shared_ptr<RegistryFile> file, std::u16string_view path,
                              RegistryKey* out) {
  return OpenOrCreate(std::move(file), path, true, out);
}

std::u16string RegistryKey::Join(std::u16string_view sub) const {
  if (path_.empty()) return std::u16string(sub);
  if (sub.empty()) return path_;
  return path_ + u"\\" + std::u16string(sub);
}

KivResult RegistryKey::OpenSubKey(std::u16string_view path, RegistryKey* out) const {
  if (!file_) return E_UNEXPECTED;
  return OpenOrCreate(file_, Join(path), false, out);
}

KivResult RegistryKey::CreateSubKey(std::u16string_view path, RegistryKey* out) const {
  if (!file_) return E_UNEXPECTED;
  return OpenOrCreate(file_, Join(path), true, out);
}

KivResult RegistryKey::QueryValue(std::u16string_view name, RegData* out) const {
  if (!out) return E_POINTER;
  if (!file_) return E_UNEXPECTED;
  return ReadKey(*file_, path_, [&](const RegNode& key) {
    const RegValue* value = key.FindValue(name);
    if (!value) return REG_E_NOTFOUND;
    *out = value->data;
    return S_OK;
  });
}

KivResult RegistryKey::QueryString(std::u16string_view name, std::u16string* out) const {
  return QueryTyped(*this, name, out);
}
KivResult RegistryKey::QueryU32(std::u16string_view name, uint32_t* out) const {
  return QueryTyped(*this, name, out);
}
KivResult RegistryKey::QueryU64(std::u16string_view name, uint64_t* out) const {
  return QueryTyped(*this, name, out);
}
KivResult RegistryKey::QueryBinary(std::u16string_view name, std::vector<uint8_t>* out) const {
  return QueryTyped(*this, name, out);
}

KivResult RegistryKey::SetValue(std::u16string_view name, RegData data) const {
  if (!file_) return E_UNEXPECTED;
  if (!IsValidValueName(name)) return E_INVALIDARG;
  // Written even when equal: a caller that sets a value wants to know the
  // registry takes writes.
  return UpdateKey(*file_, path_, [&](RegNode& key) {
    key.SetValue(name, std::move(data));
    return S_OK;
  });
}

KivResult RegistryKey::SetString(std::u16string_view name, std::u16string_view text) const {
  return SetValue(name, RegData(std::u16string(text)));
}
KivResult RegistryKey::SetU32(std::u16string_view name, uint32_t value) const {
  return SetValue(name, RegData(value));
}
KivResult RegistryKey::SetU64(std::u16string_view name, uint64_t value) const {
  return SetValue(name, RegData(value));
}
KivResult RegistryKey::SetBinary(std::u16string_view name, std::vector<uint8_t> bytes) const {
  return SetValue(name, RegData(std::move(bytes)));
}

KivResult RegistryKey::DeleteValue(std::u16string_view name) const {
  if (!file_) return E_UNEXPECTED;
  return UpdateKey(*file_, path_, [&](RegNode& key) {
    return key.RemoveValue(name) ? S_OK : REG_E_NOTFOUND;
  });
}

KivResult RegistryKey::DeleteSubKey(std::u16string_view path) const {
  if (!file_) return E_UNEXPECTED;
  auto sub = SplitKeyPath(path);
  if (!sub || sub->empty()) return E_INVALIDARG;
  auto parts = PartsOf(path_);
  parts.insert(parts.end(), sub->begin(), sub->end() - 1);
  return file_->Update([&](RegNode& root) {
    RegNode* parent = Walk(root, parts);
    return parent && parent->RemoveKey(sub->back()) ? S_OK : REG_E_NOTFOUND;
  });
}

KivResult RegistryKey::EnumSubKeys(std::vector<std::u16string>* out) const {
  if (!out) return E_POINTER;
  if (!file_) return E_UNEXPECTED;
  return ReadKey(*file_, path_, [&](const RegNode& key) {
    out->clear();
    for (const RegNode& k : key.keys) out->push_back(k.name);
    std::stable_sort(out->begin(), out->end(), NameLess);
    return S_OK;
  });
}

KivResult RegistryKey::EnumValues(std::vector<RegValue>* out) const {
  if (!out) return E_POINTER;
  if (!file_) return E_UNEXPECTED;
  return ReadKey(*file_, path_, [&](const RegNode& key) {
    *out = key.values;
    std::stable_sort(out->begin(), out->end(),
                     [](const RegValue& a, const RegValue& b) { return NameLess(a.name, b.name); });
    return S_OK;
  });
}

}  // namespace velmar
