#include "sources/text/channel_reader.h"

#include <fast_float/fast_float.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
#include <new>
#include <system_error>
#include <optional>
#include <thread>
#include <utility>

#include "outing/channels/channel_header.h"
#include "sources/text/large_buffer.h"
#include "sources/text/text_format.h"
#include "sources/text/text_number.h"
#include "sources/text/text_tokens.h"

namespace velmar {
namespace {

// Beyond this many problems in one block only their number is told.
constexpr size_t kMaxProblemsPerBlock = 100;

// Problems of one block, kept in bounds however damaged the block is.
class ProblemList {
 public:
  void Add(uint64_t line, TextCode code, const char* what, size_t column = kNoColumn) {
    ++total_;
    if (items_.size() >= kMaxProblemsPerBlock) return;
    std::string message = what;
    if (column != kNoColumn) message += " (column " + std::to_string(column + 1) + ")";
    items_.push_back(TextProblem{code, line, std::move(message)});
  }
  void Append(ProblemList&& other) {
    total_ += other.total_;
    for (auto& p : other.items_)
      if (items_.size() < kMaxProblemsPerBlock) items_.push_back(std::move(p));
  }
  // In line order, then one line for what was left out.
  void Emit(const ProblemSink& sink, uint64_t blockLine) {
    if (!sink) return;
    std::stable_sort(items_.begin(), items_.end(),
                     [](const TextProblem& a, const TextProblem& b) { return a.line < b.line; });
    for (const auto& p : items_) sink(p);
    if (total_ > items_.size())
      sink(TextProblem{TextCode::kTooManyProblems, blockLine,
                       std::to_string(total_ - items_.size()) + " more problems in this channel block"});
  }

  static constexpr size_t kNoColumn = static_cast<size_t>(-1);

