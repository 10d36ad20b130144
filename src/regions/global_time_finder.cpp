#include "regions/global_time_finder.h"

#include <cmath>

#include "outing/channels/distance_channel.h"
#include "velmar/data_selection.h"
#include "velmar/tasks.h"

namespace velmar {
namespace {

constexpr char16_t kRegionName[] = u"Global Time";
constexpr KivTime kSecond = 10'000'000;

}  // namespace

CGlobalTimeFinder::CGlobalTimeFinder()
    : rootSink_(MakeKiv<CVelmarNotificationsSink<>>()),
      clockSink_(MakeKiv<CDataNotificationsSink<>>()),
      markerSink_(MakeKiv<CLapMarkersNotifications2Sink<>>()) {
  rootSink_->SetReceiver(static_cast<CVelmarNotificationsReceiver*>(this));
  clockSink_->SetReceiver(static_cast<CDataNotificationsReceiver*>(this));
  markerSink_->SetReceiver(static_cast<CLapMarkersNotifications2Receiver*>(this));
}

CGlobalTimeFinder::~CGlobalTimeFinder() {
  // The other members move to a new reference first.
  RemoveAnchor();
  ReleaseGroup();
  Detach();
  rootSink_->SetReceiver(nullptr);
  clockSink_->SetReceiver(nullptr);
  markerSink_->SetReceiver(nullptr);
}

KivResult CGlobalTimeFinder::GetDefaultRegionName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = u"Whole Outing";
  return S_OK;
}

KivResult CGlobalTimeFinder::FindDefaultRegion(int32_t* index) {
  if (regions().empty()) return KIV_E_NO_REGION;
  *index = 0;
  return S_OK;
}

// The clock.

void CGlobalTimeFinder::AcquireClock() {
  ReleaseClock();
  ComPtr<IKivChannel> channel;
  if (!channelFactory_ || Failed(FindCommonChannel(channelFactory_.Get(), CommonChannelRole::kGlobalTime, &channel)))
    return;
  clock_ = channel;
  clockCache_ = clock_.As<IKivDataCache>();
  if (clockCache_ && Failed(clockCache_->Lock())) clockCache_ = nullptr;
  (void)clockSink_->Connect(clock_.Get());
}

void CGlobalTimeFinder::ReleaseClock() {
  if (clockCache_) (void)clockCache_->Unlock();
  clockCache_ = nullptr;
  if (clock_) clockSink_->Disconnect(clock_.Get());
  clock_ = nullptr;
}

bool CGlobalTimeFinder::FindAnchor(IKivChannelIterator2* iterator) {
  KivTime start = 0;
  if (!lapMarkers_ || Failed(lapMarkers_->GetOutingStart(&start))) return false;
  KivTime t = kTimeMin;
  for (;;) {
    double v = 0;
    // Forward to the next reading above 0.
    do {
      if (iterator->GetSampleAtTime(t, kFindNextAfter, kRangeWholeChannel, &t, &v) != S_OK) return false;
    } while (!(v > 0));
    // Exactly three samples one second apart must count up.
    KivTime t1 = 0, t2 = 0;
    double v1 = 0, v2 = 0;
    if (iterator->GetSampleAtTime(t + kSecond, kFindNearest, kRangeWholeChannel, &t1, &v1) != S_OK) return false;
    if (v1 != v + 1) continue;
    if (iterator->GetSampleAtTime(t + 2 * kSecond, kFindNearest, kRangeWholeChannel, &t2, &v2) != S_OK) return false;
    if (v2 != v + 2) continue;
    anchor_ = {t - start, v};
    anchorCheckEnd_ = t2;
    return true;
  }
}

KivResult CGlobalTimeFinder::UpdateAnchor() {
  if (!clock_) return S_OK;
  ComPtr<IKivChannelIterator2> iterator;
  if (KivResult r = clock_->GetIterator(iterator.Put()); r != S_OK) return Failed(r) ? r : E_FAIL;
  needsAnchor_ = false;
  if (!FindAnchor(iterator.Get())) return E_FAIL;
  if (groupKey_) GlobalTimeGroupOf(groupKey_).Enter(this, anchor_);
  return S_OK;
}

void CGlobalTimeFinder::RemoveAnchor() {
  if (GlobalTimeGroup* group = groupKey_ ? FindGlobalTimeGroup(groupKey_) : nullptr) group->Remove(this);
}

void CGlobalTimeFinder::ReleaseGroup() {
  GlobalTimeGroup* group = groupKey_ ? FindGlobalTimeGroup(groupKey_) : nullptr;
  if (!group || !group->dirty) return;
  group->dirty = false;
  // The others start again on the new reference. Their finders are found
  // through the group's entries, which only this library's finders make.
  std::vector<CGlobalTimeFinder*> others;
  for (const auto& [member, anchor] : group->entries) {
    if (member != this) others.push_back(static_cast<CGlobalTimeFinder*>(const_cast<void*>(member)));
  }
  for (CGlobalTimeFinder* other : others) other->Restart();
}

