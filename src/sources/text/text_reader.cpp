#include "sources/text/text_reader.h"

#include <new>
#include <unordered_set>

#include "sources/text/text_format.h"
#include "sources/text/text_number.h"
#include "sources/text/text_tokens.h"

namespace velmar {
namespace {

void Report(const ProblemSink& sink, TextCode code, uint64_t line, std::string message) {
  if (sink) sink(TextProblem{code, line, std::move(message)});
}

void ReportTooLong(const ProblemSink& sink, const Token& t, uint64_t line) {
  if (t.truncated) Report(sink, TextCode::kTokenTooLong, line, "a token over 4095 characters was cut");
}

// Walks the rows of a block after its header line.
template <class Fn>
void ForEachRowAfterHeader(std::string_view bytes, const TextBlock& block, Fn&& fn) {
  size_t pos = block.rows;
  for (uint64_t i = 0; i < block.rowCount; ++i) {
    size_t next;
    std::string_view line = LineAt(bytes, pos, block.rowsEnd, &next);
    if (i > 0) fn(line, block.firstRowLine + i);
    pos = next;
  }
}

// A numeric field: nothing when the token fails or holds no number.
std::optional<double> NumberField(const Token& t, uint64_t line, const ProblemSink& sink, TextCode dropCode,
                                  const char* what) {
  ReportTooLong(sink, t, line);
  if (t.error == TokenError::kBrace) {
    Report(sink, TextCode::kBraceInToken, line, std::string("a brace inside the ") + what + "; the row is dropped");
    return std::nullopt;
  }
  if (t.error == TokenError::kEmpty) {
    Report(sink, dropCode, line, std::string("no ") + what + "; the row is dropped");
    return std::nullopt;
  }
  // Whatever atof takes: no number at the start reads as 0.
  ParsedNumber n = ParseNumber(t.text);
  if (!n.converted) Report(sink, TextCode::kNonNumeric, line, std::string("the ") + what + " is not a number; it reads as 0");
  else if (n.trailing)
    Report(sink, TextCode::kTrailingCharacters, line, std::string("characters after the ") + what + " are ignored");
  return n.value;
}

// A text field. A required one that fails drops the row (false); an optional
// one that is absent or fails reads as empty. Event fields skip the blanks
// before them; a constant's comment keeps its own.
bool TextField(TokenCursor& cursor, bool required, uint64_t line, const ProblemSink& sink, TextCode dropCode,
               const char* what, std::u16string* out, bool skipBlanks = true) {
  if (skipBlanks) cursor.SkipBlanks();
  if (cursor.AtEnd()) {
    if (required) Report(sink, dropCode, line, std::string("no ") + what + "; the row is dropped");
    return !required;
  }
  Token t = cursor.Read(true);
  ReportTooLong(sink, t, line);
  if (t.error == TokenError::kBrace) {
    Report(sink, TextCode::kBraceInToken, line,
           std::string("a brace inside the ") + what + (required ? "; the row is dropped" : "; it reads as empty"));
    return !required;
  }
  if (t.error == TokenError::kEmpty) {
    if (required) Report(sink, dropCode, line, std::string("no ") + what + "; the row is dropped");
    return !required;
  }
  *out = FromFileText(t.text);
  return true;
}

std::optional<TextEvent> ReadEventRow(std::string_view row, uint64_t line, const ProblemSink& sink) {
  TokenCursor cursor(row);
  cursor.SkipBlanks();
  // Times and values take no blanks: a blank ends them like a TAB.
  std::optional<double> seconds = NumberField(cursor.Read(false), line, sink, TextCode::kEventDropped, "event time");
  if (!seconds) return std::nullopt;
  std::optional<KivTime> time = SecondsToTicks(*seconds);
  if (!time) {
    Report(sink, TextCode::kEventDropped, line, "the event time is not a number; the row is dropped");
    return std::nullopt;
  }
  TextEvent e;
  e.time = *time;
  std::u16string category;
  if (!TextField(cursor, true, line, sink, TextCode::kEventDropped, "event name", &e.name) ||
      !TextField(cursor, true, line, sink, TextCode::kEventDropped, "event category", &category) ||
      !TextField(cursor, false, line, sink, TextCode::kEventDropped, "event source", &e.source) ||
      !TextField(cursor, false, line, sink, TextCode::kEventDropped, "event message", &e.message))
    return std::nullopt;
  e.category = CategoryFromText(category);
  return e;
}

std::optional<TextConstant> ReadConstantRow(std::string_view row, uint64_t line, const ProblemSink& sink) {
  TokenCursor cursor(row);
  TextConstant c;
  Token name = cursor.Read(true);
  ReportTooLong(sink, name, line);
  if (!name.ok() || name.text.find_first_not_of(' ') == std::string_view::npos) {
    Report(sink, name.error == TokenError::kBrace ? TextCode::kBraceInToken : TextCode::kConstantDropped, line,
           "the constant has no usable name; the row is dropped");
    return std::nullopt;
  }
  c.name = FromFileText(name.text);
  if (cursor.AtEnd()) {
    Report(sink, TextCode::kConstantDropped, line, "the constant has no value; the row is dropped");
    return std::nullopt;
  }
  std::optional<double> value = NumberField(cursor.Read(false), line, sink, TextCode::kConstantDropped, "constant value");
  if (!value) return std::nullopt;
  c.value = *value;
  if (!cursor.AtEnd() &&
      !TextField(cursor, false, line, sink, TextCode::kConstantDropped, "constant comment", &c.comment,
                 /*skipBlanks=*/false))
    return std::nullopt;
  return c;
}

}  // namespace

std::vector<TextInfoEntry> ReadInformation(std::string_view bytes, const TextIndex& index,
                                           const ProblemSink& problems) {
  std::vector<TextInfoEntry> entries;
  if (!index.hasInformation) return entries;
  size_t pos = index.information.rows;
  for (uint64_t line = index.information.firstRowLine; pos < bytes.size(); ++line) {
    size_t next;
    std::string_view text = LineAt(bytes, pos, bytes.size(), &next);
    TokenCursor cursor(text);
    Token key = cursor.Read(false);
    if (!key.ok()) {
      // A blank line or the next block's tag ends the block as it should.
      if (key.error == TokenError::kBrace && text.front() != '{')
        Report(problems, TextCode::kBraceInToken, line, "a brace inside an information key ends the block");
      break;
    }
    ReportTooLong(problems, key, line);
    Token value = cursor.AtEnd() ? Token{{}, TokenError::kEmpty} : cursor.Read(true);
    if (!value.ok()) {
      Report(problems, value.error == TokenError::kBrace ? TextCode::kBraceInToken : TextCode::kMissingValue, line,
             "the information line has no usable value; it ends the block");
      break;
    }
    ReportTooLong(problems, value, line);
    entries.push_back({FromFileText(key.text), FromFileText(UnescapeValue(value.text))});
    pos = next;
  }
  return entries;
}

std::vector<TextEvent> ReadEvents(std::string_view bytes, const TextIndex& index, const ProblemSink& problems) {
  std::vector<TextEvent> events;
  if (const TextBlock* block = index.events()) {
    ForEachRowAfterHeader(bytes, *block, [&](std::string_view row, uint64_t line) {
      if (auto e = ReadEventRow(row, line, problems)) events.push_back(std::move(*e));
    });
  }
  return events;
}

std::vector<TextConstant> ReadConstants(std::string_view bytes, const TextIndex& index,
                                        const ProblemSink& problems) {
  std::vector<TextConstant> constants;
  std::unordered_set<std::u16string> seen;
  if (const TextBlock* block = index.constants()) {
    ForEachRowAfterHeader(bytes, *block, [&](std::string_view row, uint64_t line) {
      auto c = ReadConstantRow(row, line, problems);
      if (c && seen.insert(c->name).second) constants.push_back(std::move(*c));
    });
  }
  return constants;
}

TextEventSets GroupEvents(const std::vector<TextEvent>& events) {
  TextEventSets sets;
  for (const auto& e : events) sets[e.name].emplace(e.time, e);
  return sets;
}

std::vector<TextColumn> CollectChannels(std::vector<TextColumn> columns) {
  std::vector<TextColumn> kept;
  std::unordered_set<std::u16string> seen;
  for (auto& c : columns) {
    if (c.name.empty() || c.count == 0 || !seen.insert(c.name).second) continue;
    kept.push_back(std::move(c));
  }
  return kept;
}

TextStatus ReadTextDataSet(std::string_view bytes, const TextReadOptions& options, TextDataSet* out) {
  TextIndex index;
  if (auto st = OpenIndex(bytes, options.problems, &index); !st.ok()) return st;
  TextDataSet result;
  try {
    result.versioned = index.versioned;
    result.information = ReadInformation(bytes, index, options.problems);
    if (auto st = ReadChannels(bytes, index, options.channels, options.problems, &result.columns); !st.ok())
      return st;
    result.events = ReadEvents(bytes, index, options.problems);
    result.constants = ReadConstants(bytes, index, options.problems);
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the data set"};
  }
  *out = std::move(result);
  return {};
}

TextStatus ReadTextDataSet(ByteSource& source, const TextReadOptions& options, TextDataSet* out) {
  SourceBytes bytes;
  if (auto st = SourceBytes::Load(source, &bytes); !st.ok()) return st;
  TextStatus st = ReadTextDataSet(bytes.view(), options, out);
  // A mapped file cut under the read: what was read is not the file.
  if (auto intact = bytes.Intact(); st.ok() && !intact.ok()) {
    *out = TextDataSet();
    return intact;
  }
  return st;
}

}  // namespace velmar
