#include "sources/tarn/tarn_lap_marker_steps.h"

#include <algorithm>
#include <utility>

#include "jobs/job_thread.h"
#include "outing/channels/distance_channel.h"
#include "sources/tarn/tarn_records.h"

namespace velmar {
namespace {

bool HasMarkerAt(const std::vector<KivTime>& times, KivTime time) {
  return std::find(times.begin(), times.end(), time) != times.end();
}

bool InSpan(const std::optional<LapSpan>& span, KivTime time) {
  return !span || (time >= span->outingStart && time <= span->outingEnd);
}

// Where a marker at `time` (reached at `distance` when known) starts from:
// with a distance origin, the time the car was at the same distance from it.
KivResult BaseFromOrigin(IKivChannelIterator* data, double distance, double origin, KivTime time,
                         LapMarkerAddition* add) {
  add->origin = origin;
  if (origin == 0.0) {
    add->baseTime = time;
    add->offset = 0;
  } else {
    KivTime base = 0;
    if (Failed(DistanceToTime(data, distance - origin, &base))) return E_FAIL;
    add->baseTime = base;
    add->offset = time - base;
  }
  add->ready = true;
  return S_OK;
}

// The data of `channel` when it is in; null while it is fetched or missing.
ComPtr<IKivChannelIterator2> DataIfIn(IKivChannel* channel) {
  ComPtr<IKivChannelIterator2> data;
  if (!channel || Failed(DistanceData(channel, &data))) return nullptr;
  return data;
}

}  // namespace

// --- Sums --------------------------------------------------------------------------

KivResult AddAtTime(KivTime time, const LapMarkerContext& context, IKivChannelIterator* data, LapMarkerAddition* add) {
  *add = {};
  add->origin = context.origin;
  if (context.origin == 0.0) return BaseFromOrigin(nullptr, 0.0, 0.0, time, add);
  if (!data) return S_OK;  // not ready: the sums wait for the data
  double distance = 0.0;
  if (Failed(TimeToDistance(data, time, &distance))) return E_FAIL;
  return BaseFromOrigin(data, distance, context.origin, time, add);
}

KivResult AddAtDistance(double distance, const LapMarkerContext& context, IKivChannelIterator* data, bool delayed,
                        LapMarkerAddition* add) {
  *add = {};
  add->origin = context.origin;
  if (!data) return S_OK;
  KivTime time = 0;
  if (Failed(DistanceToTime(data, distance, &time))) return E_INVALIDARG;
  if (HasMarkerAt(context.markerTimes, time)) return KIV_E_MARKER_EXISTS;
  if (delayed && !InSpan(context.span, time)) return E_INVALIDARG;
  return BaseFromOrigin(data, distance, context.origin, time, add);
}

KivResult ShiftOffsets(const std::vector<KivTime>& baseTimes, double distance, IKivChannelIterator* data,
                       std::vector<KivTime>* offsets) {
  offsets->clear();
  for (KivTime base : baseTimes) {
    double at = 0.0;
    KivTime moved = 0;
    if (Failed(TimeToDistance(data, base, &at)) || Failed(DistanceToTime(data, at + distance, &moved))) {
      return KIV_E_GLOBAL_TIME;
    }
    offsets->push_back(moved - base);
  }
  return S_OK;
}

// --- Jobs ----------------------------------------------------------------------------

KivResult CTarnLapMarkerJobItem::ReadMarkers(std::vector<TarnLapMarker>* markers) const {
  TarnConnection* store = access_ ? access_->connection() : nullptr;
  if (!store || !store->lapMarkers) return E_FAIL;
  ComPtr<IKivTarnLapMarkerRecords> records;
  if (KivResult r = store->lapMarkers->GetLapMarkers(kTarnWaitForever, records.Put()); Failed(r)) return r;
  std::span<const TarnLapMarker> items = Items(records);
  markers->assign(items.begin(), items.end());
  return S_OK;
}

KivResult CTarnLapMarkerJobItem::ReadOutingRange(KivTime* start, KivTime* end) const {
  TarnConnection* store = access_ ? access_->connection() : nullptr;
  if (!store || !store->main) return E_FAIL;
  return store->main->GetOutingRange(kTarnWaitForever, start, end);
}

ComPtr<IKivTarnLapMarkerWriter> CTarnLapMarkerJobItem::Writer() const {
  return access_ ? access_->Writer<IKivTarnLapMarkerWriter>() : nullptr;
}

KivResult CWBTarnLapMarkerAddLMJobItem::Run() {
  if (!add_.ready) return Fail(kAddMarkerInvalid);
  std::vector<TarnLapMarker> markers;
  if (Failed(ReadMarkers(&markers))) return Fail(kAddMarkerFailed);
  for (const TarnLapMarker& m : markers) {
    if (m.baseTime == add_.baseTime) return Fail(kAddMarkerDuplicate);
  }
  const KivTime low = std::min(add_.baseTime, add_.baseTime + add_.offset);
  const KivTime high = std::max(add_.baseTime, add_.baseTime + add_.offset);
  KivTime start = 0, end = 0;
  if (Failed(ReadOutingRange(&start, &end))) return Fail(kAddMarkerFailed);
  if (low < start || high > end) return Fail(kAddMarkerOutside);
  ComPtr<IKivTarnLapMarkerWriter> writer = Writer();
  TarnLapMarker record{};
  record.baseTime = add_.baseTime;
  record.timeOffset = add_.offset;
  record.distanceOrigin = add_.origin;
  record.crossing = 1;
  std::vector<uint64_t> ids;
  if (!writer || Failed(writer->AddLapMarkers(1, &record, &ids))) return Fail(kAddMarkerFailed);
  return S_OK;
}

KivResult CWBTarnLapMarkerRemoveJobItem::Run() {
  std::vector<TarnLapMarker> markers;
  if (Failed(ReadMarkers(&markers)) || index_ >= markers.size() || markers[index_].id != id_) {
    return Fail(kRemoveMarkerFailed);
  }
  ComPtr<IKivTarnLapMarkerWriter> writer = Writer();
  if (!writer || Failed(writer->RemoveLapMarkers(1, &id_))) return Fail(kRemoveMarkerFailed);
  return S_OK;
}

KivResult CWBTarnLapMarkerResetJobItem::Run() {
  ComPtr<IKivTarnLapMarkerWriter> writer = Writer();
  if (!writer || Failed(writer->ResetLapMarkers())) return Fail(kResetMarkersFailed);
  return S_OK;
}

KivResult CWBTarnLapMarkerShiftJobItem::Run() {
  if (!shift_.ready) return Fail(kShiftNoOffset);
  std::vector<TarnLapMarker> markers;
  if (Failed(ReadMarkers(&markers))) return Fail(kShiftFailed);
  // The crossing markers must still be the ones the call saw, in order.
  size_t matched = 0;
  for (const TarnLapMarker& m : markers) {
    if (m.crossing != 1) continue;
    if (matched == shift_.ids.size() || m.id != shift_.ids[matched]) return Fail(kShiftMismatch);
    ++matched;
  }
  if (matched != shift_.ids.size()) return Fail(kShiftMismatch);
  ComPtr<IKivTarnLapMarkerWriter> writer = Writer();
  const auto count = static_cast<uint32_t>(shift_.ids.size());
  if (!writer || Failed(writer->ShiftLapMarkers(count, shift_.ids.data(), shift_.offsets.data(),
                                                shift_.shifts.data()))) {
    return Fail(kShiftFailed);
  }
  return S_OK;
}

// --- Steps -----------------------------------------------------------------------------

AsyncThread CTarnLapMarkerStep::GetJobThread() { return DaeThread(); }

ComPtr<CTarnOutingTransactionJobItem> CTarnLapMarkerStep::Access(CJobItem* writeAccess) {
  return ComPtr<CTarnOutingTransactionJobItem>(static_cast<CTarnOutingTransactionJobItem*>(writeAccess));
}

KivResult CWBTarnLapMarkerAddSM::CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) {
  if (!add_.ready) {
    // The sums the call could not do, now that the data may be in; when it
    // is still missing the job reports the addition as invalid.
    ComPtr<IKivChannelIterator2> data = DataIfIn(channel_.Get());
    LapMarkerAddition add;
    KivResult r = by_ == By::kTime ? AddAtTime(static_cast<KivTime>(at_), context_, data.Get(), &add)
                                   : AddAtDistance(at_, context_, data.Get(), /*delayed=*/true, &add);
    if (Succeeded(r)) add_ = add;
  }
  *job = MakeKiv<CWBTarnLapMarkerAddLMJobItem>(this, Access(writeAccess), add_);
  return S_OK;
}

KivResult CWBTarnLapMarkerRemoveSM::CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) {
  *job = MakeKiv<CWBTarnLapMarkerRemoveJobItem>(this, Access(writeAccess), index_, id_);
  return S_OK;
}

KivResult CWBTarnLapMarkerResetSM::CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) {
  *job = MakeKiv<CWBTarnLapMarkerResetJobItem>(this, Access(writeAccess));
  return S_OK;
}

KivResult CWBTarnLapMarkerShiftSM::CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) {
  if (shift_.ids.empty()) {
    NotifyMessage(std::u16string(kShiftNoMarkers));
    return E_FAIL;
  }
  if (!shift_.ready) {
    ComPtr<IKivChannelIterator2> data = DataIfIn(channel_.Get());
    std::vector<KivTime> offsets;
    if (data && Succeeded(ShiftOffsets(baseTimes_, distance_, data.Get(), &offsets))) {
      shift_.offsets = std::move(offsets);
      shift_.ready = true;
    }
  }
  *job = MakeKiv<CWBTarnLapMarkerShiftJobItem>(this, Access(writeAccess), shift_);
  return S_OK;
}

}  // namespace velmar
