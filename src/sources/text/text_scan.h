// The one-pass index of a text data set: where each block's tag and rows
// are, found without reading a token.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "sources/text/text_status.h"

namespace velmar {

// Every this many rows a channel block notes where a row starts, so that its
// rows can be split between threads without another walk.
inline constexpr uint64_t kRowMarkStep = 4096;

struct TextBlock {
  size_t tag = 0;            // position of the "{"
  size_t rows = 0;           // start of the line after the tag line
  size_t rowsEnd = 0;        // behind the last row line
  size_t end = 0;            // where the next tag starts, the scan stopped, or the file ends
  uint64_t rowCount = 0;     // lines from `rows` that begin like a row
  uint64_t line = 0;         // 1-based line of the tag
  uint64_t firstRowLine = 0; // 1-based line of the first row
  std::vector<size_t> marks; // channel blocks: start of row k * kRowMarkStep
};

struct TextIndex {
  bool versioned = false;
  bool hasInformation = false;
  TextBlock information;              // the first {OutingInformation}
  bool hasData = false;
  size_t firstDataPos = 0;            // tag of the first block of any other kind
  std::vector<TextBlock> channels;    // every {ChannelBlock}
  std::vector<TextBlock> eventBlocks; // every {EventBlock}; the last one counts
  std::vector<TextBlock> constantBlocks;

  const TextBlock* events() const { return eventBlocks.empty() ? nullptr : &eventBlocks.back(); }
  const TextBlock* constants() const { return constantBlocks.empty() ? nullptr : &constantBlocks.back(); }
};

// Accepts "KivaraASCIIDataSet", or "KivaraVersionedASCIIDataSet" with
// "Version\t2" on the next line. kTruncated when the bytes end inside either,
// kBadVersion for another version, kNoMagic for anything else.
TextStatus CheckMagic(std::string_view bytes, bool* versioned);

// Walks the bytes once. A "}" met before a "{", or a "{" inside a tag, ends
// the walk (and is reported); so does a tag the file ends inside.
TextIndex Scan(std::string_view bytes, const ProblemSink& problems = {});

// CheckMagic, then Scan.
TextStatus OpenIndex(std::string_view bytes, const ProblemSink& problems, TextIndex* index);

}  // namespace velmar