 private:
  std::vector<TextProblem> items_;
  size_t total_ = 0;
};

enum class CellKind : uint8_t { kValue, kEmpty, kFailed };

struct Cell {
  CellKind kind = CellKind::kEmpty;
  TextCode problem = TextCode::kOk;  // kTrailingCharacters, kNonNumeric or kBraceInToken
  bool tooLong = false;
  char term = 0;                     // TAB, CR or BS; 0 at the end of the line
  double value = 0;
  const char* next = nullptr;        // behind the ending character
};

bool EndsCell(char c) { return c == '\t' || c == '\r' || c == '\b'; }

bool IsBlankToken(const char* p, const char* end) {
  for (; p < end; ++p)
    if (*p != ' ' && *p != '\v' && *p != '\f') return false;
  return true;
}

Cell ReadCellSlow(const char* p, const char* e) {
  Cell cell;
  const char* end = p;
  bool brace = false;
  for (; end < e && !EndsCell(*end); ++end) brace |= *end == '{' || *end == '}';
  cell.term = end < e ? *end : 0;
  cell.next = end < e ? end + 1 : e;
  size_t length = static_cast<size_t>(end - p);
  cell.tooLong = length > kMaxToken;
  if (length == 0) return cell;
  if (brace) {
    cell.kind = CellKind::kFailed;
    cell.problem = TextCode::kBraceInToken;
    return cell;
  }
  if (IsBlankToken(p, end)) return cell;
  // Whatever atof takes: a token with no number in it ("n/a") reads as 0.
  ParsedNumber n = ParseNumber(std::string_view(p, length));
  cell.kind = CellKind::kValue;
  cell.value = n.value;
  if (!n.converted) cell.problem = TextCode::kNonNumeric;
  else if (n.trailing) cell.problem = TextCode::kTrailingCharacters;
  return cell;
}

// One numeric token at p on a line that ends at e.
inline Cell ReadCell(const char* p, const char* e) {
  double v;
  const char* cap = e - p > static_cast<ptrdiff_t>(kMaxToken) ? p + kMaxToken : e;
  auto r = fast_float::from_chars(p, cap, v);
  if (r.ec == std::errc() && std::isfinite(v)) {
    Cell cell;
    cell.kind = CellKind::kValue;
    cell.value = v;
    if (r.ptr == e) {
      cell.next = e;
      return cell;
    }
    if (EndsCell(*r.ptr)) {
      cell.term = *r.ptr;
      cell.next = r.ptr + 1;
      return cell;
    }
  }
  return ReadCellSlow(p, e);
}

bool HasText(const char* p, const char* e) {
  for (; p < e; ++p)
    if (*p != ' ' && *p != '\t' && *p != '\r' && *p != '\b') return true;
  return false;
}

template <class Sink>
void NoteCellProblems(const Cell& cell, uint64_t row, size_t column, Sink& sink) {
  if (cell.tooLong) sink.Problem(row, TextCode::kTokenTooLong, "a cell over 4095 characters was cut", column);
  switch (cell.problem) {
    case TextCode::kTrailingCharacters:
      sink.Problem(row, TextCode::kTrailingCharacters, "characters after the number are ignored", column);
      break;
    case TextCode::kNonNumeric:
      sink.Problem(row, TextCode::kNonNumeric, "the cell is not a number; it reads as 0", column);
      break;
    case TextCode::kBraceInToken: sink.Problem(row, TextCode::kBraceInToken, "a brace inside the cell", column); break;
    default: break;
  }
}

// Reads one row line [p, e). False when its time cannot be read.
template <class Sink>
bool ParseRow(const char* p, const char* e, size_t columns, uint64_t row, Sink& sink) {
  Cell time = ReadCell(p, e);
  if (time.kind != CellKind::kValue) {
    sink.BadTime(row, time.kind == CellKind::kEmpty ? "the row has no time; the block is dropped"
                                                    : "the row's time can't be read; the block is dropped");
    return false;
  }
  NoteCellProblems(time, row, ProblemList::kNoColumn, sink);
  sink.Time(row, time.value);
  const char* q = time.next;
  char prev = time.term;
  for (size_t c = 0; c < columns; ++c) {
    if (q >= e) {
      // A TAB right before the line end is one more (empty) cell.
      size_t from = prev == '\t' ? c + 1 : c;
      for (size_t k = c; k < columns; ++k) sink.Absent(row, k);
      if (from < columns) sink.Problem(row, TextCode::kShortRow, "the row ends before its last column", from);
      return true;
    }
    Cell cell = ReadCell(q, e);
    if (cell.kind == CellKind::kValue) {
      sink.Cell(row, c, cell.value);
    } else {
      sink.Absent(row, c);
    }
    if (cell.problem != TextCode::kOk || cell.tooLong) NoteCellProblems(cell, row, c, sink);
    q = cell.next;
    prev = cell.term;
    if (cell.kind == CellKind::kEmpty && prev != '\t') {
      // An empty cell ended by CR or BS: the read goes on at the next TAB.
      const void* tab = std::memchr(q, '\t', static_cast<size_t>(e - q));
      q = tab ? static_cast<const char*>(tab) + 1 : e;
      prev = tab ? '\t' : 0;
    }
  }
  if (q < e && prev != 0 && HasText(q, e))
    sink.Problem(row, TextCode::kLongRow, "cells beyond the last column are ignored");
  return true;
}

// Writes straight into the final buffers at the row's index: the block's
// one time array and each column's values. Gaps and falling times are closed
// up afterwards, once all rows are in.
class DenseSink {
 public:
  DenseSink(double* times, const std::vector<double*>& values, uint64_t firstLine)
      : times_(times), values_(values), firstLine_(firstLine) {}

  void Time(uint64_t r, double t) { times_[r] = t; }
  void Cell(uint64_t r, size_t c, double v) { values_[c][r] = v; }
  void Absent(uint64_t r, size_t c) { absent_.emplace_back(r, static_cast<uint32_t>(c)); }
  void BadTime(uint64_t r, const char* why) {
    badRow_ = r;
    problems_.Add(firstLine_ + r, TextCode::kBadTime, why);
  }
  void Problem(uint64_t r, TextCode code, const char* what, size_t column = ProblemList::kNoColumn) {
    problems_.Add(firstLine_ + r, code, what, column);
  }

  std::vector<std::pair<uint64_t, uint32_t>> absent_;
  std::optional<uint64_t> badRow_;
  ProblemList problems_;

 private:
  double* times_;
  const std::vector<double*>& values_;
  uint64_t firstLine_;
};

// Appends only what is kept; for blocks whose rows are far shorter than
// their header, where a buffer per column and row would not fit.
class SparseSink {
 public:
  SparseSink(size_t columns, uint64_t firstLine) : times_(columns), values_(columns), firstLine_(firstLine) {}

