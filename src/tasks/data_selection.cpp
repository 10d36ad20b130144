#include "tasks/data_selection.h"

#include <cstdio>

#include "core/fatal_stop.h"
#include "outing/factory/outing_factory.h"
#include "regions/time_region_navigator.h"
#include "velmar/data_factory.h"
#include "velmar/property_set.h"
#include "velmar/text.h"

namespace velmar {
namespace {

std::u16string TextProperty(IKivOuting* outing, const char16_t* name) {
  ComPtr<IKivPropertySet> information;
  Variant value;
  if (!outing || outing->GetOutingInformation(information.Put()) != S_OK || !information ||
      Failed(information->GetProperty(name, &value)) || !value.AsText())
    return {};
  return *value.AsText();
}

KivResult CopyText(const std::u16string& text, std::u16string* out) {
  if (!out) return E_POINTER;
  *out = text;
  return S_OK;
}

// Regions whose start and end match the span exactly, by bisection.
bool ExactRegions(IKivTimeRegions* regions, KivTime start, KivTime end, int32_t* first, int32_t* last) {
  int32_t count = 0;
  if (!regions || Failed(regions->GetCount(&count)) || count < 1) return false;
  auto find = [&](int32_t lo, KivTime want, bool byEnd) {
    int32_t hi = count;
    while (lo <= hi) {
      const int32_t mid = (lo + hi) / 2;
      KivTime t = 0;
      if (Failed(byEnd ? regions->GetEnd(mid, &t) : regions->GetStart(mid, &t))) return -1;
      if (t == want) return mid;
      if (t < want) lo = mid + 1; else hi = mid - 1;
    }
    return -1;
  };
  *first = find(1, start, false);
  if (*first < 0) return false;
  *last = find(*first, end, true);
  return *last >= 0;
}

}  // namespace

CDataSelection::CDataSelection()
    : binding_(MakeKiv<CSelectionBinding>([this](KivTime* start, KivTime* end) {
        *start = start_;
        *end = end_;
        return S_OK;
      })),
      outingSink_(MakeKiv<COutingNotificationsSink<>>()),
      navigatorSink_(MakeKiv<CTimeRegionNavigatorNotificationsSink<>>()),
      finderSink_(MakeKiv<CTimeRegionFinderNotificationsSink<>>()) {
  CSelectionChannelFactory::SetFactoryOwner(this);
  CSelectionEventsFactory::SetFactoryOwner(this);
  CSelectionMediaFactory::SetFactoryOwner(this);
  outingSink_->SetReceiver(static_cast<COutingNotificationsReceiver*>(this));
  navigatorSink_->SetReceiver(static_cast<CTimeRegionNavigatorNotificationsReceiver*>(this));
  finderSink_->SetReceiver(static_cast<CTimeRegionFinderNotificationsReceiver*>(this));
}

CDataSelection::~CDataSelection() {
  Close();
  outingSink_->SetReceiver(nullptr);
  navigatorSink_->SetReceiver(nullptr);
  finderSink_->SetReceiver(nullptr);
}

void CDataSelection::SetOwner(ISelectionOwner* owner) {
  owner_ = owner;
  if (owner) SetDataFactories(owner->DataFactories());
  IKivVelmar* root = owner ? owner->Root() : nullptr;
  if (!root) return;
  // Once only: a factory keeps the first root it is given.
  ComPtr<IKivUnknown> held;
  if (Succeeded(CSelectionChannelFactory::GetRoot(held.Put()))) return;
  (void)CSelectionChannelFactory::SetRoot(root);
  (void)CSelectionEventsFactory::SetRoot(root);
  (void)CSelectionMediaFactory::SetRoot(root);
}

void CDataSelection::Close() {
  if (closing_) return;
  closing_ = true;
  for (const AddinSource& addin : addins_) ForgetAddin(addin);
  LeaveAddins(0);
  DetachOuting();
  CSelectionChannelFactory::CloseFactory();
  CSelectionEventsFactory::CloseFactory();
  CSelectionMediaFactory::CloseFactory();
  AttachNavigator(nullptr);
  binding_->Cut();
}

KivResult CDataSelection::GetSelectionBinding(IKivSelectionRange** binding) {
  if (!binding) return E_POINTER;
  *binding = nullptr;
  if (closing_) return E_FAIL;
  return GiveOut(static_cast<IKivSelectionRange*>(binding_.Get()), binding);
}

KivResult CDataSelection::QueryExtra(const Guid& iid, void** out) {
  if (iid != IKivDataFactory::iid) return E_NOINTERFACE;
  IKivDataFactory* factory = CSelectionChannelFactory::AsDataFactory();
  factory->AddRef();
  *out = factory;
  return S_OK;
}

// Reads.

KivResult CDataSelection::GetRealTime(KivBool* realTime) {
  if (!realTime) return E_POINTER;
  *realTime = ToKivBool(this->realTime());
  return S_OK;
}

KivResult CDataSelection::GetCaption(std::u16string* caption) {
  if (!caption) return E_POINTER;
  caption_ = BuildCaption();
  *caption = caption_;
  return S_OK;
}

KivResult CDataSelection::GetColour(uint32_t* colour) {
  if (!colour) return E_POINTER;
  *colour = colour_;
  return S_OK;
}

KivResult CDataSelection::GetStartTime(KivTime* start) {
  if (!start) return E_POINTER;
  *start = start_;
  return S_OK;
}

KivResult CDataSelection::GetEndTime(KivTime* end) {
  if (!end) return E_POINTER;
  *end = end_;
  return S_OK;
}

KivResult CDataSelection::GetNavigator(IKivTimeRegionNavigator** navigator) {
  if (!navigator) return E_POINTER;
  *navigator = nullptr;
  if (!navigator_) return E_UNEXPECTED;
  return GiveOut(navigator_.Get(), navigator);
}

KivResult CDataSelection::GetOuting(IKivOuting** outing) {
  if (!outing) return E_POINTER;
  *outing = nullptr;
  if (!outing_) return S_FALSE;
  return GiveOut(outing_.Get(), outing);
}

KivResult CDataSelection::GetTask(IKivTask** task) {
  if (!task) return E_POINTER;
  *task = nullptr;
  IKivTask* held = owner_ ? owner_->Task() : nullptr;
  if (!held) return E_FAIL;
  return GiveOut(held, task);
}

KivResult CDataSelection::GetTimeOffset(KivTime* offset) {
  if (!offset) return E_POINTER;
  *offset = timeOffset_;
  return S_OK;
}

KivResult CDataSelection::GetRegionName(std::u16string* name) { return CopyText(regionName_, name); }

KivResult CDataSelection::GetIncludeAuxiliary(KivBool* include) {
  if (!include) return E_POINTER;
  *include = ToKivBool(includeAuxiliary_);
  return S_OK;
}

KivResult CDataSelection::GetClientFlag(KivBool* flag) {
  if (!flag) return E_POINTER;
  *flag = ToKivBool(clientFlag_);
  return S_OK;
}

KivResult CDataSelection::GetLabel(std::u16string* label) { return CopyText(label_, label); }

KivResult CDataSelection::GetPopUpAlarms(KivBool* popUp) {
  if (!popUp) return E_POINTER;
  if (!realTime()) return E_UNEXPECTED;
  *popUp = ToKivBool(popUpAlarms_);
  return S_OK;
}

KivResult CDataSelection::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivDataSelection;
  return S_OK;
}

