#include "sources/matfile/matlab_outing.h"

#include <new>

#include "outing/cache/outing_source.h"

namespace velmar {

// --- Outing -------------------------------------------------------------------

CMatlabOuting::CMatlabOuting(ComPtr<CMatlabOutingCache> cache, bool overrideProperties)
    : CFileOuting(std::move(cache), overrideProperties) {
  channels().Bind(this->cache(), &offset_);
}

CMatlabOuting::~CMatlabOuting() {
  if (cache()) cache()->transaction()->OutingGone(this);
  DetachFromCache();
  (void)channels().RemoveAllItems();
}

void CMatlabOuting::OnDataDiscarded() {
  laps_.reset();
  FireItemsRemoved(channels().AsDataFactory(), kDataKindChannels, channels().RemoveAllItems());
}

void CMatlabOuting::OnChannelsLoaded() {
  FireItemsAdded(channels().AsDataFactory(), kDataKindChannels, channels().Refill());
}

void CMatlabOuting::OnLapMarkersReset() {
  laps_.reset();
  CFileOuting::OnLapMarkersReset();
}

const MatlabLapData* CMatlabOuting::LapMarkerData() {
  if (laps_) return &*laps_;
  if (!cache()->EnsureLoaded()) return nullptr;
  const MatlabOutingData* data = cache()->data();
  if (!data || data->outingStart > data->outingEnd) return nullptr;  // no channel with a time in it
  MatlabLapData laps;
  laps.span.outingStart = data->outingStart;
  laps.span.outingEnd = data->outingEnd;
  laps_ = std::move(laps);
  return &*laps_;
}

KivResult CMatlabOuting::ApplyTimeOffset(KivTime offset) {
  const KivResult r = channels().ShiftChannels(offset);
  if (Failed(r)) return r;
  offset_ = offset;
  set_time_offset(offset);
  return r;
}

// --- Registration -------------------------------------------------------------

KivResult RegisterMatlabOutingSource() {
  using Source = COutingSource<CMatlabOuting>;
  if (std::dynamic_pointer_cast<Source>(FindOutingSource(OutingType::kMatFile))) return S_FALSE;
  try {
    return RegisterOutingSource(OutingType::kMatFile, std::make_shared<Source>());
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace velmar
