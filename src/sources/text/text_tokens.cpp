#include "sources/text/text_tokens.h"

#include <cstring>

namespace velmar {

Token TokenCursor::Read(bool blanksAllowed) {
  Token t;
  size_t start = pos_;
  size_t p = pos_;
  bool brace = false;
  for (; p < line_.size(); ++p) {
    char c = line_[p];
    if (EndsToken(c) || (c == ' ' && !blanksAllowed)) break;
    brace |= c == '{' || c == '}';
  }
  size_t length = p - start;
  t.truncated = length > kMaxToken;
  t.text = line_.substr(start, t.truncated ? kMaxToken : length);
  t.end = p < line_.size() ? line_[p] : 0;
  pos_ = p < line_.size() ? p + 1 : p;
  if (brace) {
    t.error = TokenError::kBrace;
  } else if (length == 0) {
    t.error = TokenError::kEmpty;
  }
  return t;
}

void TokenCursor::SkipBlanks() {
  while (pos_ < line_.size() && (line_[pos_] == ' ' || line_[pos_] == '\b')) ++pos_;
}

void TokenCursor::SkipToNextTab() {
  while (pos_ < line_.size() && line_[pos_] != '\t') ++pos_;
  if (pos_ < line_.size()) ++pos_;
}

std::string_view LineAt(std::string_view bytes, size_t pos, size_t limit, size_t* next) {
  if (pos >= limit) {
    *next = limit;
    return {};
  }
  const void* lf = std::memchr(bytes.data() + pos, '\n', limit - pos);
  size_t end = lf ? static_cast<size_t>(static_cast<const char*>(lf) - bytes.data()) : limit;
  *next = lf ? end + 1 : limit;
  return bytes.substr(pos, end - pos);
}

}  // namespace velmar
