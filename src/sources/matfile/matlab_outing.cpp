#include "sources/matfile/matlab_outing.h"

#include <new>

#include "outing/cache/outing_source.h"
#include "outing/channels/channel_header.h"
#include "velmar/velmar.h"

namespace velmar {

// --- Channel factory ----------------------------------------------------------

KivResult CMatlabChannelFactory::GetItem(const std::u16string& name, IKivChannel** channel) {
  if (!channel) return E_POINTER;
  *channel = nullptr;
  if (!cache_ || !cache_->EnsureLoaded()) return KIV_E_PENDING;
  if (!listed()) FillNames();
  auto it = items().find(name);
  if (it == items().end()) return E_INVALIDARG;
  try {
    if (!it->second) it->second = MakeChannel(name);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return GiveOut(static_cast<IKivChannel*>(it->second.Get()), channel);
}

// A variable carries no unit: the key and unit come from the property
// database, found by the name or by it with "_" as blanks.
ComPtr<CFileChannel> CMatlabChannelFactory::MakeChannel(const std::u16string& name) {
  if (!unitTable_ && Failed(CreateUnitsComponent(&unitTable_))) unitTable_ = nullptr;
  ComPtr<IKivChannelPropertyFactory> properties;
  ComPtr<IKivUnknown> root;
  if (Succeeded(GetRoot(root.Put())) && root) {
    if (auto velmar = root.As<IKivVelmar>(); !velmar || Failed(velmar->GetChannelPropertyFactory(properties.Put()))) {
      properties = nullptr;
    }
  }
  const HeaderChannel header = ResolveHeaderChannel(name, {}, properties.Get(), unitTable_.Get(), true);
  auto made = MakeKiv<CFileChannel>();
  made->Bind(name, header.key, nullptr, ComPtr<CRawChannelSource>(cache_), header.unit, unitTable_.As<IKivUnits>());
  if (timeOffset_ && *timeOffset_ != 0) (void)made->SetTimeOffset(*timeOffset_);
  return made;
}

KivResult CMatlabChannelFactory::ShiftChannels(KivTime offset) {
  for (auto& [name, channel] : items()) {
    if (!channel) continue;
    if (KivResult r = channel->SetTimeOffset(offset); r != S_OK) return r;
  }
  return S_OK;
}

void CMatlabChannelFactory::FillNames() {
  if (cache_ && cache_->EnsureLoaded()) (void)Refill();
}

void CMatlabChannelFactory::DropItem(const std::u16string&, ComPtr<CFileChannel>& channel) {
  if (channel) channel->Detach();
  channel = nullptr;
}

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
