#include "platform/store/sample_chunks.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <unordered_map>

#include "platform/store/channel_table.h"
#include "platform/store/details_table.h"

namespace velmar::store {
namespace {

constexpr int64_t kMaxCount = std::numeric_limits<int32_t>::max();

// Time arithmetic that may meet the extreme values: differences are taken in
// unsigned arithmetic, steps are checked for overflow.
uint64_t Distance(int64_t later, int64_t earlier) {
  return static_cast<uint64_t>(later) - static_cast<uint64_t>(earlier);
}

bool TimeAt(int64_t first, int64_t period, uint64_t index, int64_t* out) {
  int64_t step = 0;
  if (index > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) return false;
  if (__builtin_mul_overflow(period, static_cast<int64_t>(index), &step)) return false;
  return !__builtin_add_overflow(first, step, out);
}

// The earliest first time of a chunk that can reach `from`. A span kept as
// the largest value stands for one too wide to keep: no bound then.
int64_t EarliestChunkStart(int64_t from, int64_t span) {
  int64_t r = 0;
  if (span == std::numeric_limits<int64_t>::max() || __builtin_sub_overflow(from, span, &r))
    return std::numeric_limits<int64_t>::min();
  return r;
}

// A run of samples of one block, as stored or to store. `period` 0 means
// aperiodic, with one time per sample in `times`.
struct Block {
  int64_t period = 0;
  bool continuous = false;
  int64_t first = 0;
  int64_t last = 0;
  size_t count = 0;
  const std::byte* samples = nullptr;
  const int64_t* times = nullptr;
};

// Indices [begin, end) of the samples with a time from `from` to `to`.
struct Window {
  size_t begin = 0;
  size_t end = 0;
};

Window FindWindow(int64_t first, int64_t period, const int64_t* times, size_t count, KivTime from, KivTime to) {
  Window w;
  if (period > 0) {
    uint64_t p = static_cast<uint64_t>(period);
    w.begin = from <= first ? 0 : static_cast<size_t>(std::min<uint64_t>(count, (Distance(from, first) + p - 1) / p));
    w.end = to < first ? 0 : static_cast<size_t>(std::min<uint64_t>(count, Distance(to, first) / p + 1));
  } else {
    w.begin = static_cast<size_t>(std::lower_bound(times, times + count, from) - times);
    w.end = static_cast<size_t>(std::upper_bound(times, times + count, to) - times);
  }
  return w;
}

KivResult ToBlock(const TarnChannelData& d, Block* b) {
  if (!d.samples || !d.times) return E_POINTER;
  if (d.count <= 0) return E_INVALIDARG;
  b->count = static_cast<size_t>(d.count);
  b->samples = static_cast<const std::byte*>(d.samples);
  b->continuous = d.continuous != 0;
  if (d.periodic) {
    b->period = d.times[0];
    b->first = d.firstTime;
    if (b->period <= 0 || !TimeAt(b->first, b->period, b->count - 1, &b->last)) return E_INVALIDARG;
    return S_OK;
  }
  if (d.times[0] != d.firstTime) return E_INVALIDARG;
  if (!std::is_sorted(d.times, d.times + b->count)) return E_INVALIDARG;
  b->times = d.times;
  b->first = d.times[0];
  b->last = d.times[b->count - 1];
  return S_OK;
}

// Writes one block as its chunks, and widens the channel's chunk span.
KivResult InsertBlock(Connection& db, uint64_t channel, size_t sampleSize, const Block& b, uint64_t* blockId) {
  Statement s;
  KivResult r = db.Prepare(
      "INSERT INTO blocks(channel_id, period, continuous, first_time, last_time, sample_count) "
      "VALUES(?1, ?2, ?3, ?4, ?5, ?6)",
      &s);
  if (Failed(r)) return r;
  s.Bind(1, channel).Bind(2, b.period).Bind(3, int64_t{b.continuous}).Bind(4, b.first).Bind(5, b.last);
  if (r = s.Bind(6, static_cast<int64_t>(b.count)).Run(); Failed(r)) return r;
  *blockId = static_cast<uint64_t>(db.LastInsertId());

  Statement c;
  r = db.Prepare(
      "INSERT INTO chunks(channel_id, first_time, block_id, seq, last_time, sample_count, period, "
      "continuous, samples, times) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)",
      &c);
  if (Failed(r)) return r;
  uint64_t widest = 0;
  int64_t seq = 0;
  for (size_t offset = 0; offset < b.count; offset += kSamplesPerChunk, ++seq) {
    size_t n = std::min<size_t>(kSamplesPerChunk, b.count - offset);
    int64_t first = 0, last = 0;
    if (b.period > 0) {
      // Both lie inside the block, whose last time was checked.
      (void)TimeAt(b.first, b.period, offset, &first);
      (void)TimeAt(first, b.period, n - 1, &last);
    } else {
      first = b.times[offset];
      last = b.times[offset + n - 1];
    }
    widest = std::max(widest, Distance(last, first));
    c.Bind(1, channel).Bind(2, first).Bind(3, *blockId).Bind(4, seq).Bind(5, last);
    c.Bind(6, static_cast<int64_t>(n)).Bind(7, b.period).Bind(8, int64_t{b.continuous});
    c.BindBlob(9, b.samples + offset * sampleSize, n * sampleSize);
    if (b.period > 0) {
      c.BindNull(10);
    } else {
      c.BindBlob(10, b.times + offset, n * sizeof(int64_t));
    }
    if (r = c.Run(); Failed(r)) return r;
  }
  int64_t span = static_cast<int64_t>(std::min<uint64_t>(widest, std::numeric_limits<int64_t>::max()));
  return WidenChunkSpan(db, channel, span);
}

// Consecutive samples of one block gathered from its chunks.
struct Stretch {
  uint64_t block = 0;
  int64_t lastSeq = 0;
  bool open = false;  // took its last chunk to the end; the next chunk may follow on
  int64_t period = 0;
  bool continuous = false;
  int64_t first = 0;
  int64_t next = 0;   // periodic: the time the next sample must have to follow on
  size_t count = 0;
  std::vector<std::byte> samples;
  std::vector<int64_t> times;
};

// Cuts chunk rows to a window and joins what follows on into stretches, in
// the order of their first sample; blocks that overlap in time stay apart.
// Columns of a row: block_id, seq, first_time, sample_count, period,
// continuous, samples, times, and the block's sample count.
//
// A stretch's arrays are sized once, for what its block still holds inside
// the window: grown chunk by chunk they would end up to twice the samples'
// size, and the reader keeps them. `sampleLimit` (what the file could hold
// at most) bounds that guess against a corrupt block count.
class StretchBuilder {
 public:
  StretchBuilder(size_t sampleSize, KivTime from, KivTime to, uint64_t sampleLimit)
      : sampleSize_(sampleSize), from_(from), to_(to), sampleLimit_(sampleLimit) {}

