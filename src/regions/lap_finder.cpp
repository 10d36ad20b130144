#include "regions/lap_finder.h"

#include <optional>
#include <utility>

#include "velmar/property_set.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

// A numeric property of the outing's information; nothing when it can't be read.
std::optional<double> NumberProperty(IKivPropertySet* information, const std::u16string& name) {
  Variant value;
  if (!information || information->GetProperty(name, &value) != S_OK) return std::nullopt;
  return value.ToDouble();
}

}  // namespace

CLapFinder::CLapFinder() : CLapFinder(CBrandedOutingInformation()) {}

CLapFinder::CLapFinder(CBrandedOutingInformation labels)
    : labels_(std::move(labels)),
      outingSink_(MakeKiv<COutingNotifications2Sink<>>()),
      markerSink_(MakeKiv<CLapMarkersNotifications2Sink<>>()),
      mapSink_(MakeKiv<CCircuitMapDataNotifications2Sink<>>()),
      rootSink_(MakeKiv<CVelmarNotificationsSink<>>()) {
  outingSink_->SetReceiver(static_cast<COutingNotifications2Receiver*>(this));
  markerSink_->SetReceiver(static_cast<CLapMarkersNotifications2Receiver*>(this));
  mapSink_->SetReceiver(static_cast<CCircuitMapDataNotifications2Receiver*>(this));
  rootSink_->SetReceiver(static_cast<CVelmarNotificationsReceiver*>(this));
}

CLapFinder::~CLapFinder() {
  Detach();
  outingSink_->SetReceiver(nullptr);
  markerSink_->SetReceiver(nullptr);
  mapSink_->SetReceiver(nullptr);
  rootSink_->SetReceiver(nullptr);
}

KivResult CLapFinder::GetDefaultRegionName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = u"Fastest " + labels_.GetLabel(kLabelLap, LabelForm::kAsStored);
  return S_OK;
}

LapWords CLapFinder::Words() const {
  return LapWords{labels_.GetLabel(kLabelLap, LabelForm::kAsStored),
                  labels_.GetLabel(kLabelCarHalt, LabelForm::kAsStored)};
}

void CLapFinder::SetCircuitMapData(IKivCircuitMapData* map) {
  if (map != circuitMap_.Get()) {
    if (circuitMap_) mapSink_->Disconnect(circuitMap_.Get());
    circuitMap_ = ComPtr<IKivCircuitMapData>(map);
    if (circuitMap_) (void)mapSink_->Connect(circuitMap_.Get());
  }
  ReadPredictedLapTime();
}

void CLapFinder::ReadPredictedLapTime() {
  KivTime lapTime = 0;
  predictedLapTime_ = circuitMap_ && Succeeded(circuitMap_->GetLapTime(&lapTime)) ? lapTime : 0;
}

void CLapFinder::ReachRoot(IKivOuting* outing) {
  auto channels = QueryAs<IKivDataFactory>(outing);
  ComPtr<IKivUnknown> root;
  if (!channels || Failed(channels->GetRoot(root.Put())) || !root) return;
  root_ = root.As<IKivVelmar>();
  if (root_) (void)rootSink_->Connect(root_.Get());
}

void CLapFinder::AdoptRootMapOnce() {
  if (circuitMapTried_ || !root_) return;
  circuitMapTried_ = true;
  ComPtr<IKivCircuitMapData> map;
  if (Succeeded(root_->GetCircuitMapData(map.Put()))) SetCircuitMapData(map.Get());
}

std::u16string CLapFinder::UnmarkedLapName() {
  ComPtr<IKivPropertySet> information;
  if (!outing_ || outing_->GetOutingInformation(information.Put()) != S_OK || !information) {
    return MakeLapName(Words(), 1, false);
  }
  Variant engineTest;
  if (information->GetProperty(u"Engine test", &engineTest) == S_OK && engineTest.AsBool().value_or(false)) {
    return labels_.GetLabel(kLabelStaticTest, LabelForm::kAsStored);
  }
  const std::optional<double> first = NumberProperty(information.Get(), u"First lap number");
  return MakeLapName(Words(), first ? static_cast<int64_t>(*first) : 1, false);
}

