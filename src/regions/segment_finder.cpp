#include "regions/segment_finder.h"

#include <memory>
#include <utility>

#include "outing/channels/distance_channel.h"
#include "regions/segment_helper.h"
#include "velmar/text.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

constexpr char16_t kWholeOuting[] = u"Whole Outing";
constexpr char16_t kWarmUp[] = u"Warm-up Events";
constexpr char16_t kCoolDown[] = u"Cool-down Events";
constexpr KivResult kNoMovement = static_cast<KivResult>(0x8004F021);

// "Turn 1 : Lap 3", or "Turn 1 : Lap 3 (Car Halt)".
struct SegmentNames {
  std::u16string lap;
  std::u16string carHalt;
  std::u16string Make(const std::u16string& segment, int64_t lapNumber, bool halted) const {
    std::u16string name = segment + u" : " + lap + u" " + Utf8ToWide(std::to_string(lapNumber));
    if (halted) name += u" (" + carHalt + u")";
    return name;
  }
};

// The run's bounds: S, E, M and Z.
struct RunSpan {
  KivTime start = 0;
  KivTime end = 0;
  KivTime moved = 0;
  KivTime stopped = 0;
};

KivResult ReadMovement(IKivLapMarkers* markers, RunSpan* span) {
  if (Failed(markers->GetFirstMovement(&span->moved))) return kNoMovement;
  const KivResult r = markers->GetLastMovement(&span->stopped);
  if (Failed(r)) return kNoMovement;
  if (r == S_FALSE) span->moved = span->stopped = 0;  // movement not known
  return S_OK;
}

// Adds the crossings as regions; the last one's end becomes `lastEnd`.
bool AddCrossings(const std::vector<SegmentCrossing>& crossings, const SegmentNames& names, int64_t lap,
                  bool halted, CTimeRegionSet* regions, KivTime* lastEnd) {
  for (const SegmentCrossing& c : crossings) {
    regions->Add(c.start, c.end, names.Make(c.name, lap, halted));
    *lastEnd = c.end;
  }
  return !crossings.empty();
}

}  // namespace

CSegmentFinder::CSegmentFinder() : CSegmentFinder(CBrandedOutingInformation()) {}

CSegmentFinder::CSegmentFinder(CBrandedOutingInformation labels)
    : labels_(std::move(labels)),
      markerSink_(MakeKiv<CLapMarkersNotificationsSink<>>()),
      dataSink_(MakeKiv<CDataNotificationsSink<>>()),
      rootSink_(MakeKiv<CVelmarNotificationsSink<>>()),
      mapSink_(MakeKiv<CCircuitMapDataNotifications3Sink<>>()) {
  markerSink_->SetReceiver(static_cast<CLapMarkersNotificationsReceiver*>(this));
  dataSink_->SetReceiver(static_cast<CDataNotificationsReceiver*>(this));
  rootSink_->SetReceiver(static_cast<CVelmarNotificationsReceiver*>(this));
  mapSink_->SetReceiver(static_cast<CCircuitMapDataNotifications3Receiver*>(this));
}

CSegmentFinder::~CSegmentFinder() {
  Detach();
  SetCircuitMapData(nullptr);
  markerSink_->SetReceiver(nullptr);
  dataSink_->SetReceiver(nullptr);
  rootSink_->SetReceiver(nullptr);
  mapSink_->SetReceiver(nullptr);
}

KivResult CSegmentFinder::GetDefaultRegionName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = u"First Segment";
  return S_OK;
}

KivResult CSegmentFinder::FindDefaultRegion(int32_t* index) {
  *index = 0;
  return S_OK;
}

void CSegmentFinder::SetCircuitMapData(IKivCircuitMapData* map) {
  if (map == circuitMapData_.Get()) return;
  if (circuitMapData_) mapSink_->Disconnect(circuitMapData_.Get());
  circuitMapData_ = ComPtr<IKivCircuitMapData>(map);
  if (circuitMapData_) (void)mapSink_->Connect(circuitMapData_.Get());
}

void CSegmentFinder::SetPositionChannel(IKivChannel* channel) {
  ReleasePositionChannel();
  positionChannel_ = ComPtr<IKivChannel>(channel);
  if (!positionChannel_) return;
  positionCache_ = positionChannel_.As<IKivDataCache>();
  if (positionCache_ && Failed(positionCache_->Lock())) positionCache_ = nullptr;
  (void)dataSink_->Connect(positionChannel_.Get());
}

void CSegmentFinder::ReleasePositionChannel() {
  if (positionCache_) (void)positionCache_->Unlock();
  positionCache_ = nullptr;
  if (positionChannel_) dataSink_->Disconnect(positionChannel_.Get());
  positionChannel_ = nullptr;
}

void CSegmentFinder::AcquirePositionChannel() {
  ReleasePositionChannel();
  if (!channelFactory_) return;
  ComPtr<IKivChannel> channel;
  if (Succeeded(FindCommonChannel(channelFactory_.Get(), CommonChannelRole::kMapPositionD, &channel))) {
    SetPositionChannel(channel.Get());
  }
}

void CSegmentFinder::TakeRootMap() {
  ComPtr<IKivCircuitMapData> map;
  if (velmar_ && Succeeded(velmar_->GetCircuitMapData(map.Put())) && map) SetCircuitMapData(map.Get());
}