void CGlobalTimeFinder::Restart() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  ClearRegions();
  if (needsAnchor_) (void)UpdateAnchor();
  FireRegionsChanged();
  FireNotification(&IKivTimeRegionFinderNotifications2::OnGlobalTimeChanged);
}

void CGlobalTimeFinder::ClearAndTell(bool searchAgain) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  ClearRegions();
  if (searchAgain) needsAnchor_ = true;
  FireRegionsChanged();
  FireNotification(&IKivTimeRegionFinderNotifications2::OnGlobalTimeChanged);
}

// The regions.

KivResult CGlobalTimeFinder::Populate() {
  if (!regions().empty()) return S_OK;
  if (!groupKey_) return E_FAIL;
  KivResult result = S_OK;
  bool shifted = false;
  if (needsAnchor_) {
    RemoveAnchor();
    result = UpdateAnchor();
  }
  if (Succeeded(result) && clock_ && anchor_.offset != kTimeMax) {
    KivTime start = 0, end = 0;
    if (Failed(lapMarkers_->GetOutingStart(&start)) || Failed(lapMarkers_->GetOutingEnd(&end))) {
      ReleaseGroup();
      return E_FAIL;
    }
    const KivTime shift = GlobalTimeShift(anchor_, GlobalTimeGroupOf(groupKey_).best);
    mutable_regions().Add(start + shift, end, kRegionName);
    shifted = true;
    result = S_OK;
  }
  if (!shifted) {
    // No clock to go by: the outing's own span.
    KivTime start = 0, end = 0;
    if (!lapMarkers_ || Failed(lapMarkers_->GetOutingStart(&start)) || Failed(lapMarkers_->GetOutingEnd(&end))) {
      result = E_FAIL;
    } else {
      mutable_regions().Add(start, end, kRegionName);
      result = S_OK;
    }
  }
  ReleaseGroup();
  return result;
}

void CGlobalTimeFinder::FireRegionsChanged() {
  IKivTimeRegionFinderImpl<CGlobalTimeFinder>::FireRegionsChanged();
  // A selection in a global-time task follows its region without its client.
  auto selection = QueryAs<IKivDataSelection>(selection_.Get());
  ComPtr<IKivTimeRegionNavigator> navigator;
  if (!selection || Failed(selection->GetNavigator(navigator.Put()))) return;
  if (auto navigator2 = QueryAs<IKivTimeRegionNavigator2>(navigator.Get())) (void)navigator2->SelectWholeSpan(selection.Get());
}

// The outing.

void CGlobalTimeFinder::Detach() {
  ReleaseClock();
  if (outing_) markerSink_->Disconnect(outing_.Get());
  if (root_) rootSink_->Disconnect(root_.Get());
  outing_ = nullptr;
  lapMarkers_ = nullptr;
  root_ = nullptr;
  channelFactory_ = nullptr;
  selection_ = nullptr;
}

KivResult CGlobalTimeFinder::AttachOuting(IKivOuting* outing) {
  RemoveAnchor();
  ReleaseGroup();
  Detach();
  groupKey_ = nullptr;
  needsAnchor_ = true;
  anchor_ = {kTimeMax, 0.0};
  if (!outing) return S_OK;
  outing_ = ComPtr<IKivOuting>(outing);
  lapMarkers_ = QueryAs<IKivLapMarkers>(outing);
  if (!lapMarkers_) return E_FAIL;
  (void)markerSink_->Connect(outing);
  // The selection that holds the outing owns its channel factory; from it
  // come the task, the root and the selection's own channels.
  auto outingChannels = QueryAs<IKivChannelFactory>(outing);
  ComPtr<IKivUnknown> owner;
  if (!outingChannels || Failed(outingChannels->GetParent(owner.Put()))) return E_FAIL;
  auto selection = QueryAs<IKivDataSelection>(owner.Get());
  ComPtr<IKivTask> task;
  if (!selection || Failed(selection->GetTask(task.Put())) || !task) return E_FAIL;
  selection_ = owner;
  groupKey_ = task.Get();
  channelFactory_ = QueryAs<IKivDataFactory>(owner.Get());
  if (Succeeded(task->GetRoot(root_.Put())) && root_) (void)rootSink_->Connect(root_.Get());
  AcquireClock();
  Restart();
  return S_OK;
}

// Events.

void CGlobalTimeFinder::CommonChannelsChanged(IKivVelmar*) {
  AcquireClock();
  ClearAndTell(true);
}

void CGlobalTimeFinder::OnDataChanged(IKivData*, KivTime from, KivTime) {
  // New data past the anchor's check costs nothing.
  if (from > anchorCheckEnd_) return;
  ClearAndTell(true);
}

void CGlobalTimeFinder::OnDataRemoved(IKivData*) {
  ReleaseClock();
  ClearAndTell(true);
}

}  // namespace velmar
