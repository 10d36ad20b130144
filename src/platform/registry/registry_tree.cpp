#include "platform/registry/registry_tree.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "velmar/guid.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// Insertion order is kept, so that of two spellings of a name the first stays first.
using json = nlohmann::ordered_json;

constexpr size_t kMaxKeyName = 255;
constexpr size_t kMaxValueName = 16383;
constexpr int kMaxDepth = 512;
constexpr const char* kFormat = "kivara-registry";
constexpr int kFormatVersion = 1;

template <class Items>
auto FindNamed(Items& items, std::u16string_view name) -> decltype(items.data()) {
  for (auto& item : items)
    if (EqualsNoCase(item.name, name)) return &item;
  return nullptr;
}

template <class Items>
bool RemoveNamed(Items& items, std::u16string_view name) {
  auto it = std::find_if(items.begin(), items.end(),
                         [&](const auto& item) { return EqualsNoCase(item.name, name); });
  if (it == items.end()) return false;
  items.erase(it);
  return true;
}

const char* TypeName(RegType t) {
  switch (t) {
    case RegType::kString: return "string";
    case RegType::kBinary: return "binary";
    case RegType::kU32: return "u32";
    case RegType::kU64: return "u64";
  }
  return "string";
}

std::string ToHex(const std::vector<uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  out.reserve(bytes.size() * 2);
  for (uint8_t b : bytes) {
    out.push_back(kDigits[b >> 4]);
    out.push_back(kDigits[b & 15]);
  }
  return out;
}

std::optional<std::vector<uint8_t>> FromHex(const std::string& hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::vector<uint8_t> out;
  out.reserve(hex.size() / 2);
  for (size_t i = 0; i < hex.size(); i += 2) {
    auto v = guid_detail::Hex(std::string_view(hex).substr(i, 2));
    if (!v) return std::nullopt;
    out.push_back(static_cast<uint8_t>(*v));
  }
  return out;
}

json DataToJson(const RegData& data) {
  json v = json::object();
  v["type"] = TypeName(TypeOf(data));
  std::visit(
      [&](const auto& d) {
        using T = std::decay_t<decltype(d)>;
        if constexpr (std::is_same_v<T, std::u16string>) v["data"] = WideToUtf8(d);
        else if constexpr (std::is_same_v<T, std::vector<uint8_t>>) v["data"] = ToHex(d);
        else v["data"] = d;
      },
      data);
  return v;
}

std::optional<RegData> DataFromJson(const json& v) {
  if (!v.is_object() || !v.contains("type") || !v.contains("data")) return std::nullopt;
  const json& type = v["type"];
  const json& data = v["data"];
  if (!type.is_string()) return std::nullopt;
  const std::string& t = type.get_ref<const std::string&>();
  if (t == "string" && data.is_string()) return RegData(Utf8ToWide(data.get_ref<const std::string&>()));
  if (t == "binary" && data.is_string()) {
    auto bytes = FromHex(data.get_ref<const std::string&>());
    if (bytes) return RegData(std::move(*bytes));
    return std::nullopt;
  }
  if (!data.is_number_unsigned()) return std::nullopt;
  uint64_t n = data.get<uint64_t>();
  if (t == "u64") return RegData(n);
  if (t == "u32" && n <= UINT32_MAX) return RegData(static_cast<uint32_t>(n));
  return std::nullopt;
}

template <class Items>
std::vector<const typename Items::value_type*> SortedByName(const Items& items) {
  std::vector<const typename Items::value_type*> out;
  for (const auto& item : items) out.push_back(&item);
  std::stable_sort(out.begin(), out.end(),
                   [](auto* a, auto* b) { return CompareNoCase(a->name, b->name) < 0; });
  return out;
}

json NodeToJson(const RegNode& node) {
  json keys = json::object();
  for (const RegNode* k : SortedByName(node.keys)) keys[WideToUtf8(k->name)] = NodeToJson(*k);
  json values = json::object();
  for (const RegValue* v : SortedByName(node.values))
    values[WideToUtf8(v->name)] = DataToJson(v->data);
  json out = json::object();
  out["keys"] = std::move(keys);
  out["values"] = std::move(values);
  return out;
}

