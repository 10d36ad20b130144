#include "platform/realtime/rt_live_data.h"

#include <algorithm>

#include "velmar/tarn_store.h"

namespace velmar::rt {

namespace {

// Index of the first sample at or after `time`, and one past the last at or
// before `to`, of a block.
std::pair<uint32_t, uint32_t> SampleWindow(const WireBlock& block, KivTime from, KivTime to) {
  const uint32_t count = block.Count();
  if (count == 0 || block.times.empty()) return {0, 0};
  if (block.periodic) {
    const KivTime period = std::max<KivTime>(block.times.front(), 1);
    const KivTime last = block.LastTime();
    // Compared before subtracting: the window's ends may be the extremes.
    const int64_t first = from <= block.firstTime ? 0 : from > last ? count : (from - block.firstTime + period - 1) / period;
    const int64_t end = to < block.firstTime ? 0 : to >= last ? count : (to - block.firstTime) / period + 1;
    return {static_cast<uint32_t>(first), static_cast<uint32_t>(std::max(first, end))};
  }
  const auto begin = block.times.begin();
  const auto last = begin + std::min<size_t>(count, block.times.size());
  const auto first = std::lower_bound(begin, last, from);
  const auto end = std::upper_bound(first, last, to);
  return {static_cast<uint32_t>(first - begin), static_cast<uint32_t>(end - begin)};
}

}  // namespace

std::optional<WireBlock> CutBlock(const WireBlock& block, KivTime from, KivTime to) {
  const auto [first, end] = SampleWindow(block, from, to);
  if (first >= end) return std::nullopt;
  if (first == 0 && end == block.Count()) return block;
  const size_t size = TarnSampleSize(block.sampleType);
  WireBlock cut = block;
  cut.samples.assign(block.samples.begin() + static_cast<std::ptrdiff_t>(first * size),
                     block.samples.begin() + static_cast<std::ptrdiff_t>(end * size));
  if (block.periodic) {
    cut.firstTime = block.firstTime + static_cast<KivTime>(first) * block.times.front();
  } else {
    cut.times.assign(block.times.begin() + first, block.times.begin() + end);
    cut.firstTime = cut.times.front();
  }
  if (first > 0) cut.continuous = 1;
  return cut;
}

void LiveData::Clear() {
  std::lock_guard lock(mutex_);
  details_ = {};
  channels_.clear();
  blocks_.clear();
  eventNames_.clear();
  events_.clear();
  laps_.clear();
  constants_.clear();
  blobs_.clear();
  information_.clear();
  movement_.reset();
  range_.reset();
  samples_ = 0;
}

void LiveData::SetDetails(WireDetails details) { Store(details_, std::move(details)); }
void LiveData::SetChannels(std::vector<WireChannel> channels) { Store(channels_, std::move(channels)); }
void LiveData::SetEventNames(std::vector<WireNamed> names) { Store(eventNames_, std::move(names)); }
void LiveData::SetConstants(std::vector<WireConstant> constants) { Store(constants_, std::move(constants)); }
void LiveData::SetBlobs(std::vector<WireBlob> blobs) { Store(blobs_, std::move(blobs)); }
void LiveData::SetInformation(Pairs pairs) { Store(information_, std::move(pairs)); }
void LiveData::SetMovementRange(KivTime first, KivTime last) {
  std::lock_guard lock(mutex_);
  movement_.emplace(first, last);
}

void LiveData::AddBlock(WireBlock block) {
  std::lock_guard lock(mutex_);
  samples_ += block.Count();
  blocks_[block.channelId].push_back(std::move(block));
}

void LiveData::AddEvent(WireEvent event) {
  std::lock_guard lock(mutex_);
  const auto at = std::upper_bound(events_.begin(), events_.end(), event.time,
                                   [](KivTime t, const WireEvent& e) { return t < e.time; });
  events_.insert(at, std::move(event));
}

void LiveData::AddLapMarker(WireLapMarker marker) {
  std::lock_guard lock(mutex_);
  laps_.push_back(std::move(marker));
}

std::pair<KivTime, KivTime> LiveData::WidenRange(KivTime start, KivTime end) {
  std::lock_guard lock(mutex_);
  if (!range_) {
    range_.emplace(start, end);
  } else {
    range_->first = std::min(range_->first, start);
    range_->second = std::max(range_->second, end);
  }
  return *range_;
}

uint64_t LiveData::Discard(KivTime time) {
  std::lock_guard lock(mutex_);
  for (auto& [id, blocks] : blocks_) {
    const auto kept = std::find_if(blocks.begin(), blocks.end(), [&](const WireBlock& b) { return b.LastTime() >= time; });
    for (auto it = blocks.begin(); it != kept; ++it) samples_ -= it->Count();
    blocks.erase(blocks.begin(), kept);
  }
  const auto firstKept = std::lower_bound(events_.begin(), events_.end(), time,
                                          [](const WireEvent& e, KivTime t) { return e.time < t; });
  events_.erase(events_.begin(), firstKept);
  return samples_;
}

uint64_t LiveData::samples_held() const {
  std::lock_guard lock(mutex_);
  return samples_;
}

std::vector<WireDetails> LiveData::Details() const {
  std::lock_guard lock(mutex_);
  return {details_};
}
std::vector<WireChannel> LiveData::Channels() const { return Copy(channels_); }

KivResult LiveData::ChannelData(uint64_t id, KivTime from, KivTime to, std::vector<WireBlock>* blocks,
                                size_t maxBytes) const {
  std::lock_guard lock(mutex_);
  blocks->clear();
  if (std::none_of(channels_.begin(), channels_.end(), [&](const WireChannel& c) { return c.id == id; })) {
    return E_INVALIDARG;
  }
  const auto found = blocks_.find(id);
  if (found == blocks_.end() || from > to) return S_OK;
  size_t bytes = 0;
  for (const auto& block : found->second) {
    if (block.firstTime > to) break;
    if (block.LastTime() < from) continue;
    auto cut = CutBlock(block, from, to);
    if (!cut) continue;
    bytes += cut->WireSize();
    if (bytes > maxBytes && !blocks->empty()) return S_FALSE;
    blocks->push_back(std::move(*cut));
  }
  return S_OK;
}

std::vector<WireNamed> LiveData::EventNames() const { return Copy(eventNames_); }

std::vector<WireEvent> LiveData::Events(const std::vector<uint64_t>& nameIds, KivTime from, KivTime to) const {
  std::lock_guard lock(mutex_);
  std::vector<WireEvent> out;
  for (const auto& event : events_) {
    if (event.time < from || event.time > to) continue;
    if (std::find(nameIds.begin(), nameIds.end(), event.nameId) != nameIds.end()) out.push_back(event);
  }
  return out;
}

std::vector<WireLapMarker> LiveData::LapMarkers() const { return Copy(laps_); }
std::vector<WireConstant> LiveData::Constants() const { return Copy(constants_); }

std::vector<WireBlob> LiveData::BlobList() const {
  std::lock_guard lock(mutex_);
  std::vector<WireBlob> out = blobs_;
  for (auto& blob : out) blob.data.clear();
  return out;
}

KivResult LiveData::BlobData(uint64_t id, std::vector<WireBlob>* blob) const {
  std::lock_guard lock(mutex_);
  blob->clear();
  for (const auto& b : blobs_) {
    if (b.id == id) {
      blob->push_back(b);
      return S_OK;
    }
  }
  return E_INVALIDARG;
}

LiveData::Pairs LiveData::Information() const { return Copy(information_); }

KivResult LiveData::MovementRange(KivTime* first, KivTime* last) const {
  std::lock_guard lock(mutex_);
  *first = movement_ ? movement_->first : 0;
  *last = movement_ ? movement_->second : 0;
  return movement_ ? S_OK : S_FALSE;
}

KivResult LiveData::Range(KivTime* start, KivTime* end) const {
  std::lock_guard lock(mutex_);
  *start = range_ ? range_->first : 0;
  *end = range_ ? range_->second : 0;
  return range_ ? S_OK : S_FALSE;
}

bool LiveData::history_mode() const { return Copy(historyMode_); }
void LiveData::set_history_mode(bool keepAll) { Store(historyMode_, keepAll); }

}  // namespace velmar::rt
