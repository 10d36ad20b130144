#include "sources/text/text_scan.h"

#include <cstring>

#include "sources/text/text_format.h"

namespace velmar {
namespace {

bool StartsWith(std::string_view s, std::string_view prefix) { return s.substr(0, prefix.size()) == prefix; }

// A proper prefix of a magic could still become one: the file was cut.
bool CouldBeMagic(std::string_view s) {
  return s.size() < kVersionedMagic.size() &&
         (kPlainMagic.substr(0, s.size()) == s || kVersionedMagic.substr(0, s.size()) == s);
}

bool EndsVersionToken(char c) { return c == '\r' || c == '\n' || c == '\t' || c == ' ' || c == '\b'; }

// Lines that begin with one of these are not rows.
bool BeginsRow(char c) { return c != '\t' && c != '\n' && c != '\r' && c != ' ' && c != '{' && c != '}'; }

class Scanner {
 public:
  Scanner(std::string_view bytes, const ProblemSink& problems) : b_(bytes), problems_(problems) {}

  TextIndex Run() {
    while (TextBlock* block = NextBlock()) Classify(*block);
    return std::move(index_);
  }

 private:
  void Report(TextCode code, uint64_t line, std::string message) {
    if (problems_) problems_(TextProblem{code, line, std::move(message)});
  }

  // Ends the walk at pos: the block before it runs to there.
  void Stop(size_t pos) {
    if (last_) last_->end = pos;
    last_ = nullptr;
    pos_ = b_.size();
  }

  // Steps 1 and 2: the next tag; nullptr when the walk ends.
  TextBlock* NextBlock() {
    size_t n = b_.size();
    while (pos_ < n && b_[pos_] != '{') {
      if (b_[pos_] == '}') {
        Report(TextCode::kBraceInToken, line_, "a \"}\" outside a block tag; the rest of the file is not read");
        Stop(pos_);
        return nullptr;
      }
      if (b_[pos_] == '\n') ++line_;
      ++pos_;
    }
    if (pos_ >= n) {
      Stop(n);
      return nullptr;
    }
    size_t open = pos_;
    uint64_t tagLine = line_;
    size_t close = open + 1;
    uint64_t linesInTag = 0;
    for (; close < n && b_[close] != '}'; ++close) {
      if (b_[close] == '{') {
        Report(TextCode::kBraceInToken, tagLine, "a \"{\" inside a block tag; the rest of the file is not read");
        Stop(open);
        return nullptr;
      }
      if (b_[close] == '\n') ++linesInTag;
    }
    if (close >= n) {
      Report(TextCode::kTruncated, tagLine, "the file ends inside a block tag");
      Stop(open);
      return nullptr;
    }
    if (last_) last_->end = open;
    line_ = tagLine + linesInTag;
    tag_ = b_.substr(open + 1, close - open - 1);
    current_ = TextBlock{};
    current_.tag = open;
    current_.line = tagLine;
    CountRows(close + 1, tag_ == kChannelTag);
    return &current_;
  }

  // Step 3: rows are the lines after the tag line that begin like one.
  void CountRows(size_t from, bool markRows) {
    size_t n = b_.size();
    size_t p = NextLine(from);
    current_.rows = p;
    current_.firstRowLine = line_;
    uint64_t rows = 0;
    while (p < n && BeginsRow(b_[p])) {
      if (markRows && rows % kRowMarkStep == 0) current_.marks.push_back(p);
      ++rows;
      p = NextLine(p);
    }
    current_.rowCount = rows;
    current_.rowsEnd = p;
    current_.end = n;
    pos_ = p;
  }

  // Past the next LF (counting it), or the end.
  size_t NextLine(size_t p) {
    const void* lf = std::memchr(b_.data() + p, '\n', b_.size() - p);
    if (!lf) return b_.size();
    ++line_;
    return static_cast<size_t>(static_cast<const char*>(lf) - b_.data()) + 1;
  }

  // Step 4.
  void Classify(TextBlock& block) {
    if (tag_ == kInformationTag) {
      if (!index_.hasInformation) {
        index_.hasInformation = true;
        index_.information = block;
        last_ = &index_.information;
      } else {
        last_ = nullptr;  // a second one is passed over; the next tag ends nothing we keep
      }
      return;
    }
    if (!index_.hasData) {
      index_.hasData = true;
      index_.firstDataPos = block.tag;
    }
    std::vector<TextBlock>* list = nullptr;
    if (tag_ == kChannelTag) list = &index_.channels;
    if (tag_ == kEventTag) list = &index_.eventBlocks;
    if (tag_ == kConstantTag) list = &index_.constantBlocks;
    if (!list) {
      last_ = nullptr;
      return;
    }
    list->push_back(std::move(block));
    last_ = &list->back();
  }

  std::string_view b_;
  const ProblemSink& problems_;
  TextIndex index_;
  TextBlock current_;
  TextBlock* last_ = nullptr;  // the kept block whose end the next tag sets
  std::string_view tag_;
  size_t pos_ = 0;
  uint64_t line_ = 1;
};

}  // namespace

TextStatus CheckMagic(std::string_view bytes, bool* versioned) {
  *versioned = false;
  if (StartsWith(bytes, kPlainMagic)) return {};
  if (StartsWith(bytes, kVersionedMagic)) {
    size_t lf = bytes.find('\n', kVersionedMagic.size());
    if (lf == std::string_view::npos) return {TextCode::kTruncated, "the file ends before its version line", 1};
    std::string_view next = bytes.substr(lf + 1);
    if (next.size() < kVersionLine.size() && kVersionLine.substr(0, next.size()) == next)
      return {TextCode::kTruncated, "the file ends inside its version line", 2};
    if (!StartsWith(next, kVersionLine) ||
        (next.size() > kVersionLine.size() && !EndsVersionToken(next[kVersionLine.size()])))
      return {TextCode::kBadVersion, "the version line is not \"Version\\t2\"", 2};
    *versioned = true;
    return {};
  }
  if (CouldBeMagic(bytes)) return {TextCode::kTruncated, "the file ends inside its magic", 1};
  return {TextCode::kNoMagic, "not a text data set: no \"KivaraASCIIDataSet\" magic", 1};
}

TextIndex Scan(std::string_view bytes, const ProblemSink& problems) {
  return Scanner(bytes, problems).Run();
}

TextStatus OpenIndex(std::string_view bytes, const ProblemSink& problems, TextIndex* index) {
  bool versioned = false;
  if (auto st = CheckMagic(bytes, &versioned); !st.ok()) return st;
  *index = Scan(bytes, problems);
  index->versioned = versioned;
  return {};
}

}  // namespace velmar
