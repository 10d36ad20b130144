#include "sources/text/text_tokens.h"

#include <gtest/gtest.h>

#include <string>

namespace velmar {
namespace {

TEST(TextTokens, EndAtTabCrBsAndBlankWhereBlanksAreNotAllowed) {
  TokenCursor c("Key with\tvalue here\bnext\rlast");
  Token key = c.Read(false);
  EXPECT_EQ(key.text, "Key");
  EXPECT_EQ(key.end, ' ');
  Token rest = c.Read(true);
  EXPECT_EQ(rest.text, "with");
  EXPECT_EQ(c.Read(true).text, "value here");
  Token next = c.Read(true);
  EXPECT_EQ(next.text, "next");
  EXPECT_EQ(next.end, '\r');
  Token last = c.Read(true);
  EXPECT_EQ(last.text, "last");
  EXPECT_EQ(last.end, 0);
  EXPECT_TRUE(c.AtEnd());
}

TEST(TextTokens, EmptyAndBraceTokensFail) {
  TokenCursor c("\tab{c\t}");
  EXPECT_EQ(c.Read(true).error, TokenError::kEmpty);
  Token brace = c.Read(true);
  EXPECT_EQ(brace.error, TokenError::kBrace);
  EXPECT_EQ(brace.text, "ab{c");
  EXPECT_EQ(c.Read(true).error, TokenError::kBrace);
}

TEST(TextTokens, KeepAt4095Characters) {
  std::string line(5000, 'x');
  line += "\tnext";
  TokenCursor c(line);
  Token t = c.Read(true);
  EXPECT_TRUE(t.ok());
  EXPECT_TRUE(t.truncated);
  EXPECT_EQ(t.text.size(), 4095u);
  EXPECT_EQ(c.Read(true).text, "next");  // the rest of the long token was skipped
}

TEST(TextTokens, SkipsBlanksAndFindsTabs) {
  TokenCursor c(" \b x\ty z\tw");
  c.SkipBlanks();
  EXPECT_EQ(c.Read(true).text, "x");
  c.SkipToNextTab();
  EXPECT_EQ(c.Read(true).text, "w");
}

TEST(TextTokens, LinesStopAtLfOrLimit) {
  std::string bytes = "ab\r\ncd\nef";
  size_t next = 0;
  EXPECT_EQ(LineAt(bytes, 0, bytes.size(), &next), "ab\r");
  EXPECT_EQ(next, 4u);
  EXPECT_EQ(LineAt(bytes, next, bytes.size(), &next), "cd");
  EXPECT_EQ(LineAt(bytes, next, bytes.size(), &next), "ef");
  EXPECT_EQ(next, bytes.size());
  EXPECT_EQ(LineAt(bytes, 0, 2, &next), "ab");
  EXPECT_EQ(next, 2u);
}

}  // namespace
}  // namespace velmar