  KivResult Take(const Statement& row) {
    const uint64_t block = static_cast<uint64_t>(row.Int(0));
    const int64_t seq = row.Int(1);
    const int64_t first = row.Int(2);
    const int64_t count = row.Int(3);
    const int64_t period = row.Int(4);
    const bool continuous = row.Int(5) != 0;
    const std::span<const std::byte> samples = row.Blob(6);
    const std::span<const std::byte> timeBytes = row.Blob(7);
    if (count <= 0 || count > kMaxCount || period < 0) return STG_E_DOCFILECORRUPT;
    const size_t n = static_cast<size_t>(count);
    if (samples.size() != n * sampleSize_) return STG_E_DOCFILECORRUPT;
    int64_t last = 0;
    if (period > 0 && !TimeAt(first, period, n - 1, &last)) return STG_E_DOCFILECORRUPT;
    if (period == 0) {
      if (timeBytes.size() != n * sizeof(int64_t)) return STG_E_DOCFILECORRUPT;
      chunkTimes_.resize(n);
      std::memcpy(chunkTimes_.data(), timeBytes.data(), timeBytes.size());
    }
    const Window w = FindWindow(first, period, chunkTimes_.data(), n, from_, to_);
    if (w.begin >= w.end) return S_OK;

    int64_t pieceFirst = 0;
    if (period > 0) {
      (void)TimeAt(first, period, w.begin, &pieceFirst);
    } else {
      pieceFirst = chunkTimes_[w.begin];
    }
    const size_t taken = w.end - w.begin;
    auto open = openByBlock_.find(block);
    if (open == openByBlock_.end() || !FollowsOn(stretches_[open->second], seq, period, pieceFirst, w.begin, taken)) {
      Stretch& s = stretches_.emplace_back();
      s.block = block;
      s.period = period;
      s.continuous = continuous;
      s.first = pieceFirst;
      const uint64_t expected = ExpectedSamples(row.Int(8), seq, w.begin, taken, period, pieceFirst);
      s.samples.reserve(expected * sampleSize_);
      if (period == 0) s.times.reserve(expected);
      open = openByBlock_.insert_or_assign(block, stretches_.size() - 1).first;
    }
    Stretch& s = stretches_[open->second];
    s.samples.insert(s.samples.end(), samples.begin() + static_cast<ptrdiff_t>(w.begin * sampleSize_),
                     samples.begin() + static_cast<ptrdiff_t>(w.end * sampleSize_));
    if (period == 0) {
      s.times.insert(s.times.end(), chunkTimes_.begin() + static_cast<ptrdiff_t>(w.begin),
                     chunkTimes_.begin() + static_cast<ptrdiff_t>(w.end));
    }
    s.count += taken;
    s.lastSeq = seq;
    s.open = w.end == n && (period == 0 || TimeAt(pieceFirst, period, taken, &s.next));
    return S_OK;
  }

