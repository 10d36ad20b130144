#include "velmar/channel_key.h"

#include <algorithm>
#include <limits>
#include <string>

namespace velmar {

std::u16string ReplaceBrackets(std::u16string_view name) {
  std::u16string out(name);
  std::replace_if(out.begin(), out.end(), [](char16_t c) { return c == u'[' || c == u']'; }, u'_');
  return out;
}

namespace {

std::u16string Decimal(uint32_t value) {
  const std::string digits = std::to_string(value);
  return std::u16string(digits.begin(), digits.end());
}

// The digits at the start of `text`, as atoi reads them; wraps like an
// unsigned 32-bit value would rather than overflowing.
uint32_t LeadingNumber(std::u16string_view text) {
  uint32_t value = 0;
  for (char16_t c : text) {
    if (c < u'0' || c > u'9') break;
    value = value * 10u + static_cast<uint32_t>(c - u'0');
  }
  return value;
}

}  // namespace

CChannelKey::CChannelKey(std::u16string_view name, uint32_t id)
    : valid_(true), name_(ReplaceBrackets(name)), id_(id) {
  text_ = u"[" + Decimal(id) + u"]" + name_;
}

bool CChannelKey::Parse(std::u16string_view text, CChannelKey* key) {
  if (!key) return false;
  *key = CChannelKey();
  if (text.empty() || text.front() != u'[') return false;
  const size_t close = text.find(u']');
  if (close == std::u16string_view::npos) return false;
  key->valid_ = true;
  key->id_ = LeadingNumber(text.substr(1, close - 1));
  key->name_ = std::u16string(text.substr(close + 1));
  key->text_ = std::u16string(text);
  return true;
}

std::u16string ChannelDisplayName(std::u16string_view listed) {
  CChannelKey key;
  return CChannelKey::Parse(listed, &key) ? key.name() : std::u16string(listed);
}

}  // namespace velmar
