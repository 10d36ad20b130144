// Reads the {ChannelBlock} tables of a text data set into columns.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "sources/text/text_scan.h"
#include "sources/text/text_status.h"
#include "sources/text/text_structures.h"

namespace velmar {

struct ChannelReadOptions {
  // 1 reads on the calling thread only; 2 lets a big block be split between
  // the calling thread and one more.
  unsigned maxThreads = 2;
  // A block of at least this many bytes is split when maxThreads allows.
  size_t parallelBytes = size_t{4} << 20;
};

// Told of byte ranges [begin, end) of rows read and not needed again by the
// read, so that a mapped file can let their pages go. Called from the
// reading threads.
using ReleaseBytes = std::function<void(size_t begin, size_t end)>;

// Every column of every {ChannelBlock}, in file order. Per block: the header
// names the columns; a row whose time is not above every earlier one is
// dropped for all columns; an empty or non-numeric cell is skipped for its
// column only, so each column keeps the rows in which it had a value; a row
// whose time cannot be read drops the whole block. Damage is reported through
// problems and the read goes on; only a lack of memory fails.
TextStatus ReadChannels(std::string_view bytes, const TextIndex& index, const ChannelReadOptions& options,
                        const ProblemSink& problems, std::vector<TextColumn>* out,
                        const ReleaseBytes& release = {});

}  // namespace velmar
