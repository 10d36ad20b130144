// Result codes of the text data set reader and writer, and the problem
// callback through which damage the reader can step over is reported.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "velmar/result.h"

namespace velmar {

// One code per failure a caller may act on. Codes from kBraceInToken on are
// also what a problem report carries: the read goes on past them.
enum class TextCode : uint8_t {
  kOk = 0,
  // The file as a whole.
  kFileNotFound,       // no such file
  kFileLocked,         // open elsewhere (the hold is exclusive)
  kAccessDenied,       // the platform refused the open
  kReadFailed,         // an I/O error while reading
  kFileChanged,        // the file shrank or vanished while it was read
  kTruncated,          // ends inside the magic, the version line or a block tag
  kNoMagic,            // does not start with a known magic
  kBadVersion,         // versioned magic with a version other than 2
  kOutOfMemory,
  // Damage inside blocks (reported, the read goes on).
  kBraceInToken,       // "{" or "}" inside a token: the token fails
  kTokenTooLong,       // over 4095 characters: the rest is dropped
  kHeaderWithoutTab,   // channel header with no TAB: block unused
  kNoColumns,          // channel header with no column: block unused
  kShortRow,           // row ends before the last column: later cells skipped
  kLongRow,            // row has cells beyond the last column: ignored
  kNonNumeric,         // a number field with no number in it: reads as 0
  kTrailingCharacters, // a number followed by other text: the number stands
  kBadTime,            // a row time that cannot be read: the whole block is dropped
  kTimeNotRising,      // a row time not above the ones before: the row is dropped
  kEventDropped,       // an event row without time, name or category
  kConstantDropped,    // a constant row without name or value
  kMissingValue,       // an information key with no value: it ends the block
  kTooManyProblems,    // further problems of one block are not reported
  // Writing.
  kNotOpen,            // write or read on a file that is not open
  kNotWritable,        // write on a file opened for reading
  kWriteFailed,        // an I/O error while writing
  kDiskFull,
  kInvalidArgument,
};

// Short English name of a code, for messages and test output.
const char* TextCodeName(TextCode code);

// The library result a code becomes at an interface.
KivResult ToKivResult(TextCode code);

// Outcome of a reader or writer operation: success costs nothing; a failure
// carries its code, the 1-based line it concerns (0: none) and a message.
class [[nodiscard]] TextStatus {
 public:
  TextStatus() = default;
  TextStatus(TextCode code, std::string message, uint64_t line = 0)
      : code_(code), line_(line), message_(std::move(message)) {}
  static TextStatus Ok() { return {}; }

  bool ok() const { return code_ == TextCode::kOk; }
  TextCode code() const { return code_; }
  uint64_t line() const { return line_; }
  const std::string& message() const { return message_; }
  KivResult result() const { return ToKivResult(code_); }
  // "line 12: brace inside a token" style text.
  std::string ToString() const;

 private:
  TextCode code_ = TextCode::kOk;
  uint64_t line_ = 0;
  std::string message_;
};

// A recoverable problem met while reading.
struct TextProblem {
  TextCode code = TextCode::kOk;
  uint64_t line = 0;  // 1-based
  std::string message;
};

// Called on the reading thread, in line order within a block. May be empty.
using ProblemSink = std::function<void(const TextProblem&)>;

}  // namespace velmar