// Setters.

KivResult CDataSelection::SetTimeOffset(KivTime offset) {
  if (offset == timeOffset_) return S_OK;
  if (outing_) {
    if (KivResult r = outing_->SetTimeOffset(offset); Failed(r)) return r;
  }
  timeOffset_ = offset;
  const KivResult written = WriteHeader(0);
  MarkDirty();
  Fire(&IKivDataSelectionNotifications::OnSpanChanged);
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CDataSelection::SetClientFlag(KivBool flag) {
  const bool value = flag == KIV_TRUE;
  if (value == clientFlag_) return S_OK;
  clientFlag_ = value;
  const KivResult written = WriteHeader(0);
  MarkDirty();
  Fire(&IKivDataSelectionNotifications2::OnClientFlagChanged);
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CDataSelection::SetLabel(const std::u16string& label) {
  if (label == label_) return S_OK;
  label_ = label;
  const KivResult written = WriteTexts();
  MarkDirty();
  Fire(&IKivDataSelectionNotifications3::OnLabelChanged);
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CDataSelection::SetPopUpAlarms(KivBool popUp) {
  if (!realTime()) return E_UNEXPECTED;
  const bool value = popUp == KIV_TRUE;
  if (value == popUpAlarms_) return S_FALSE;
  popUpAlarms_ = value;
  const KivResult written = WritePopUps();
  MarkDirty();
  Fire(&IKivDataSelectionNotifications4::OnPopUpAlarmsChanged);
  return Failed(written) ? E_FAIL : S_OK;
}

void CDataSelection::MarkDirty() {
  dirty_ = true;
  if (owner_) owner_->SelectionDirty();
}

// Update.

KivResult CDataSelection::Update(uint32_t flags, IKivOuting* outing, IKivTimeRegionNavigator* navigator,
                                 uint32_t colour, KivTime start, KivTime end, KivBool includeAuxiliary) {
  if (closing_) return E_FAIL;
  if ((flags & kSelectionNavigator) && !navigator) return E_INVALIDARG;
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  KivResult failure = S_OK;
  if (flags & kSelectionOuting) {
    ComPtr<IKivOuting> resolved;
    if (outing) failure = ResolveOuting(outing, &resolved);
    if (Succeeded(failure)) {
      DetachOuting();
      timeOffset_ = 0;
      if (!resolved) {
        flags |= kSelectionSpan;
        start = end = 0;
      } else {
        AttachOuting(resolved.Get(), true);
      }
    }
  }
  if (flags & kSelectionNavigator) AttachNavigator(navigator);
  if (flags & kSelectionIncludeAuxiliary) {
    includeAuxiliary_ = includeAuxiliary == KIV_TRUE;
    Fire(&IKivDataSelectionNotifications2::OnIncludeAuxiliaryChanged);
  }
  if (flags & kSelectionColour) colour_ = colour;
  bool noChange = false;
  if (flags & kSelectionSpan) {
    noChange = start == start_ && end == end_;
    start_ = start;
    end_ = end;
    UpdateRegionName();
  }
  if (Succeeded(failure)) {
    KivResult written = WriteHeader(flags);
    if (Succeeded(written) && (flags & (kSelectionOuting | kSelectionSpan))) written = WriteTexts();
    if (Failed(written)) failure = E_FAIL;
  }
  // A span that moves with live data, or that did not move, is no change to save.
  const bool onlySpan = flags == kSelectionSpan;
  if (!(onlySpan && (noChange || realTime()))) MarkDirty();
  if (flags & kSelectionNavigator) {
    if (Failed(WriteNavigator()) && Succeeded(failure)) failure = E_FAIL;
  }
  if (flags & kSelectionOuting) {
    Fire(&IKivDataSelectionNotifications::OnOutingChanged);
    if (RebuildCaption()) Fire(&IKivDataSelectionNotifications::OnCaptionChanged);
    Fire(&IKivDataSelectionNotifications::OnOutingChangeFinished);
  }
  if (flags & kSelectionColour) Fire(&IKivDataSelectionNotifications::OnColourChanged, colour_);
  if (flags & kSelectionSpan) {
    Fire(&IKivDataSelectionNotifications::OnSpanChanged);
    if (!(flags & kSelectionOuting) && RebuildCaption()) Fire(&IKivDataSelectionNotifications::OnCaptionChanged);
  }
  if (Failed(failure)) return failure;
  return noChange ? KIV_S_SPAN_UNCHANGED : S_OK;
}

KivResult CDataSelection::ResolveOuting(IKivOuting* given, ComPtr<IKivOuting>* out) {
  std::u16string path, typeId;
  KivBool overrideProperties = KIV_FALSE;
  auto withId = QueryAs<IKivOuting2>(given);
  if (!withId || Failed(given->GetFileName(&path)) || Failed(withId->GetOutingId(&typeId))) return E_INVALIDARG;
  if (auto withOverride = QueryAs<IKivOuting4>(given)) (void)withOverride->GetOverrideProperties(&overrideProperties);
  ComPtr<IKivUnknown> made;
  if (KivResult r = CreateOutingFactory(made.Put()); Failed(r)) return r;
  auto factory = made.As<IKivNewOutingFactory5>();
  if (!factory) return E_FAIL;
  const Variant paths = MakeTextArray({path});
  OutingList outings;
  if (KivResult r = factory->CreateEx(KIV_FALSE, overrideProperties, typeId, &paths, &outings); Failed(r)) return r;
  if (outings.size() != 1 || !outings.front()) return E_FAIL;
  overrideProperties_ = overrideProperties == KIV_TRUE;
  *out = outings.front();
  return S_OK;
}

void CDataSelection::DetachOuting() {
  if (!outing_) return;
  if (auto f = QueryAs<IKivChannelFactory>(outing_.Get())) CSelectionChannelFactory::RemoveSource(f.Get());
  if (auto f = QueryAs<IKivEventsFactory>(outing_.Get())) CSelectionEventsFactory::RemoveSource(f.Get());
  if (auto f = QueryAs<IKivMediaChannelFactory>(outing_.Get())) CSelectionMediaFactory::RemoveSource(f.Get());
  for (const Guid& iid : {IKivConstantFactory::iid, IKivBlobFactory::iid}) {
    ComPtr<IKivDataFactory> factory;
    if (Succeeded(outing_->QueryInterface(iid, factory.PutVoid())) && factory) (void)factory->SetParent(nullptr);
  }
  outingSink_->Disconnect(outing_.Get());
  realTimeOuting_ = nullptr;
  lapMarkers_ = nullptr;
  outing_ = nullptr;
}

void CDataSelection::AttachOuting(IKivOuting* outing, bool fromUpdate) {
  outing_ = outing;
  realTimeOuting_ = QueryAs<IKivRealtimeOuting>(outing);
  lapMarkers_ = QueryAs<IKivLapMarkers>(outing);
  labelTaken_ = false;
  outingHeard_ = false;
  LabelFromOuting(fromUpdate);
  (void)outingSink_->Connect(outing);
  if (auto f = QueryAs<IKivChannelFactory>(outing)) CSelectionChannelFactory::AddSource(f.Get(), true);
  if (auto f = QueryAs<IKivEventsFactory>(outing)) CSelectionEventsFactory::AddSource(f.Get(), true);
  if (auto f = QueryAs<IKivMediaChannelFactory>(outing)) CSelectionMediaFactory::AddSource(f.Get(), true);
  if (realTimeOuting_) {
    KivBool follow = KIV_FALSE;
    IKivTask* task = owner_ ? owner_->Task() : nullptr;
    if (!task || Failed(task->GetFollowLive(&follow)) || follow != KIV_TRUE)
      (void)realTimeOuting_->SetHistoryMode(KIV_TRUE);
  }
  // The chain from an outing's factories to its task starts here.
  for (const Guid& iid : {IKivConstantFactory::iid, IKivBlobFactory::iid}) {
    ComPtr<IKivDataFactory> factory;
    if (Failed(outing->QueryInterface(iid, factory.PutVoid())) || !factory) continue;
    (void)factory->SetParent(PrimaryUnknown());
    NameList names;
    (void)factory->GetNames(&names);
  }
}

void CDataSelection::LabelFromOuting(bool direct) {
  if (labelTaken_) return;
  const std::u16string carName = TextProperty(outing_.Get(), u"Car name");
  if (carName.empty()) return;
  labelTaken_ = true;
  if (direct) {
    label_ = carName;
  } else {
    (void)SetLabel(carName);
  }
}

void CDataSelection::OnOutingEvent() {
  if (outingHeard_) return;
  outingHeard_ = true;
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  LabelFromOuting(false);
  if (owner_) owner_->RequestRefresh(kRefreshOutingEvent);
  if (RebuildCaption()) Fire(&IKivDataSelectionNotifications::OnCaptionChanged);
}

// Navigator, finder, names.

void CDataSelection::AttachNavigator(IKivTimeRegionNavigator* navigator) {
  // The old navigator holds this selection: it lets go first, so that no
  // cycle of references outlives the two.
  if (auto* old = dynamic_cast<CTimeRegionNavigator*>(navigator_.Get())) old->DetachSelection(this);
  if (navigator_) navigatorSink_->Disconnect(navigator_.Get());
  navigator_ = navigator;
  if (navigator_) (void)navigatorSink_->Connect(navigator_.Get());
  // The library's navigator follows this selection's outing from now on.
  if (auto* ours = dynamic_cast<CTimeRegionNavigator*>(navigator)) ours->AttachSelection(this);
  ComPtr<IKivTimeRegionFinder> finder;
  if (navigator_) (void)navigator_->GetFinder(finder.Put());
  FollowFinder(finder.Get());
}

void CDataSelection::FollowFinder(IKivTimeRegionFinder* finder) {
  if (finder == finder_.Get()) return;
  if (finder_) finderSink_->Disconnect(finder_.Get());
  finder_ = finder;
  if (finder_) (void)finderSink_->Connect(finder_.Get());
}

void CDataSelection::UpdateRegionName() {
  regionName_.clear();
  ComPtr<IKivTimeRegions> regions;
  int32_t first = -1, last = -1;
  if (finder_ && Succeeded(finder_->GetRegions(regions.Put())) &&
      ExactRegions(regions.Get(), start_, end_, &first, &last)) {
    (void)regions->GetName(first, last, &regionName_);
  } else {
    regionName_ = u"Unknown";
  }
}

std::u16string CDataSelection::BuildCaption() {
  if (!outing_) return u"Empty";
  std::u16string caption;
  bool showLabels = true;
  if (IKivVelmar* root = owner_ ? owner_->Root() : nullptr) {
    if (auto root7 = QueryAs<IKivVelmar7>(root)) {
      KivBool show = KIV_TRUE;
      if (Succeeded(root7->GetDisplayOutingLabels(&show))) showLabels = show != KIV_FALSE;
    }
  }
  if (!label_.empty() && showLabels) caption = label_ + u" : ";
  std::u16string outingCaption;
  (void)outing_->GetCaption(&outingCaption);
  caption += outingCaption;
  const std::u16string region = regionName_.empty() ? u"Unknown" : regionName_;
  if (!realTime()) return caption + u" : " + region;
  ComPtr<IKivTimeRegions> regions;
  int32_t count = 0, first = -1, last = -1;
  if (finder_ && Succeeded(finder_->GetRegions(regions.Put()))) (void)regions->GetCount(&count);
  if (count > 0 && ExactRegions(regions.Get(), start_, end_, &first, &last) && last == count) {
    uint32_t markers = 0;
    if (lapMarkers_) (void)lapMarkers_->GetLapMarkerCount(&markers);
    caption += u" : Lap " + Utf8ToWide(std::to_string(markers + 1));
  } else if (count > 0) {
    caption += u" : " + region;
  }
  return caption;
}

bool CDataSelection::RebuildCaption() {
  std::u16string fresh = BuildCaption();
  if (fresh == caption_) return false;
  caption_ = std::move(fresh);
  return true;
}

void CDataSelection::OnFinderChanged(IKivTimeRegionNavigator*, IKivTimeRegionFinder* finder) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  FollowFinder(finder);
  if (Failed(WriteNavigator())) {
    FatalStop(u"Kivara has encountered a non-recoverable situation while trying to persist the new Time Region "
              u"Finder\n and needs to exit.");
  }
  UpdateRegionName();
  if (RebuildCaption()) Fire(&IKivDataSelectionNotifications::OnCaptionChanged);
}

void CDataSelection::OnRegionsChanged() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  UpdateRegionName();
  if (RebuildCaption()) Fire(&IKivDataSelectionNotifications::OnCaptionChanged);
}

// Channel value offsets.

double CDataSelection::ChannelOffset(const std::u16string& name) const {
  auto it = channelOffsets_.find(name);
  return it == channelOffsets_.end() ? 0.0 : it->second;
}

bool CDataSelection::SetChannelOffset(const std::u16string& name, double offset) {
  auto it = channelOffsets_.find(name);
  if (it == channelOffsets_.end() ? offset == 0.0 : it->second == offset) return false;
  channelOffsets_[name] = offset;
  (void)WriteOffsets();
  MarkDirty();
  return true;
}

void CDataSelection::FireItems(IKivDataFactory* factory, uint32_t kind, const NameList& added,
                               const NameList& changed, const NameList& removed) {
  if (closing_) return;
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  if (!added.empty()) FireNotification(&IKivDataFactoryNotifications::OnItemsAdded, factory, kind, added);
  if (!changed.empty()) FireNotification(&IKivDataFactoryNotifications::OnItemsChanged, factory, kind, changed);
  if (!removed.empty()) FireNotification(&IKivDataFactoryNotifications::OnItemsRemoved, factory, kind, removed);
}

}  // namespace velmar