  void Time(uint64_t r, double t) {
    rowOk_ = t > highest_;
    if (rowOk_) {
      highest_ = t;
      time_ = t;
    } else {
      problems_.Add(firstLine_ + r, TextCode::kTimeNotRising, "the row's time is not above the rows before");
    }
  }
  void Cell(uint64_t, size_t c, double v) {
    if (!rowOk_) return;
    times_[c].push_back(time_);
    values_[c].push_back(v);
  }
  void Absent(uint64_t, size_t) {}
  void BadTime(uint64_t r, const char* why) {
    bad_ = true;
    problems_.Add(firstLine_ + r, TextCode::kBadTime, why);
  }
  void Problem(uint64_t r, TextCode code, const char* what, size_t column = ProblemList::kNoColumn) {
    problems_.Add(firstLine_ + r, code, what, column);
  }

  std::vector<std::vector<double>> times_, values_;
  bool bad_ = false;
  ProblemList problems_;

 private:
  uint64_t firstLine_;
  double highest_ = std::numeric_limits<double>::lowest();
  double time_ = 0;
  bool rowOk_ = false;
};

// A run of rows one thread reads.
struct Part {
  uint64_t firstRow = 0;  // data row index (0 = the line after the header)
  uint64_t endRow = 0;
  size_t pos = 0;
};

// Every this many bytes read, a reader tells that it is done with them.
constexpr size_t kReleaseStep = size_t{4} << 20;

template <class Sink>
bool ParseRows(std::string_view bytes, const Part& part, size_t limit, size_t columns, Sink& sink,
               const ReleaseBytes& release) {
  size_t pos = part.pos;
  size_t released = pos;
  for (uint64_t r = part.firstRow; r < part.endRow; ++r) {
    size_t next;
    std::string_view line = LineAt(bytes, pos, limit, &next);
    if (!ParseRow(line.data(), line.data() + line.size(), columns, r, sink)) return false;
    pos = next;
    if (release && pos - released >= kReleaseStep) {
      release(released, pos);
      released = pos;
    }
  }
  if (release && pos > released) release(released, pos);
  return true;
}

struct Header {
  std::vector<std::u16string> names;
  size_t dataPos = 0;  // the line after the header
};

// Column names after the first TAB. False (reported) when the block is unused.
bool ReadHeader(std::string_view bytes, const TextBlock& block, ProblemList& problems, Header* header) {
  if (block.rowCount == 0) {
    problems.Add(block.line, TextCode::kNoColumns, "channel block without a header");
    return false;
  }
  std::string_view line = LineAt(bytes, block.rows, block.rowsEnd, &header->dataPos);
  size_t tab = line.find('\t');
  if (tab == std::string_view::npos) {
    problems.Add(block.firstRowLine, TextCode::kHeaderWithoutTab, "channel header without TAB; the block is unused");
    return false;
  }
  TokenCursor cursor(line.substr(tab + 1));
  while (!cursor.AtEnd()) {
    Token t = cursor.Read(true);
    if (t.error == TokenError::kBrace) {
      problems.Add(block.firstRowLine, TextCode::kBraceInToken, "a brace inside a column name ends the column list",
                   header->names.size());
      break;
    }
    if (t.truncated)
      problems.Add(block.firstRowLine, TextCode::kTokenTooLong, "a column name over 4095 characters was cut",
                   header->names.size());
    // An empty name between two TABs keeps its place; one before CR ends the line.
    if (t.error == TokenError::kEmpty && t.end != '\t' && t.end != '\b') break;
    header->names.push_back(FromFileText(t.text));
  }
  if (header->names.empty()) {
    problems.Add(block.firstRowLine, TextCode::kNoColumns, "channel header without columns; the block is unused");
    return false;
  }
  return true;
}

std::vector<TextColumn> MakeColumns(const Header& header, uint64_t blockIndex) {
  std::vector<TextColumn> columns(header.names.size());
  for (size_t c = 0; c < columns.size(); ++c) {
    columns[c].header = header.names[c];
    HeaderName split = SplitHeaderName(header.names[c]);
    columns[c].name = std::move(split.name);
    columns[c].unit = std::move(split.unit);
    columns[c].block = blockIndex;
  }
  return columns;
}

// Splits the rows at the row mark nearest their middle.
std::vector<Part> SplitRows(const TextBlock& block, const Header& header, uint64_t rows, size_t dataBytes,
                            const ChannelReadOptions& options) {
  std::vector<Part> parts{Part{0, rows, header.dataPos}};
  if (options.maxThreads < 2 || dataBytes < options.parallelBytes || block.marks.size() < 2) return parts;
  size_t mark = std::min(block.marks.size() - 1, std::max<size_t>(1, (block.rowCount / 2 + kRowMarkStep / 2) / kRowMarkStep));
  uint64_t splitRow = mark * kRowMarkStep - 1;  // block row k * step is data row k * step - 1
  if (splitRow == 0 || splitRow >= rows) return parts;
  parts[0].endRow = splitRow;
  parts.push_back(Part{splitRow, rows, block.marks[mark]});
  return parts;
}

// Closes up one column: drops its absent cells and the falling rows. With
// `values`, in place; with `times`, the kept rows' times go there.
uint64_t Compact(double* values, const double* rowTimes, uint64_t rows, const std::vector<uint64_t>& absent,
                 const std::vector<uint8_t>& dropped, double* times) {
  uint64_t w = 0;
  size_t a = 0;
  for (uint64_t r = 0; r < rows; ++r) {
    bool isAbsent = a < absent.size() && absent[a] == r;
    if (isAbsent) ++a;
    if (isAbsent || (!dropped.empty() && dropped[r])) continue;
    if (times) times[w] = rowTimes[r];
    if (values) values[w] = values[r];
    ++w;
  }
  return w;
}

std::shared_ptr<const double[]> Share(SampleBuffer buffer) {
  return std::shared_ptr<const double[]>(std::move(buffer));
}

class BlockReader {
 public:
  BlockReader(std::string_view bytes, const TextBlock& block, uint64_t blockIndex, const ChannelReadOptions& options,
              const ReleaseBytes& release)
      : bytes_(bytes), block_(block), blockIndex_(blockIndex), options_(options), release_(release) {}

