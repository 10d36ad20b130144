#include "regions/outing_finder.h"

namespace velmar {
namespace {

constexpr char16_t kWholeOuting[] = u"Whole Outing";
constexpr char16_t kWarmUp[] = u"Warm-up Events";
constexpr char16_t kCoolDown[] = u"Cool-down Events";

}  // namespace

COutingFinder::COutingFinder() : markerSink_(MakeKiv<CLapMarkersNotificationsSink<>>()) {
  markerSink_->SetReceiver(static_cast<CLapMarkersNotificationsReceiver*>(this));
}

COutingFinder::~COutingFinder() {
  Detach();
  markerSink_->SetReceiver(nullptr);
}

KivResult COutingFinder::GetDefaultRegionName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = kWholeOuting;
  return S_OK;
}

KivResult COutingFinder::Populate() {
  if (!lapMarkers_) return E_FAIL;
  KivTime start = 0, end = 0, firstMove = 0, lastMove = 0;
  // "Not known" movements (S_FALSE) stand as the markers give them.
  if (Failed(lapMarkers_->GetOutingStart(&start)) || Failed(lapMarkers_->GetOutingEnd(&end)) ||
      Failed(lapMarkers_->GetFirstMovement(&firstMove)) || Failed(lapMarkers_->GetLastMovement(&lastMove)))
    return E_FAIL;
  CTimeRegionSet& set = mutable_regions();
  KivTime runStart = start;
  if (firstMove > start) {
    set.Add(start, firstMove, kWarmUp, true);
    runStart = firstMove + 1;
  }
  if (lastMove >= end) {
    set.Add(runStart, end, kWholeOuting);
  } else {
    set.Add(runStart, lastMove, kWholeOuting);
    set.Add(lastMove + 1, end, kCoolDown, true);
  }
  return S_OK;
}

KivResult COutingFinder::FindDefaultRegion(int32_t* index) {
  if (regions().empty()) return E_FAIL;
  *index = regions().at(0).auxiliary ? 1 : 0;
  return S_OK;
}

void COutingFinder::Detach() {
  if (outing_) markerSink_->Disconnect(outing_.Get());
  outing_ = nullptr;
  lapMarkers_ = nullptr;
}

KivResult COutingFinder::AttachOuting(IKivOuting* outing) {
  Detach();
  if (!outing) return S_OK;
  lapMarkers_ = QueryAs<IKivLapMarkers>(outing);
  if (!lapMarkers_) return E_NOINTERFACE;
  outing_ = ComPtr<IKivOuting>(outing);
  (void)markerSink_->Connect(outing);
  return S_OK;
}

}  // namespace velmar
