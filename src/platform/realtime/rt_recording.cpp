#include "platform/realtime/rt_recording.h"

#include <algorithm>
#include <span>

#include "platform/store/record_items.h"

namespace velmar::rt {

namespace {

std::u16string Text(const char16_t* text) { return text ? std::u16string(text) : std::u16string(); }

template <class Interface>
ComPtr<Interface> Face(IKivTarnStore* store) {
  ComPtr<Interface> face;
  if (Failed(store->QueryInterface(Interface::iid, reinterpret_cast<void**>(face.Put())))) return nullptr;
  return face;
}

WireDetails Details(const TarnOutingRecord& r) {
  return WireDetails{r.fastLapTime,          r.createDate,      Text(r.trackName),   Text(r.driverName),
                     Text(r.shortComment),   Text(r.longComment), Text(r.timeZone),  Text(r.systemDetails),
                     Text(r.carName),        r.sessionNumber,   r.outingNumber,      r.firstLapNumber,
                     r.fastLapNumber,        r.lastLapNumber,   r.datasetType,       r.utcDifference,
                     r.engineTest};
}

WireChannel Channel(const TarnChannelDescription& r) {
  return WireChannel{r.id,           r.displayMaximum,  r.displayMinimum, r.rangeHigh,   r.rangeLow,
                     Text(r.displayName), Text(r.tagName), Text(r.userType), r.decimalPlaces, r.quantityId,
                     r.unitId,       r.colour,          r.revision,       r.flags,       r.sampleType,
                     r.autoscale};
}

WireBlock Block(const TarnChannelData& r, uint32_t sampleType) {
  WireBlock block;
  block.channelId = r.channelId;
  block.sampleType = sampleType;
  block.periodic = r.periodic;
  block.continuous = r.continuous;
  block.firstTime = r.firstTime;
  const auto count = static_cast<size_t>(std::max(r.count, 0));
  block.times.assign(r.times, r.times + (r.periodic ? 1 : count));
  const auto* samples = static_cast<const uint8_t*>(r.samples);
  block.samples.assign(samples, samples + count * TarnSampleSize(sampleType));
  return block;
}

WireEvent Event(const TarnEventRecord& r) {
  WireEvent event{r.id, r.time, Text(r.name), Text(r.source), Text(r.message), {}, {}, r.nameId, r.kind};
  if (r.payload) event.payload.assign(r.payload, r.payload + r.payloadSize);
  if (r.fixedData) event.fixedData.assign(r.fixedData, r.fixedData + kTarnEventFixedDataSize);
  return event;
}

KivResult ReadChannels(IKivTarnStore* store, Recording* out) {
  auto channels = Face<IKivTarnChannels>(store);
  ComPtr<IKivTarnChannelRecords> list;
  if (!channels) return E_NOINTERFACE;
  KivResult r = channels->GetChannelList(kDefaultWaitLimit, list.Put());
  for (const auto& c : Items(list)) {
    if (Failed(r)) break;
    out->channels.push_back(Channel(c));
    ComPtr<IKivTarnChannelDataRecords> data;
    r = channels->GetChannelData(kDefaultWaitLimit, c.id, kTimeMin, kTimeMax, data.Put());
    for (const auto& d : Items(data)) {
      if (d.count > 0 && d.times && d.samples && TarnSampleSize(c.sampleType) > 0) {
        out->blocks.push_back(Block(d, c.sampleType));
      }
    }
  }
  return r;
}

KivResult ReadEvents(IKivTarnStore* store, Recording* out) {
  auto events = Face<IKivTarnEvents>(store);
  if (!events) return E_NOINTERFACE;
  ComPtr<IKivTarnEventNameRecords> names;
  KivResult r = events->GetEventNames(kDefaultWaitLimit, names.Put());
  std::vector<uint64_t> ids;
  for (const auto& n : Items(names)) {
    out->eventNames.push_back(WireNamed{n.id, Text(n.name)});
    ids.push_back(n.id);
  }
  if (Failed(r) || ids.empty()) return r;
  ComPtr<IKivTarnEventRecords> data;
  r = events->GetEventData(kDefaultWaitLimit, static_cast<uint32_t>(ids.size()), ids.data(), kTimeMin, kTimeMax,
                           data.Put());
  for (const auto& e : Items(data)) out->events.push_back(Event(e));
  return r;
}

void ReadSmallLists(IKivTarnStore* store, Recording* out) {
  if (auto laps = Face<IKivTarnLapMarkers>(store)) {
    ComPtr<IKivTarnLapMarkerRecords> list;
    if (Succeeded(laps->GetLapMarkers(kDefaultWaitLimit, list.Put()))) {
      for (const auto& m : Items(list)) {
        out->laps.push_back(WireLapMarker{m.id, m.baseTime, m.timeOffset, m.distanceOrigin, m.lapNumber, m.crossing});
      }
    }
  }
  if (auto constants = Face<IKivTarnConstants>(store)) {
    ComPtr<IKivTarnConstantRecords> list;
    if (Succeeded(constants->GetConstants(kDefaultWaitLimit, list.Put()))) {
      for (const auto& c : Items(list)) {
        out->constants.push_back(
            WireConstant{c.id, c.value, Text(c.name), static_cast<uint8_t>(c.text != nullptr), Text(c.text), Text(c.unit)});
      }
    }
  }
  if (auto blobs = Face<IKivTarnBlobs>(store)) {
    ComPtr<IKivTarnBlobRecords> list;
    if (Succeeded(blobs->GetBlobList(kDefaultWaitLimit, list.Put()))) {
      for (const auto& b : Items(list)) {
        ComPtr<IKivTarnBlobDataRecords> data;
        if (Failed(blobs->GetBlobData(kDefaultWaitLimit, b.id, data.Put()))) continue;
        for (const auto& d : Items(data)) {
          WireBlob blob{d.id, d.type ? *d.type : Guid{}, Text(d.name), {}};
          if (d.data) blob.data.assign(d.data, d.data + d.size);
          out->blobs.push_back(std::move(blob));
        }
      }
    }
  }
}

// The span of everything the recording holds.
void FindSpan(Recording* out) {
  KivTime start = kTimeMax, end = kTimeMin;
  for (const auto& b : out->blocks) {
    start = std::min(start, b.firstTime);
    end = std::max(end, b.LastTime());
  }
  for (const auto& e : out->events) {
    start = std::min(start, e.time);
    end = std::max(end, e.time);
  }
  for (const auto& m : out->laps) end = std::max(end, m.baseTime + m.timeOffset);
  out->start = start > end ? 0 : start;
  out->end = start > end ? 0 : end;
}

}  // namespace

KivResult ReadRecording(const std::u16string& trnPath, Recording* recording) {
  ComPtr<IKivTarnStoreFactory> factory;
  KivResult r = CreateTarnStoreFactory(&factory);
  ComPtr<IKivTarnStore> store;
  if (Succeeded(r)) r = factory->OpenFile(trnPath, IKivTarnStore::iid, reinterpret_cast<void**>(store.Put()));
  if (Failed(r)) return r;
  Recording out;
  if (auto details = Face<IKivTarnOutingDetails>(store.Get())) {
    ComPtr<IKivTarnOutingRecords> list;
    r = details->GetDetails(kDefaultWaitLimit, list.Put());
    for (const auto& d : Items(list)) out.details = Details(d);
  }
  if (Succeeded(r)) r = ReadChannels(store.Get(), &out);
  if (Succeeded(r)) r = ReadEvents(store.Get(), &out);
  if (Failed(r)) return r;
  ReadSmallLists(store.Get(), &out);
  out.hasMovement = store->GetMovementRange(kDefaultWaitLimit, &out.firstMovement, &out.lastMovement) == S_OK;
  FindSpan(&out);
  *recording = std::move(out);
  return S_OK;
}

}  // namespace velmar::rt