  std::vector<Stretch>& stretches() { return stretches_; }

 private:
  // Whether a piece continues stretch `s` of its block without a gap.
  static bool FollowsOn(const Stretch& s, int64_t seq, int64_t period, int64_t pieceFirst, size_t begin,
                        size_t taken) {
    return s.open && seq == s.lastSeq + 1 && begin == 0 && s.period == period &&
           (period == 0 || s.next == pieceFirst) && s.count + taken <= static_cast<size_t>(kMaxCount);
  }

  // The samples of the block from this piece on that the window may take:
  // chunks hold kSamplesPerChunk samples each but the block's last.
  uint64_t ExpectedSamples(int64_t blockCount, int64_t seq, size_t begin, size_t taken, int64_t period,
                           int64_t pieceFirst) const {
    const uint64_t before = static_cast<uint64_t>(seq) * kSamplesPerChunk + begin;
    uint64_t expected = blockCount > 0 && static_cast<uint64_t>(blockCount) > before
                            ? static_cast<uint64_t>(blockCount) - before
                            : taken;
    if (period > 0) expected = std::min(expected, Distance(to_, pieceFirst) / static_cast<uint64_t>(period) + 1);
    return std::clamp<uint64_t>(expected, taken, std::max<uint64_t>(taken, sampleLimit_));
  }

