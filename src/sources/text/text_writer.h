// Writes the text data set format: the bytes of a new file, the head and
// blocks that appends and rewrites put together, and a whole data set.
// Every line ends in CR LF; texts leave through the code page edge.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "sources/text/text_status.h"
#include "sources/text/text_structures.h"
#include "velmar/types.h"

namespace velmar {

// What the create job writes: the plain magic and an empty information block.
std::string NewFileBytes();

// The head every rewrite starts with: versioned magic, version line, blank
// line, information tag.
void AppendHead(std::string& out);

// One information line, escaped. Nothing for an empty key or value (an empty
// value would end the block for a reader).
void AppendInformationLine(std::string& out, std::u16string_view key, std::u16string_view value);

// "\r\n{EventBlock}\r\n", the header line and nothing else.
void AppendEventBlockHead(std::string& out);
// One event row at (time - base) seconds.
void AppendEventRow(std::string& out, const TextEvent& event, KivTime base);

// "\r\n{ConstantBlock}\r\n", the header line, then the rows.
void AppendConstantBlock(std::string& out, std::span<const TextConstant> constants);

// One channel, whatever its spacing, as its own block: times in ticks, each
// value written as value x factor + offset.
struct TextChannelData {
  std::u16string name;
  std::u16string unit;  // empty: no "[...]"
  std::span<const KivTime> times;
  std::span<const double> values;
  double factor = 1;
  double offset = 0;
};
TextStatus AppendChannelBlock(std::string& out, const TextChannelData& channel, KivTime base);

// The value of one channel at a time of a group's grid.
class TextGroupSampler {
 public:
  enum class Result { kValue = 0, kBeforeFirst = 1, kNoMore = 2 };
  virtual ~TextGroupSampler() = default;
  // Asked with rising t.
  virtual Result At(KivTime t, double* value) = 0;
};

// Samples held in arrays: the value of the last sample at or before t.
class ArraySampler : public TextGroupSampler {
 public:
  ArraySampler(std::span<const KivTime> times, std::span<const double> values) : times_(times), values_(values) {}
  Result At(KivTime t, double* value) override;

 private:
  std::span<const KivTime> times_;
  std::span<const double> values_;
  size_t next_ = 0;
};

// Channels resampled to one period, written as one block. The grid runs from
// the smallest start to the largest end in steps of the first channel's
// period; a cell is empty before a channel's first sample and after its last.
struct TextGroupChannel {
  std::u16string name;
  std::u16string unit;
  KivTime start = 0;
  KivTime end = 0;
  KivTime period = 0;
  double factor = 1;
  double offset = 0;
  TextGroupSampler* sampler = nullptr;
};
TextStatus AppendChannelGroupBlock(std::string& out, std::span<const TextGroupChannel> channels, KivTime base);

// A whole file from a data set: head, information lines, event block,
// constant block, then the columns (those of one block with the same times
// share a block again). Columns without a header text are left out.
std::string WriteTextDataSet(const TextDataSet& data);

}  // namespace velmar