KivResult CLapFinder::Populate() {
  LapRegionsInput input;
  input.markers = lapMarkers_.Get();
  input.realTime = realTime_;
  input.predictedLapTime = predictedLapTime_;
  input.words = Words();
  input.unmarkedLapName = [this] { return UnmarkedLapName(); };
  return BuildLapRegions(input, &mutable_regions(), &firstMarkerAtStart_);
}

KivResult CLapFinder::FindDefaultRegion(int32_t* index) {
  *index = 0;
  if (!outing_) return E_FAIL;
  ComPtr<IKivPropertySet> information;
  if (outing_->GetOutingInformation(information.Put()) != S_OK || !information) return E_FAIL;
  int64_t fast = 0;
  int64_t first = 0;
  if (const std::optional<double> firstLap = NumberProperty(information.Get(), u"First lap number")) {
    const std::optional<double> fastTime = NumberProperty(information.Get(), u"Fast lap time");
    if (!fastTime || *fastTime == 0) return KIV_E_NO_REGION;
    const std::optional<double> fastLap = NumberProperty(information.Get(), u"Fast lap number");
    if (!fastLap) return KIV_E_NO_REGION;
    fast = static_cast<int64_t>(*fastLap);
    first = static_cast<int64_t>(*firstLap);
  }
  if (regions().empty()) return S_OK;
  int64_t found = fast - first;
  if (regions().at(0).auxiliary) ++found;  // a warm-up stands before lap 1
  if (firstMarkerAtStart_) --found;        // marker 1 made no region
  *index = static_cast<int32_t>(found);
  return S_OK;
}

KivResult CLapFinder::FindLastCompleteRegion(int32_t* index) {
  *index = 0;
  if (!lapMarkers_) return S_OK;
  uint32_t count = 0;
  KivTime lastMarker = 0;
  if (Failed(lapMarkers_->GetLapMarkerCount(&count)) || Failed(lapMarkers_->GetLapMarkerTime(count, &lastMarker)) ||
      regions().empty()) {
    return E_FAIL;
  }
  // The partial lap after the last marker is never complete.
  for (size_t i = regions().size(); i-- > 0;) {
    if (regions().at(i).end == lastMarker) {
      *index = static_cast<int32_t>(i);
      return S_OK;
    }
  }
  return E_FAIL;
}

void CLapFinder::Detach() {
  if (outing_) {
    outingSink_->Disconnect(outing_.Get());
    markerSink_->Disconnect(outing_.Get());
  }
  if (circuitMap_) mapSink_->Disconnect(circuitMap_.Get());
  if (root_) rootSink_->Disconnect(root_.Get());
  outing_ = nullptr;
  lapMarkers_ = nullptr;
  circuitMap_ = nullptr;
  root_ = nullptr;
  circuitMapTried_ = false;
}

KivResult CLapFinder::AttachOuting(IKivOuting* outing) {
  Detach();
  realTime_ = false;
  lastExtensionEnd_ = kTimeMin;
  lastExtensionLength_ = 0;
  if (!outing) return S_OK;
  outing_ = ComPtr<IKivOuting>(outing);
  realTime_ = static_cast<bool>(QueryAs<IKivRealtimeOuting>(outing));
  (void)outingSink_->Connect(outing);
  ReachRoot(outing);
  lapMarkers_ = QueryAs<IKivLapMarkers>(outing);
  if (!lapMarkers_) return E_NOINTERFACE;
  (void)markerSink_->Connect(outing);
  return S_OK;
}

void CLapFinder::OnLiveRange(KivTime from, KivTime to) {
  if (!realTime_) return;
  if (from <= lastExtensionEnd_ && to - from > lastExtensionLength_) {
    // The data grew on the same run: the current lap walks ahead of it.
    if (regions().empty()) {
      Invalidate();
    } else if (to > regions().back().end) {
      mutable_regions().SetLastEnd(regions().back().end + kTimeTenSeconds);
      MarkPopulated();
      FireRegionsChanged();
    }
  } else {
    Invalidate();  // the window jumped or shrank
  }
  lastExtensionLength_ = to - from;
  lastExtensionEnd_ = to;
}

}  // namespace velmar
