// Reads a text data set into plain structures: the information block,
// channel columns, events and constants.
#pragma once

#include <string_view>
#include <vector>

#include "sources/text/byte_source.h"
#include "sources/text/channel_reader.h"
#include "sources/text/text_scan.h"
#include "sources/text/text_status.h"
#include "sources/text/text_structures.h"

namespace velmar {

// Key and value pairs from the line after the tag until the first line that
// does not hold both (a blank line, a "{", a key without value).
std::vector<TextInfoEntry> ReadInformation(std::string_view bytes, const TextIndex& index,
                                           const ProblemSink& problems = {});

// The rows of the last {EventBlock}, in file order. A row without time, name
// or category is dropped; a missing source or message reads as empty.
std::vector<TextEvent> ReadEvents(std::string_view bytes, const TextIndex& index,
                                  const ProblemSink& problems = {});

// The rows of the last {ConstantBlock}, in file order; of two rows with one
// name the first stands. A row without name or numeric value is dropped.
std::vector<TextConstant> ReadConstants(std::string_view bytes, const TextIndex& index,
                                        const ProblemSink& problems = {});

// Events by set name and time; of two with one name and time the first stands.
TextEventSets GroupEvents(const std::vector<TextEvent>& events);

// The channels a load keeps: of columns with one name the first stands, and
// columns without name or samples are dropped.
std::vector<TextColumn> CollectChannels(std::vector<TextColumn> columns);

struct TextReadOptions {
  ChannelReadOptions channels;
  ProblemSink problems;  // recoverable damage, with its line
};

// The whole file. Fails only when the bytes are not a text data set (magic,
// version), cannot be read whole, or do not fit in memory; damage inside
// blocks goes to options.problems and the read goes on.
TextStatus ReadTextDataSet(std::string_view bytes, const TextReadOptions& options, TextDataSet* out);
TextStatus ReadTextDataSet(ByteSource& source, const TextReadOptions& options, TextDataSet* out);

}  // namespace velmar
