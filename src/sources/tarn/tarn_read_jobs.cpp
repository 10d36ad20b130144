#include "sources/tarn/tarn_read_jobs.h"

#include <algorithm>
#include <span>

#include "sources/tarn/tarn_records.h"
#include "velmar/units.h"

namespace velmar {
namespace {

std::u16string Text(const char16_t* text) { return text ? std::u16string(text) : std::u16string(); }

}  // namespace

std::map<std::u16string, TarnNamedItem> NamedItemMap(const std::vector<TarnNamedItem>& items) {
  std::map<std::u16string, TarnNamedItem> map;
  for (const TarnNamedItem& item : items) map.try_emplace(item.name, item);
  return map;
}

KivResult CTarnReadJobItem::Run() {
  if (!connection_) return E_FAIL;
  return Read(connection_->connection());
}

KivResult CLoadOutingJobItem::Read(TarnConnection& c) {
  if (!c.details) return E_FAIL;
  ComPtr<IKivTarnOutingRecords> records;
  KivResult r = c.details->GetDetails(kDefaultWaitLimit, records.Put());
  if (Failed(r)) return r;
  std::span<const TarnOutingRecord> items = Items(records);
  if (!items.empty()) properties_ = OutingProperties(items.front(), NowAsOleDate());
  return S_OK;
}

KivResult CLoadChannelNamesJobItem::Read(TarnConnection& c) {
  if (!c.channels) return E_FAIL;
  QuantityId maxQuantity = KnownMaxQuantity();
  ComPtr<IKivTarnChannelRecords> records;
  KivResult r = c.channels->GetChannelList(kDefaultWaitLimit, records.Put());
  if (Failed(r)) return r;
  channels_ = BuildChannelMap(Items(records), maxQuantity);
  return S_OK;
}

KivResult CTarnChannelDataFetch::Fetch(ChannelSections* sections) {
  if (!connection_ || !connection_->connection().channels) return E_FAIL;
  ComPtr<IKivTarnChannelDataRecords> records;
  KivResult r = connection_->connection().channels->GetChannelData(kDefaultWaitLimit, channel_.id, kTimeMin,
                                                                   kTimeMax, records.Put());
  if (Failed(r)) return r;
  // The sections keep the records' samples in place: the records live on with them.
  auto held = std::make_shared<const ComPtr<IKivTarnChannelDataRecords>>(std::move(records));
  *sections = ChannelBlocks(Items(*held), channel_.sampleType, held);
  return S_OK;
}

KivResult CGetEventNamesJobItem::Read(TarnConnection& c) {
  if (!c.events) return E_FAIL;
  ComPtr<IKivTarnEventNameRecords> records;
  KivResult r = c.events->GetEventNames(kDefaultWaitLimit, records.Put());
  if (Failed(r)) return r;
  for (const TarnEventName& n : Items(records)) names_.push_back({n.id, Text(n.name), {}});
  return S_OK;
}

KivResult CGetCachedEventsJobItem::Read(TarnConnection& c) {
  if (!c.events) return E_FAIL;
  ComPtr<IKivTarnEventRecords> records;
  KivResult r = c.events->GetEventData(kDefaultWaitLimit, 1, &eventId_, kTimeMin, kTimeMax, records.Put());
  if (Failed(r)) return r;
  events_ = CachedEvents(Items(records));
  return S_OK;
}

KivResult CGetLapMarkerDataJobItem::Read(TarnConnection& c) {
  if (!c.main || !c.lapMarkers) return E_FAIL;
  KivTime start = 0, end = 0, first = 0, last = 0;
  if (Failed(c.main->GetOutingRange(kDefaultWaitLimit, &start, &end)) || end < start) return E_FAIL;
  KivResult movement = c.main->GetMovementRange(kDefaultWaitLimit, &first, &last);
  ComPtr<IKivTarnLapMarkerRecords> records;
  if (Failed(c.lapMarkers->GetLapMarkers(kDefaultWaitLimit, records.Put()))) return E_FAIL;
  return TakeLapData(start, end, movement, first, last, Items(records), &data_) ? S_OK : E_FAIL;
}

KivResult CTarnGetConstantsJobItem::Read(TarnConnection& c) {
  if (!c.constants) return E_FAIL;
  ComPtr<IKivTarnConstantRecords> records;
  KivResult r = c.constants->GetConstants(kDefaultWaitLimit, records.Put());
  if (Failed(r)) return r;
  for (const TarnConstantRecord& k : Items(records)) {
    if (!k.name) continue;
    constants_.push_back({k.id, k.name, k.text ? 0.0 : k.value, k.text != nullptr, Text(k.text), Text(k.unit)});
  }
  return S_OK;
}

KivResult CLoadBlobJobItem::Read(TarnConnection& c) {
  if (!c.blobs) return E_FAIL;
  ComPtr<IKivTarnBlobRecords> records;
  KivResult r = c.blobs->GetBlobList(kDefaultWaitLimit, records.Put());
  if (Failed(r)) return r;
  for (const TarnBlobDescription& b : Items(records)) blobs_.push_back({b.id, Text(b.name), b.type ? *b.type : Guid{}});
  return S_OK;
}

KivResult CGetBlobDataJobItem::Read(TarnConnection& c) {
  if (!c.blobs) return E_FAIL;
  ComPtr<IKivTarnBlobDataRecords> records;
  KivResult r = c.blobs->GetBlobData(kDefaultWaitLimit, blobId_, records.Put());
  if (Failed(r)) return r;
  std::span<const TarnBlobRecord> items = Items(records);
  if (items.empty()) return E_FAIL;
  const TarnBlobRecord& b = items.front();
  if (b.type) type_ = *b.type;
  if (b.data && b.size) bytes_.assign(b.data, b.data + b.size);
  return S_OK;
}

KivResult CStatusChannelDefinitionJobItem::Read(TarnConnection& c) {
  if (!c.channels || !c.blobs) return E_FAIL;
  ComPtr<IKivTarnChannelRecords> channels;
  ComPtr<IKivTarnBlobRecords> blobs;
  KivResult r = c.channels->GetChannelList(kDefaultWaitLimit, channels.Put());
  if (Succeeded(r)) r = c.blobs->GetBlobList(kDefaultWaitLimit, blobs.Put());
  if (Failed(r)) return r;
  for (const TarnChannelDescription& d : Items(channels)) {
    channels_.push_back({Text(d.displayName), Text(d.tagName), d.quantityId});
  }
  largestQuantity_ = static_cast<int32_t>(KnownMaxQuantity());
  const auto blobList = Items(blobs);
  const auto found = std::find_if(blobList.begin(), blobList.end(), [](const TarnBlobDescription& b) {
    return b.type && *b.type == kStatusDefinitionsBlobType;
  });
  if (found == blobList.end()) return E_FAIL;
  ComPtr<IKivTarnBlobDataRecords> data;
  r = c.blobs->GetBlobData(kDefaultWaitLimit, found->id, data.Put());
  if (Failed(r)) return r;
  const auto items = Items(data);
  if (items.empty() || !items.front().data || items.front().size == 0) return E_FAIL;
  blob_.assign(items.front().data, items.front().data + items.front().size);
  return S_OK;
}

KivResult CLoadMediaChannelNamesJobItem::Read(TarnConnection& c) {
  if (!c.media) return E_FAIL;
  ComPtr<IKivTarnMediaChannelRecords> records;
  KivResult r = c.media->GetMediaChannels(kDefaultWaitLimit, records.Put());
  if (Failed(r)) return r;
  channels_ = MediaChannelMap(Items(records));
  return S_OK;
}

KivResult CLoadMediaChannelAccessDataJobItem::Read(TarnConnection& c) {
  if (!c.media) return E_FAIL;
  ComPtr<IKivTarnMediaClipRecords> records;
  KivResult r = c.media->GetMediaClips(kDefaultWaitLimit, channelId_, kTimeMin, kTimeMax, records.Put());
  if (Failed(r)) return r;
  return TakeMediaClips(Items(records), &clips_) ? S_OK : E_FAIL;
}

}  // namespace velmar