  size_t sampleSize_;
  KivTime from_;
  KivTime to_;
  uint64_t sampleLimit_;
  std::vector<int64_t> chunkTimes_;
  std::vector<Stretch> stretches_;
  // The latest stretch of each block, which the block's next chunk may continue.
  std::unordered_map<uint64_t, size_t> openByBlock_;
};

constexpr const char* kChunkColumns =
    "block_id, seq, first_time, sample_count, period, continuous, samples, times, "
    "(SELECT sample_count FROM blocks WHERE id = block_id)";

// The most samples of `sampleSize` bytes the file could hold.
uint64_t SampleLimit(Connection& db, size_t sampleSize) {
  Statement s;
  if (Failed(db.Prepare("SELECT page_count * page_size FROM pragma_page_count(), pragma_page_size()", &s)) ||
      s.Step() != S_OK) {
    return 0;
  }
  return static_cast<uint64_t>(std::max<int64_t>(s.Int(0), 0)) / sampleSize;
}

KivResult ChannelSampleSize(Connection& db, uint64_t channel, size_t* size, ChannelInfo* info = nullptr) {
  ChannelInfo local;
  ChannelInfo& i = info ? *info : local;
  if (KivResult r = ReadChannelInfo(db, channel, &i); Failed(r)) return r;
  *size = TarnSampleSize(i.sampleType);
  return *size == 0 ? DISP_E_TYPEMISMATCH : S_OK;
}

// Every stretch of one stored block, whole.
KivResult ReadBlock(Connection& db, uint64_t block, size_t sampleSize, std::vector<Stretch>* out) {
  Statement s;
  static const std::string sql =
      std::string("SELECT ") + kChunkColumns + " FROM chunks WHERE block_id = ?1 ORDER BY seq";
  if (KivResult r = db.Prepare(sql.c_str(), &s); Failed(r)) return r;
  s.Bind(1, block);
  StretchBuilder builder(sampleSize, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max(),
                         SampleLimit(db, sampleSize));
  KivResult r;
  while ((r = s.Step()) == S_OK) {
    if (r = builder.Take(s); Failed(r)) return r;
  }
  if (Failed(r)) return r;
  *out = std::move(builder.stretches());
  return S_OK;
}

KivResult DeleteBlock(Connection& db, uint64_t block) {
  if (KivResult r = RunWithId(db, "DELETE FROM chunks WHERE block_id = ?1", block); Failed(r)) return r;
  return RunWithId(db, "DELETE FROM blocks WHERE id = ?1", block);
}

// The part [begin, end) of a stretch as a block to store.
Block Part(const Stretch& s, size_t sampleSize, size_t begin, size_t end, bool continuous) {
  Block b;
  b.period = s.period;
  b.continuous = continuous;
  b.count = end - begin;
  b.samples = s.samples.data() + begin * sampleSize;
  if (s.period > 0) {
    (void)TimeAt(s.first, s.period, begin, &b.first);
    (void)TimeAt(b.first, s.period, b.count - 1, &b.last);
  } else {
    b.times = s.times.data() + begin;
    b.first = b.times[0];
    b.last = b.times[b.count - 1];
  }
  return b;
}

// Cuts the samples from `from` to `to` out of one stored block.
KivResult CutBlock(Connection& db, uint64_t channel, uint64_t block, size_t sampleSize, KivTime from, KivTime to) {
  std::vector<Stretch> stretches;
  if (KivResult r = ReadBlock(db, block, sampleSize, &stretches); Failed(r)) return r;
  if (KivResult r = DeleteBlock(db, block); Failed(r)) return r;
  for (const Stretch& s : stretches) {
    Window w = FindWindow(s.first, s.period, s.times.data(), s.count, from, to);
    w.end = std::max(w.begin, w.end);
    uint64_t id = 0;
    if (w.begin > 0) {
      if (KivResult r = InsertBlock(db, channel, sampleSize, Part(s, sampleSize, 0, w.begin, s.continuous), &id);
          Failed(r))
        return r;
    }
    if (w.end < s.count) {
      // What follows a cut no longer continues what came before it.
      if (KivResult r = InsertBlock(db, channel, sampleSize, Part(s, sampleSize, w.end, s.count, false), &id);
          Failed(r))
        return r;
    }
  }
  return S_OK;
}

}  // namespace

KivResult ReadChannelData(Connection& db, uint64_t channelId, KivTime from, KivTime to,
                          RecordsObject<TarnChannelData>* out) {
  ChannelInfo info;
  size_t sampleSize = 0;
  if (KivResult r = ChannelSampleSize(db, channelId, &sampleSize, &info); Failed(r)) return r;
  if (from > to) return S_OK;
  Statement s;
  static const std::string sql = std::string("SELECT ") + kChunkColumns +
                                 " FROM chunks WHERE channel_id = ?1 AND first_time BETWEEN ?2 AND ?3 "
                                 "AND last_time >= ?4 ORDER BY first_time, block_id, seq";
  if (KivResult r = db.Prepare(sql.c_str(), &s); Failed(r)) return r;
  s.Bind(1, channelId).Bind(2, EarliestChunkStart(from, info.maxChunkSpan)).Bind(3, to).Bind(4, from);
  StretchBuilder builder(sampleSize, from, to, SampleLimit(db, sampleSize));
  KivResult r;
  while ((r = s.Step()) == S_OK) {
    if (r = builder.Take(s); Failed(r)) return r;
  }
  if (Failed(r)) return r;
  RecordArena& arena = out->arena();
  for (Stretch& st : builder.stretches()) {
    TarnChannelData& d = out->Add();
    d.channelId = channelId;
    d.firstTime = st.first;
    d.count = static_cast<int32_t>(st.count);
    d.periodic = st.period > 0 ? 1 : 0;
    d.continuous = st.continuous ? 1 : 0;
    d.samples = arena.Adopt(std::move(st.samples));
    if (st.period > 0) {
      int64_t* period = arena.Array<int64_t>(1);
      *period = st.period;
      d.times = period;
    } else {
      d.times = arena.Adopt(std::move(st.times));
    }
  }
  return S_OK;
}

KivResult AddChannelData(Connection& db, std::span<const uint64_t> ids, std::span<const TarnChannelData> records,
                         std::vector<uint64_t>* blockIds) {
  std::map<uint64_t, size_t> sampleSizes;
  TimeSpan written{std::numeric_limits<int64_t>::max(), std::numeric_limits<int64_t>::min()};
  for (size_t i = 0; i < records.size(); ++i) {
    auto [it, fresh] = sampleSizes.try_emplace(ids[i], 0);
    if (fresh) {
      if (KivResult r = ChannelSampleSize(db, ids[i], &it->second); Failed(r)) return r;
    }
    Block b;
    if (KivResult r = ToBlock(records[i], &b); Failed(r)) return r;
    uint64_t blockId = 0;
    if (KivResult r = InsertBlock(db, ids[i], it->second, b, &blockId); Failed(r)) return r;
    blockIds->push_back(blockId);
    written.first = std::min(written.first, b.first);
    written.last = std::max(written.last, b.last);
  }
  return records.empty() ? S_OK : WidenOutingRange(db, written);
}

KivResult DeleteSamples(Connection& db, uint64_t channelId) {
  for (const char* sql : {"DELETE FROM chunks WHERE channel_id = ?1", "DELETE FROM blocks WHERE channel_id = ?1",
                          "UPDATE channels SET max_chunk_span = 0 WHERE id = ?1"}) {
    if (KivResult r = RunWithId(db, sql, channelId); Failed(r)) return r;
  }
  return S_OK;
}

KivResult ClearChannelData(Connection& db, std::span<const uint64_t> ids) {
  for (uint64_t id : ids) {
    ChannelInfo info;
    if (KivResult r = ReadChannelInfo(db, id, &info); Failed(r)) return r;
    if (KivResult r = DeleteSamples(db, id); Failed(r)) return r;
  }
  return S_OK;
}

KivResult RemoveChannelData(Connection& db, std::span<const uint64_t> ids, KivTime from, KivTime to) {
  if (from > to) return E_INVALIDARG;
  for (uint64_t id : ids) {
    size_t sampleSize = 0;
    if (KivResult r = ChannelSampleSize(db, id, &sampleSize); Failed(r)) return r;
    std::vector<uint64_t> blocks;
    Statement s;
    KivResult r = db.Prepare(
        "SELECT id FROM blocks WHERE channel_id = ?1 AND first_time <= ?3 AND last_time >= ?2", &s);
    if (Failed(r)) return r;
    s.Bind(1, id).Bind(2, from).Bind(3, to);
    while ((r = s.Step()) == S_OK) blocks.push_back(static_cast<uint64_t>(s.Int(0)));
    if (Failed(r)) return r;
    s.Reset();
    for (uint64_t block : blocks) {
      if (r = CutBlock(db, id, block, sampleSize, from, to); Failed(r)) return r;
    }
  }
  return S_OK;
}

}  // namespace velmar::store
