// The key of a channel: its name and the id of its property, and the text
// that joins them, "[<id>]<name>". Square brackets in a name become "_", so
// the text always parses back into the same id and name. Channel factories
// list their channels by these texts; a host shows ChannelDisplayName.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace velmar {

class CChannelKey {
 public:
  // No key: not valid, empty text.
  CChannelKey() = default;
  // From a name and an id: always valid.
  CChannelKey(std::u16string_view name, uint32_t id);

  // From a text "[<id>]<name>". The id is the decimal number behind the "["
  // (read up to the first non-digit; none reads as 0). A text that does not
  // begin with "[" or has no "]" is no key: false, and `key` is left invalid.
  [[nodiscard]] static bool Parse(std::u16string_view text, CChannelKey* key);

  bool valid() const { return valid_; }
  const std::u16string& text() const { return text_; }
  const std::u16string& name() const { return name_; }
  uint32_t id() const { return id_; }

  friend bool operator==(const CChannelKey& a, const CChannelKey& b) { return a.text_ == b.text_; }
  friend bool operator<(const CChannelKey& a, const CChannelKey& b) { return a.text_ < b.text_; }

 private:
  bool valid_ = false;
  std::u16string text_;
  std::u16string name_;
  uint32_t id_ = 0;
};

// What a user sees of a listed channel: the name of its key, or the text
// as it stands when it is no key ("Speed" for "[3]Speed").
std::u16string ChannelDisplayName(std::u16string_view listed);

// `name` with every "[" and "]" replaced by "_".
std::u16string ReplaceBrackets(std::u16string_view name);

}  // namespace velmar
