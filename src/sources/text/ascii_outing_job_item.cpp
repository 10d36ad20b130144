#include "sources/text/ascii_outing_job_item.h"

#include <algorithm>
#include <map>
#include <new>
#include <utility>

#include "jobs/job_thread.h"
#include "sources/text/text_number.h"
#include "sources/text/text_reader.h"
#include "velmar/text.h"

namespace velmar {
namespace {

void Widen(KivTime time, KivTime* start, KivTime* end) {
  *start = std::min(*start, time);
  *end = std::max(*end, time);
}

// The column's buffers handed to a raw channel as they are, without a copy.
// Columns on one time array share one split of it: `splits` finds it.
KivResult AdoptColumn(TextColumn&& column, std::map<const double*, std::shared_ptr<TimeSplit>>& splits,
                      std::shared_ptr<CRawChannelBase>* out) {
  const uint32_t count = column.count;
  std::shared_ptr<double[]> data(std::move(column.data));
  if (!column.timeData) {
    // One allocation of times then values: both halves keep it alive.
    auto split = std::make_shared<TimeSplit>(std::shared_ptr<const double[]>(data, data.get()), count);
    return CRawChannelBase::Adopt(std::move(split), std::shared_ptr<double[]>(data, data.get() + count), count, out);
  }
  std::shared_ptr<TimeSplit>& split = splits[column.timeData.get()];
  if (!split) split = std::make_shared<TimeSplit>(std::move(column.timeData), count);
  return CRawChannelBase::Adopt(split, std::move(data), count, out);
}

// Step 3: of columns with one name the first stands, and a column without
// samples is dropped; the kept ones widen the channel and outing spans.
void TakeChannels(std::vector<TextColumn> columns, AsciiOutingData* out) {
  std::map<const double*, std::shared_ptr<TimeSplit>> splits;
  for (TextColumn& column : CollectChannels(std::move(columns))) {
    std::optional<KivTime> first = SecondsToTicks(column.times().front());
    std::optional<KivTime> last = SecondsToTicks(column.times().back());
    if (first) Widen(*first, &out->channelStart, &out->channelEnd);
    if (last) Widen(*last, &out->channelStart, &out->channelEnd);
    std::shared_ptr<CRawChannelBase> raw;
    if (AdoptColumn(std::move(column), splits, &raw) == E_OUTOFMEMORY) throw std::bad_alloc();
    out->channels.emplace(std::move(column.name), CAsciiRawChannel{std::move(raw), std::move(column.unit)});
  }
  out->outingStart = out->channelStart;
  out->outingEnd = out->channelEnd;
}

// Step 5: the "End of lap" times, rising, numbered from the first lap.
std::vector<TextLapMarker> LapMarkers(const TextEventSets& events, int32_t firstLap) {
  std::vector<TextLapMarker> markers;
  auto laps = events.find(std::u16string(kEndOfLapEventSet));
  if (laps == events.end()) return markers;
  int32_t k = 0;
  for (const auto& [time, event] : laps->second) markers.push_back({time, firstLap + k++});
  return markers;
}

}  // namespace

std::filesystem::path TextFilePath(const std::u16string& path) { return std::filesystem::path(WideToUtf8(path)); }

TextStatus LoadAsciiOuting(const std::filesystem::path& path, TextFileOps& ops, AsciiOutingData* out,
                           const ChannelReadOptions& channelOptions) {
  *out = AsciiOutingData();
  CAsciiFileHandles file(path, ops);
  if (auto st = file.Open(false); !st.ok()) return st;
  AsciiOutingData data;
  try {
    data.hasInformation = file.index().hasInformation;
    data.informationLines = file.ReadInformation();
    data.information = InformationToProperties(data.informationLines, &data.firstLap);
    std::vector<TextColumn> columns;
    if (auto st = file.ReadChannels(&columns, channelOptions); !st.ok()) return st;
    TakeChannels(std::move(columns), &data);
    data.events = GroupEvents(file.ReadEvents());
    for (const auto& [name, set] : data.events) {
      if (set.empty()) continue;
      Widen(set.begin()->first, &data.outingStart, &data.outingEnd);
      Widen(set.rbegin()->first, &data.outingStart, &data.outingEnd);
    }
    data.lapMarkers = LapMarkers(data.events, data.firstLap);
    data.constants = file.ReadConstants();
    if (auto st = file.Intact(); !st.ok()) return st;
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the data set"};
  }
  // The file is not held between loads.
  file.Close();
  *out = std::move(data);
  return {};
}

// --- Load job ---------------------------------------------------------------

CAsciiOutingJobItem::CAsciiOutingJobItem(CStateMachineEx* owner, const std::u16string& path, TextFileOps* ops)
    : CJobItemEx(owner), path_(TextFilePath(path)), ops_(ops ? *ops : DefaultTextFileOps()) {}

KivResult CAsciiOutingJobItem::Run() {
  loadStatus_ = LoadAsciiOuting(path_, ops_, &data_);
  if (!loadStatus_.ok()) return loadStatus_.code() == TextCode::kOutOfMemory ? E_OUTOFMEMORY : E_FAIL;
  return data_.empty() ? S_FALSE : S_OK;
}

// --- Create job -------------------------------------------------------------

CAsciiCreateJobItem::CAsciiCreateJobItem(CStateMachineEx* owner, const std::u16string& path, TextFileOps* ops)
    : CJobItemEx(owner), path_(TextFilePath(path)), ops_(ops ? *ops : DefaultTextFileOps()) {}

KivResult CAsciiCreateJobItem::Run() {
  createStatus_ = CAsciiFileHandles::Create(path_, ops_);
  return createStatus_.ok() ? S_OK : createStatus_.result();
}

AsyncThread AsciiSource::Thread() { return AsciiThread(); }

}  // namespace velmar
