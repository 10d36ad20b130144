// The in-memory form of one registry hive and its JSON text.
//
// Names compare without regard to case; the first spelling written stays.
// Not thread-safe: RegistryFile guards it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velmar/registry.h"

namespace velmar {

struct RegNode {
  std::u16string name;
  std::vector<RegNode> keys;
  std::vector<RegValue> values;

  RegNode* FindKey(std::u16string_view key);
  const RegNode* FindKey(std::u16string_view key) const;
  // Finds the key or appends a new one named `key`.
  RegNode& FindOrAddKey(std::u16string_view key);
  bool RemoveKey(std::u16string_view key);

  RegValue* FindValue(std::u16string_view value);
  const RegValue* FindValue(std::u16string_view value) const;
  // Sets the data; a new value takes `value` as its name.
  void SetValue(std::u16string_view value, RegData data);
  bool RemoveValue(std::u16string_view value);
};

// Splits "A\B\C" into its parts. Empty path: no parts. Nothing for a path
// with an empty part or a part longer than a key name may be.
std::optional<std::vector<std::u16string>> SplitKeyPath(std::u16string_view path);
bool IsValidValueName(std::u16string_view name);

// Follows `parts` from `root`; null when a key on the way is missing.
RegNode* Walk(RegNode& root, const std::vector<std::u16string>& parts);
const RegNode* Walk(const RegNode& root, const std::vector<std::u16string>& parts);

// JSON text of a hive, and back. Parsing gives nothing for text that is not
// a registry file of a known layout.
std::string RegistryToJson(const RegNode& root);
std::optional<RegNode> RegistryFromJson(std::string_view text);

}  // namespace velmar
