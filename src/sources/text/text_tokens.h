// Tokens of the text format: a run of characters ended by BS, TAB, LF, CR,
// the end of the line, or (where a field takes no blanks) a blank.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "sources/text/text_format.h"

namespace velmar {

enum class TokenError : uint8_t { kNone, kEmpty, kBrace };

struct Token {
  std::string_view text;  // at most kMaxToken characters
  TokenError error = TokenError::kNone;
  char end = 0;           // the character that ended it; 0 at the end of the line
  bool truncated = false; // longer than kMaxToken: the rest was dropped
  bool ok() const { return error == TokenError::kNone; }
};

inline bool EndsToken(char c) { return c == '\t' || c == '\n' || c == '\r' || c == '\b'; }

// Reads tokens from one line. The line is given without its LF, so the end
// of the line and the end of the file look alike.
class TokenCursor {
 public:
  explicit TokenCursor(std::string_view line) : line_(line) {}

  // The next token; the position moves past it and its one ending character.
  Token Read(bool blanksAllowed);
  // Any BS or blank before a field.
  void SkipBlanks();
  // Past the next TAB, or to the end of the line.
  void SkipToNextTab();
  bool AtEnd() const { return pos_ >= line_.size(); }
  // What is left of the line.
  std::string_view Rest() const { return line_.substr(pos_ < line_.size() ? pos_ : line_.size()); }

 private:
  std::string_view line_;
  size_t pos_ = 0;
};

// The line at pos: [pos, LF or limit); *next is behind the LF (or limit).
std::string_view LineAt(std::string_view bytes, size_t pos, size_t limit, size_t* next);

}  // namespace velmar