  // Appends the block's columns to out; damage goes to problems_.
  void Read(std::vector<TextColumn>* out) {
    Header header;
    if (!ReadHeader(bytes_, block_, problems_, &header)) return;
    uint64_t rows = block_.rowCount - 1;
    if (rows > std::numeric_limits<uint32_t>::max()) {
      problems_.Add(block_.line, TextCode::kOutOfMemory, "too many rows in one channel block; the block is unused");
      return;
    }
    std::vector<TextColumn> columns = MakeColumns(header, blockIndex_);
    size_t dataBytes = block_.rowsEnd - header.dataPos;
    firstLine_ = block_.firstRowLine + 1;
    // An honest table has a byte at least per cell; one that claims far more
    // cells than bytes has short rows and is read cell by cell.
    uint64_t cellBudget = 2 * static_cast<uint64_t>(dataBytes) + 4096;
    bool dense = rows <= cellBudget / columns.size();
    bool kept = dense ? ReadDense(header, rows, columns) : ReadSparse(header, rows, columns);
    if (!kept) return;
    for (auto& c : columns) out->push_back(std::move(c));
  }

  ProblemList problems_;

 private:
  bool ReadDense(const Header& header, uint64_t rows, std::vector<TextColumn>& columns) {
    if (rows == 0) return true;  // a table without rows: columns without samples
    SampleBuffer times = AllocateSamples(rows);
    std::vector<double*> values(columns.size());
    for (size_t c = 0; c < columns.size(); ++c) {
      columns[c].data = AllocateSamples(rows);
      values[c] = columns[c].data.get();
    }
    std::vector<Part> parts = SplitRows(block_, header, rows, block_.rowsEnd - header.dataPos, options_);
    std::vector<DenseSink> sinks;
    sinks.reserve(parts.size());
    for (size_t i = 0; i < parts.size(); ++i) sinks.emplace_back(times.get(), values, firstLine_);
    RunParts(parts, sinks, columns.size());

    bool bad = false;
    std::vector<std::vector<uint64_t>> absent(columns.size());
    for (auto& s : sinks) {
      bad |= s.badRow_.has_value();
      for (auto [r, c] : s.absent_) absent[c].push_back(r);
      problems_.Append(std::move(s.problems_));
      if (bad) break;  // the rows behind the first bad time were not read
    }
    if (bad) return false;
    std::vector<uint8_t> dropped = FallingRows(rows, times.get());
    const double* rowTimes = times.get();
    // The columns that kept every row they could share one time array.
    std::shared_ptr<const double[]> shared;
    uint64_t sharedCount = rows;
    if (dropped.empty()) {
      shared = Share(std::move(times));
    } else {
      SampleBuffer kept = AllocateSamples(rows);
      sharedCount = Compact(nullptr, rowTimes, rows, {}, dropped, kept.get());
      shared = Share(std::move(kept));
    }
    for (size_t c = 0; c < columns.size(); ++c) {
      if (absent[c].empty()) {
        if (!dropped.empty()) Compact(values[c], rowTimes, rows, {}, dropped, nullptr);
        columns[c].timeData = shared;
        columns[c].count = static_cast<uint32_t>(sharedCount);
        continue;
      }
      SampleBuffer own = AllocateSamples(rows);
      columns[c].count = static_cast<uint32_t>(Compact(values[c], rowTimes, rows, absent[c], dropped, own.get()));
      columns[c].timeData = Share(std::move(own));
    }
    return true;
  }