void CSegmentFinder::CircuitMapDataChanged(IKivVelmar*, IKivCircuitMapData* map) {
  SetCircuitMapData(map);
  Invalidate();
}

void CSegmentFinder::CommonChannelsChanged(IKivVelmar*) {
  AcquirePositionChannel();
  Invalidate();
}

void CSegmentFinder::Detach() {
  ReleasePositionChannel();
  if (outing_) markerSink_->Disconnect(outing_.Get());
  if (velmar_) rootSink_->Disconnect(velmar_.Get());
  outing_ = nullptr;
  lapMarkers_ = nullptr;
  root_ = nullptr;
  velmar_ = nullptr;
  channelFactory_ = nullptr;
}

KivResult CSegmentFinder::AttachOuting(IKivOuting* outing) {
  Detach();
  if (!outing) return S_OK;
  lapMarkers_ = QueryAs<IKivLapMarkers>(outing);
  if (!lapMarkers_) return E_FAIL;
  outing_ = ComPtr<IKivOuting>(outing);
  (void)markerSink_->Connect(outing);
  // The selection that holds the outing reads through its proxies; an
  // outing in no selection has its own factory, which hands out no channel.
  channelFactory_ = QueryAs<IKivDataFactory>(outing);
  ComPtr<IKivUnknown> owner;
  if (auto outingChannels = QueryAs<IKivChannelFactory>(outing);
      outingChannels && Succeeded(outingChannels->GetParent(owner.Put()))) {
    if (auto selectionChannels = QueryAs<IKivDataFactory>(owner.Get())) channelFactory_ = selectionChannels;
  }
  if (channelFactory_ && Succeeded(channelFactory_->GetRoot(root_.Put())) && root_) {
    velmar_ = root_.As<IKivVelmar>();
    if (velmar_) (void)rootSink_->Connect(velmar_.Get());
  }
  AcquirePositionChannel();
  TakeRootMap();
  return S_OK;
}

KivResult CSegmentFinder::Populate() {
  const SegmentNames names{labels_.GetLabel(kLabelLap, LabelForm::kAsStored),
                           labels_.GetLabel(kLabelCarHalt, LabelForm::kAsStored)};
  if (!root_ || !lapMarkers_) return E_FAIL;
  CTimeRegionSet& regions = mutable_regions();
  RunSpan span;
  if (Failed(lapMarkers_->GetOutingStart(&span.start)) || Failed(lapMarkers_->GetOutingEnd(&span.end))) return E_FAIL;
  uint32_t count = 0;
  if (Failed(lapMarkers_->GetLapMarkerCount(&count)) || count == 0) {
    regions.Add(span.start, span.end, kWholeOuting, true);
    return S_OK;
  }
  KivTime firstMarker = 0;
  KivTime lastMarker = 0;
  if (Failed(lapMarkers_->GetLapMarkerTime(1, &firstMarker)) || Failed(lapMarkers_->GetLapMarkerTime(count, &lastMarker))) {
    return S_OK;
  }
  if (const KivResult r = ReadMovement(lapMarkers_.Get(), &span); Failed(r)) return r;

  KivTime lastEnd = kTimeMax;
  KivTime cursor = span.start;
  if (span.moved < firstMarker && span.moved - 1 > span.start) {
    regions.Add(span.start, span.moved - 1, kWarmUp, true);
    cursor = span.moved;
    lastEnd = span.moved - 1;
  }
  if (!circuitMapData_) TakeRootMap();
  if (!positionChannel_) AcquirePositionChannel();
  auto map = QueryAs<IKivCircuitMapData2>(circuitMapData_.Get());
  KivResult result = S_OK;
  bool found = false;
  if (map && positionChannel_) {
    ComPtr<IKivChannelIterator2> iterator;
    if (Failed(positionChannel_->GetIterator(iterator.Put())) || !iterator) return kNoMovement;
    auto helper = std::make_unique<CSegmentHelper>(map.Get(), iterator.Get());
    uint32_t lap = 0;
    for (uint32_t i = 1; i <= count; ++i) {
      KivBool halted = KIV_FALSE;
      KivTime time = 0;
      if (Failed(lapMarkers_->IsCarHalt(i, &halted)) || Failed(lapMarkers_->GetLapMarkerTime(i, &time)) ||
          Failed(lapMarkers_->GetLapMarkerNumber(i, &lap))) {
        if (found) result = E_FAIL;
        break;
      }
      found |= AddCrossings(helper->FindCrossings(cursor, time), names, lap, halted != KIV_FALSE, &regions, &lastEnd);
      cursor = time + 1;
    }
    if (cursor < span.stopped) {
      found |= AddCrossings(helper->FindCrossings(cursor, span.stopped), names, int64_t{lap} + 1, false, &regions,
                            &lastEnd);
    }
  }
  if (!found) {
    regions.Add(span.moved, span.stopped, kWholeOuting);
    lastEnd = span.stopped + 1;
    result = S_OK;
  }
  if (lastEnd != kTimeMax && lastEnd + 1 < span.end) regions.Add(lastEnd + 1, span.end, kCoolDown, true);
  return result;
}

}  // namespace velmar