bool NodeFromJson(const json& j, RegNode* node, int depth) {
  if (!j.is_object() || depth > kMaxDepth) return false;
  if (auto it = j.find("keys"); it != j.end()) {
    if (!it->is_object()) return false;
    for (const auto& [name, sub] : it->items()) {
      RegNode child;
      child.name = Utf8ToWide(name);
      if (!NodeFromJson(sub, &child, depth + 1)) return false;
      node->keys.push_back(std::move(child));
    }
  }
  if (auto it = j.find("values"); it != j.end()) {
    if (!it->is_object()) return false;
    for (const auto& [name, v] : it->items()) {
      auto data = DataFromJson(v);
      if (!data) return false;
      node->values.push_back(RegValue{Utf8ToWide(name), std::move(*data)});
    }
  }
  return true;
}

}  // namespace

RegType TypeOf(const RegData& data) {
  static constexpr RegType kTypes[] = {RegType::kString, RegType::kU32, RegType::kU64,
                                       RegType::kBinary};
  return kTypes[data.index()];
}

RegNode* RegNode::FindKey(std::u16string_view key) { return FindNamed(keys, key); }
const RegNode* RegNode::FindKey(std::u16string_view key) const { return FindNamed(keys, key); }

RegNode& RegNode::FindOrAddKey(std::u16string_view key) {
  if (RegNode* k = FindKey(key)) return *k;
  keys.push_back(RegNode{std::u16string(key), {}, {}});
  return keys.back();
}

bool RegNode::RemoveKey(std::u16string_view key) { return RemoveNamed(keys, key); }

RegValue* RegNode::FindValue(std::u16string_view value) { return FindNamed(values, value); }
const RegValue* RegNode::FindValue(std::u16string_view value) const {
  return FindNamed(values, value);
}

void RegNode::SetValue(std::u16string_view value, RegData data) {
  if (RegValue* v = FindValue(value)) {
    v->data = std::move(data);
    return;
  }
  values.push_back(RegValue{std::u16string(value), std::move(data)});
}

bool RegNode::RemoveValue(std::u16string_view value) { return RemoveNamed(values, value); }

std::optional<std::vector<std::u16string>> SplitKeyPath(std::u16string_view path) {
  std::vector<std::u16string> parts;
  if (path.empty()) return parts;
  size_t start = 0;
  for (;;) {
    size_t end = path.find(u'\\', start);
    std::u16string_view part = path.substr(start, end == std::u16string_view::npos ? end : end - start);
    if (part.empty() || part.size() > kMaxKeyName) return std::nullopt;
    parts.emplace_back(part);
    if (end == std::u16string_view::npos) return parts;
    start = end + 1;
  }
}

bool IsValidValueName(std::u16string_view name) { return name.size() <= kMaxValueName; }

RegNode* Walk(RegNode& root, const std::vector<std::u16string>& parts) {
  RegNode* node = &root;
  for (const auto& p : parts) {
    node = node->FindKey(p);
    if (!node) return nullptr;
  }
  return node;
}

const RegNode* Walk(const RegNode& root, const std::vector<std::u16string>& parts) {
  return Walk(const_cast<RegNode&>(root), parts);
}

std::string RegistryToJson(const RegNode& root) {
  json doc = json::object();
  doc["format"] = kFormat;
  doc["version"] = kFormatVersion;
  doc["root"] = NodeToJson(root);
  return doc.dump(2) + "\n";
}

std::optional<RegNode> RegistryFromJson(std::string_view text) {
  json doc = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!doc.is_object()) return std::nullopt;
  auto format = doc.find("format");
  auto version = doc.find("version");
  auto root = doc.find("root");
  if (format == doc.end() || *format != kFormat || version == doc.end() ||
      *version != kFormatVersion || root == doc.end())
    return std::nullopt;
  RegNode node;
  if (!NodeFromJson(*root, &node, 0)) return std::nullopt;
  return node;
}

}  // namespace velmar