  void RunParts(const std::vector<Part>& parts, std::vector<DenseSink>& sinks, size_t columns) {
    std::vector<std::exception_ptr> failures(parts.size());
    auto run = [&](size_t i) {
      try {
        (void)ParseRows(bytes_, parts[i], block_.rowsEnd, columns, sinks[i], release_);
      } catch (...) {
        failures[i] = std::current_exception();  // taken to the calling thread
      }
    };
    std::thread helper;
    if (parts.size() > 1) {
      try {
        helper = std::thread(run, 1);
      } catch (const std::system_error&) {
        run(1);  // no second thread: read both halves here
      }
    }
    run(0);
    if (helper.joinable()) helper.join();
    for (auto& f : failures)
      if (f) std::rethrow_exception(f);
  }

  // Rows whose time is not above all before them; empty when there are none.
  std::vector<uint8_t> FallingRows(uint64_t rows, const double* times) {
    std::vector<uint8_t> dropped;
    double highest = std::numeric_limits<double>::lowest();
    for (uint64_t r = 0; r < rows; ++r) {
      if (times[r] > highest) {
        highest = times[r];
        continue;
      }
      if (dropped.empty()) dropped.assign(rows, 0);
      dropped[r] = 1;
      problems_.Add(firstLine_ + r, TextCode::kTimeNotRising, "the row's time is not above the rows before");
    }
    return dropped;
  }

  bool ReadSparse(const Header& header, uint64_t rows, std::vector<TextColumn>& columns) {
    SparseSink sink(columns.size(), firstLine_);
    bool ok = ParseRows(bytes_, Part{0, rows, header.dataPos}, block_.rowsEnd, columns.size(), sink, release_);
    problems_.Append(std::move(sink.problems_));
    if (!ok) return false;
    for (size_t c = 0; c < columns.size(); ++c) {
      size_t n = sink.times_[c].size();
      columns[c].count = static_cast<uint32_t>(n);
      if (n == 0) continue;
      columns[c].data = AllocateSamples(2 * n);
      std::copy(sink.times_[c].begin(), sink.times_[c].end(), columns[c].data.get());
      std::copy(sink.values_[c].begin(), sink.values_[c].end(), columns[c].data.get() + n);
    }
    return true;
  }

  std::string_view bytes_;
  const TextBlock& block_;
  uint64_t blockIndex_;
  const ChannelReadOptions& options_;
  const ReleaseBytes& release_;
  uint64_t firstLine_ = 0;
};

}  // namespace

TextStatus ReadChannels(std::string_view bytes, const TextIndex& index, const ChannelReadOptions& options,
                        const ProblemSink& problems, std::vector<TextColumn>* out, const ReleaseBytes& release) {
  try {
    for (size_t i = 0; i < index.channels.size(); ++i) {
      BlockReader reader(bytes, index.channels[i], i, options, release);
      reader.Read(out);
      reader.problems_.Emit(problems, index.channels[i].line);
    }
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the channel data"};
  }
  return {};
}

}  // namespace velmar
