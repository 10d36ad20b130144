#include "sources/tarn/tarn_lap_marker_writer.h"

#include <algorithm>
#include <utility>

#include "outing/channels/distance_channel.h"
#include "sources/tarn/tarn_lap_marker_steps.h"
#include "sources/tarn/tarn_outing_cache.h"

namespace velmar {
namespace {

// What the additions check against, from the markers read so far.
LapMarkerContext ContextOf(const TarnLapData* laps) {
  LapMarkerContext context;
  if (!laps) return context;
  context.markerTimes = laps->MarkerTimes();
  context.span = laps->span;
  context.origin = laps->distanceOrigin;
  return context;
}

// The distance channel's data when it is in: S_OK with data, S_OK with none
// while it is fetched, another failure as it stands.
KivResult DataOrPending(IKivChannel* channel, ComPtr<IKivChannelIterator2>* data) {
  KivResult r = DistanceData(channel, data);
  if (r == KIV_E_PENDING) {
    *data = nullptr;
    return S_OK;
  }
  return r;
}

// What the edits by distance start from: the distance channel, the markers
// as read, and the channel's data when it is in.
struct DistanceEdit {
  ComPtr<IKivChannel> channel;
  const TarnLapData* laps = nullptr;
  ComPtr<IKivChannelIterator2> data;
};

// The road to the distance channel fails as it stands; markers not read give
// E_FAIL. `dataResult` is what asking for the channel's data gave.
KivResult PrepareDistanceEdit(CTarnOutingCache* cache, IKivDataFactory* channels, DistanceEdit* edit,
                              KivResult* dataResult) {
  if (KivResult r = FindDistanceChannel(channels, &edit->channel); Failed(r)) return r;
  edit->laps = cache->LapData();
  if (!edit->laps) return E_FAIL;
  *dataResult = DataOrPending(edit->channel.Get(), &edit->data);
  return S_OK;
}

}  // namespace

KivResult CLapMarkerWriterBase::AddLapMarkerAtTime(KivTime time) {
  CTarnOutingCache* cache = WriterCache();
  ComPtr<IKivChannel> channel;
  if (KivResult r = FindDistanceChannel(WriterChannels(), &channel); Failed(r)) return r;
  const TarnLapData* laps = cache->LapData();
  LapMarkerContext context = ContextOf(laps);
  if (laps) {
    if (time < laps->span.outingStart || time > laps->span.outingEnd) return E_INVALIDARG;
    if (std::find(context.markerTimes.begin(), context.markerTimes.end(), time) != context.markerTimes.end()) {
      return KIV_E_MARKER_EXISTS;
    }
  }
  ComPtr<IKivChannelIterator2> data;
  if (!(context.origin == 0.0) && Failed(DataOrPending(channel.Get(), &data))) return E_FAIL;
  LapMarkerAddition add;
  if (KivResult r = AddAtTime(time, context, data.Get(), &add); Failed(r)) return r;
  return cache->transaction()->AddWriteBackStep(
      MakeKiv<CWBTarnLapMarkerAddSM>(cache->lap_write_back(), CWBTarnLapMarkerAddSM::By::kTime,
                                     static_cast<double>(time), std::move(context), std::move(channel), add));
}

KivResult CLapMarkerWriterBase::AddLapMarkerAtDistance(double distance) {
  CTarnOutingCache* cache = WriterCache();
  DistanceEdit edit;
  KivResult dataResult = S_OK;
  if (KivResult r = PrepareDistanceEdit(cache, WriterChannels(), &edit, &dataResult); Failed(r)) return r;
  if (Failed(dataResult)) return dataResult;
  LapMarkerContext context = ContextOf(edit.laps);
  LapMarkerAddition add;
  if (KivResult r = AddAtDistance(distance, context, edit.data.Get(), /*delayed=*/false, &add); Failed(r)) return r;
  return cache->transaction()->AddWriteBackStep(
      MakeKiv<CWBTarnLapMarkerAddSM>(cache->lap_write_back(), CWBTarnLapMarkerAddSM::By::kDistance, distance,
                                     std::move(context), std::move(edit.channel), add));
}

KivResult CLapMarkerWriterBase::RemoveLapMarker(uint32_t index) {
  CTarnOutingCache* cache = WriterCache();
  const TarnLapData* laps = cache->LapData();
  if (!laps) return E_FAIL;
  if (index == 0 || index > laps->markers.size()) return DISP_E_BADINDEX;
  return cache->transaction()->AddWriteBackStep(
      MakeKiv<CWBTarnLapMarkerRemoveSM>(cache->lap_write_back(), index - 1, laps->markers[index - 1].id));
}

KivResult CLapMarkerWriterBase::ShiftLapMarkers(double distance) {
  CTarnOutingCache* cache = WriterCache();
  DistanceEdit edit;
  KivResult dataResult = S_OK;
  if (KivResult r = PrepareDistanceEdit(cache, WriterChannels(), &edit, &dataResult); Failed(r)) return r;
  if (Failed(dataResult)) return E_FAIL;
  LapMarkerShift shift;
  std::vector<KivTime> baseTimes;
  for (const TarnLapMarker& m : edit.laps->markers) {
    if (m.crossing != 1) continue;
    shift.ids.push_back(m.id);
    shift.shifts.push_back(distance);
    baseTimes.push_back(m.baseTime);
  }
  if (edit.data) {
    if (KivResult r = ShiftOffsets(baseTimes, distance, edit.data.Get(), &shift.offsets); Failed(r)) return r;
    shift.ready = true;
  } else {
    shift.offsets = baseTimes;  // until the data is in
  }
  return cache->transaction()->AddWriteBackStep(MakeKiv<CWBTarnLapMarkerShiftSM>(
      cache->lap_write_back(), distance, std::move(baseTimes), std::move(edit.channel), std::move(shift)));
}

KivResult CLapMarkerWriterBase::ResetLapMarkers() {
  CTarnOutingCache* cache = WriterCache();
  return cache->transaction()->AddWriteBackStep(MakeKiv<CWBTarnLapMarkerResetSM>(cache->lap_write_back()));
}

}  // namespace velmar
