// CVelmar: construction, Close, destruction, the getters of owned objects
// and the callbacks owned objects make. The settings, the control face and
// the data factory operations are in velmar_operations.cpp.
#include "core/velmar.h"

#include "core/data_factory_branding.h"
#include "core/persisted_object.h"
#include "core/settings_file.h"
#include "platform/async/job_engine.h"
#include "velmar/colour_table.h"
#include "velmar/common_channels.h"
#include "velmar/data_factory.h"
#include "velmar/favorites.h"
#include "velmar/priorities.h"
#include "velmar/quantity_to_color_mapping.h"
#include "velmar/real_time_settings.h"
#include "velmar/tasks.h"
#include "velmar/units.h"

namespace velmar {

namespace {

// Hands out the face I of an owned object; `none` when nothing is held.
template <class I, class Held>
KivResult HandOut(const ComPtr<Held>& held, I** out, KivResult none = E_UNEXPECTED) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!held) return none;
  return held->QueryInterface(I::iid, reinterpret_cast<void**>(out));
}

template <class I>
KivResult MakeOwned(const Guid& clsid, ComPtr<I>* out) {
  return ClassRegistry::Process().CreateInstance(clsid, out);
}

// The unit the units component shows first for speed; its base unit when
// the component can't be had.
uint32_t DefaultSpeedUnit() {
  ComPtr<IKivUnits> units;
  UnitId unit = kBaseUnit;
  if (Succeeded(ClassRegistry::Process().CreateInstance(CLSID_KivUnits, &units)) && units) {
    if (Failed(units->GetDefaultUnit(kQuantitySpeed, &unit))) unit = kBaseUnit;
  }
  return unit;
}

template <class Sink, class Source>
void Unhook(ComPtr<Sink>& sink, Source* source) {
  if (!sink) return;
  sink->SetReceiver(nullptr);
  if (source) sink->Disconnect(source);
}

}  // namespace

CVelmar::CVelmar() = default;

KivResult CVelmar::Create(ComPtr<CVelmar>* out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  ComPtr<CVelmar> root = MakeKiv<CVelmar>();
  const KivResult r = root->Construct();
  if (Failed(r)) return r;  // the half-built root goes with its last reference
  *out = std::move(root);
  return S_OK;
}

KivResult CVelmar::Construct() {
  // 1, 2. The hidden message window and the bitmap are the platform's
  // drawing face; the extent follows the screen's pixels per inch.
  extentWidth_ = kStartExtent;
  extentHeight_ = kStartExtent;
  display_.emplace(DefaultSpeedUnit());

  // 3 to 7.
  KivResult r = CreateOwnedObjects();
  if (Succeeded(r)) r = CreateDatabases();
  if (Succeeded(r)) r = ConnectDatabaseSinks();
  // 8.
  SetUpNode();
  if (Succeeded(r)) r = CreateToolNode();
  if (Failed(r)) return r;
  // 9.
  (void)tasks_->SetRoot(AsVelmar());
  // 10.
  JoinProcessState();
  // 11. Plug-in entries are made through the process's managed bridge when
  // the list is applied; the first root's review reaches the host through it.
  return S_OK;
}

KivResult CVelmar::CreateOwnedObjects() {
  KivResult r = MakeOwned(CLSID_KivColourTable, &colourTable_);
  if (Succeeded(r)) r = colourTable_->SetParentCallback(this);
  if (Succeeded(r)) r = MakeOwned(CLSID_KivFavorites, &favorites_);
  if (Succeeded(r)) r = favorites_->SetParentCallback(this);
  if (Succeeded(r)) r = MakeOwned(CLSID_KivPriorities, &priorities_);
  if (Succeeded(r)) r = priorities_->SetParentCallback(this);
  if (Succeeded(r)) r = MakeOwned(CLSID_KivQuantityToColorMapping, &quantityToColorMapping_);
  if (Succeeded(r)) r = quantityToColorMapping_->SetParentCallback(this);
  if (Succeeded(r)) r = MakeOwned(CLSID_KivGlobalConstantFactory, &globalConstantFactory_);
  if (Succeeded(r)) r = globalConstantFactory_->SetRootBackReference(AsVelmar());
  if (Succeeded(r)) r = MakeOwned(CLSID_KivTasks, &tasks_);
  if (Succeeded(r)) r = MakeOwned(CLSID_KivRealTimeSettings, &realTimeSettings_);
  if (Succeeded(r)) r = realTimeSettings_->SetChangeCallback(this);
  // The common channels' changes come through the process-wide fan-out.
  if (Succeeded(r)) r = MakeOwned(CLSID_KivCommonChannels, &commonChannels_);
  return r;
}

KivResult CVelmar::CreateDatabases() {
  KivResult r = MakeOwned(CLSID_KivChannelPropertyFactory, &channelPropertyFactory_);
  if (Succeeded(r)) {
    auto mapping = QueryAs<IKivQuantityToColorMapping>(quantityToColorMapping_.Get());
    r = channelPropertyFactory_->SetQuantityToColorMapping(mapping.Get());
  }
  if (Succeeded(r)) r = MakeOwned(CLSID_KivEventPropertyFactory, &eventPropertyFactory_);
  // The "&Add-in Manager..." node command joins with the object tree.
  if (Succeeded(r)) r = MakeOwned(CLSID_KivGroupFactory, &groupFactory_);
  return r;
}

KivResult CVelmar::ConnectDatabaseSinks() {
  channelPropertySink_ = MakeKiv<CChannelPropertyFactoryNotifications2Sink<>>();
  eventPropertySink_ = MakeKiv<CEventPropertyFactoryNotificationsSink<>>();
  groupSink_ = MakeKiv<CGroupFactoryNotificationsSink<>>();
  channelPropertySink_->SetReceiver(this);
  eventPropertySink_->SetReceiver(this);
  groupSink_->SetReceiver(this);
  if (!channelPropertySink_->Connect(channelPropertyFactory_.Get()) ||
      !eventPropertySink_->Connect(eventPropertyFactory_.Get()) || !groupSink_->Connect(groupFactory_.Get())) {
    return E_FAIL;
  }
  dataFactorySink_ = MakeKiv<CDataFactoryNotificationsSink<CBaseMultiSourceSink>>();
  dataFactorySink_->SetReceiver(this);
  circuitMapSink_ = MakeKiv<CCircuitMapDataNotifications2Sink<>>();
  circuitMapSink_->SetReceiver(this);
  return S_OK;
}

void CVelmar::SetUpNode() {
  if (!HasNodeName()) {
    SetNodeName(u"Velmar");
    SetNodeDescription(u"Manages the source of all data within Kivara.");
  }
  AddCommandGroup(0);
  AddCommand(MakeKiv<CObjectNodeCommand>(CObjectNodeCommand::Fields{
                 kKivAddInManagerCommand, 0, 0, AddInManagerIcon(), u"&Add-in Manager...",
                 u"Facility to add/remove data sources"}),
             &CVelmar::OnAddInManager);
}

void CVelmar::OnChildrenChanged(IKivObjectNode*) {
  ComPtr<CVelmar> self(this);  // a sink may drop the last reference
  (void)FireNotification(&IKivObjectNodeNotifications::ChildrenChanged, static_cast<IKivObjectNode*>(this));
}

KivResult CVelmar::CreateToolNode() {
  if (!CurrentDataFactoryBranding().FeatureSupported(kBrandingFeatureToolNode)) return S_OK;
  const KivResult r = ClassRegistry::Process().CreateInstance(CLSID_KivHostToolNode, &toolNode_);
  if (r == CLASS_E_CLASSNOTAVAILABLE || r == REGDB_E_CLASSNOTREG) return S_OK;  // not installed: no tool node
  if (Failed(r)) return r;
  if (auto site = QueryAs<IKivDataFactoryRootSite>(toolNode_.Get())) (void)site->SetRoot(AsVelmar());
  AddChildNode(toolNode_.Get());
  return S_OK;
}

void CVelmar::JoinProcessState() {
  reviewTools_ = CVelmarObjGlobalStateChanges::Process().RootCount() == 0;
  shared_ = CVelmarObjGlobalStateChanges::Process().Join(this);
  joined_ = true;
  (void)commonChannels_->AttachStore(shared_.commonChannels);
  (void)globalConstantFactory_->AttachCache(shared_.constants);
  AddLiveVelmarRoot();
  counted_ = true;
}

KivResult CVelmar::Close() {
  if (closed_) return S_FALSE;
  closed_ = true;
  ComPtr<CVelmar> self(this);  // a sink may drop the host's last reference
  (void)FireNotification(&IKivVelmarNotifications::Closing, AsVelmar());
  if (tasks_) (void)tasks_->CloseAll();
  if (quantityToColorMapping_) (void)quantityToColorMapping_->NotifyClosing();
  ReleaseOwnedObjects();
  ClearChildren();  // the node's clients hear that its children went
  return S_OK;
}

void CVelmar::ReleaseOwnedObjects() {
  if (tasks_) {
    (void)tasks_->SetRoot(nullptr);
    tasks_ = nullptr;
  }
  if (joined_) {
    (void)CVelmarObjGlobalStateChanges::Process().Leave(this);
    joined_ = false;
  }
  shared_ = {};
  if (globalConstantFactory_) {
    (void)globalConstantFactory_->SetRootBackReference(nullptr);
    globalConstantFactory_ = nullptr;
  }
  commonChannels_ = nullptr;
  if (realTimeSettings_) {
    (void)realTimeSettings_->SetChangeCallback(nullptr);
    realTimeSettings_ = nullptr;
  }
  DisconnectDatabases();
  if (priorities_) (void)priorities_->SetParentCallback(nullptr);
  priorities_ = nullptr;
  if (quantityToColorMapping_) (void)quantityToColorMapping_->SetParentCallback(nullptr);
  quantityToColorMapping_ = nullptr;
  if (colourTable_) (void)colourTable_->SetParentCallback(nullptr);
  colourTable_ = nullptr;
  if (favorites_) (void)favorites_->SetParentCallback(nullptr);
  favorites_ = nullptr;
  childNodes_.clear();
  toolNode_ = nullptr;
  dataFactories_.ReleaseAll(*this);
}

void CVelmar::DisconnectDatabases() {
  Unhook(channelPropertySink_, channelPropertyFactory_.Get());
  channelPropertyFactory_ = nullptr;
  Unhook(eventPropertySink_, eventPropertyFactory_.Get());
  eventPropertyFactory_ = nullptr;
  Unhook(groupSink_, groupFactory_.Get());
  groupFactory_ = nullptr;
}

CVelmar::~CVelmar() {
  ReleaseOwnedObjects();
  settingsStream_ = nullptr;
  prioritiesStream_ = nullptr;
  favoritesStream_ = nullptr;
  colourTableStream_ = nullptr;
  commonChannelsStream_ = nullptr;
  realTimeSettingsStream_ = nullptr;
  storage_ = nullptr;
  if (dataFactorySink_) {
    dataFactorySink_->SetReceiver(nullptr);
    dataFactorySink_->DisconnectAll();
  }
  Unhook(circuitMapSink_, circuitMapData_.Get());
  circuitMapData_ = nullptr;
  if (counted_) {
    ReleaseLiveVelmarRoot();
    // The sources' cached worker threads are asked for afresh by the next root.
    if (LiveVelmarRootCount() == 0) Async_ForgetThreads();
  }
}

// Getters of owned objects.

KivResult CVelmar::GetChannelPropertyFactory(IKivChannelPropertyFactory** factory) {
  return HandOut(channelPropertyFactory_, factory);
}

KivResult CVelmar::GetCircuitMapData(IKivCircuitMapData** map) {
  if (!map) return E_POINTER;
  *map = nullptr;
  if (!circuitMapData_) return S_FALSE;
  return circuitMapData_.CopyTo(map);
}

KivResult CVelmar::GetCommonChannels(IKivCommonChannels** channels) { return HandOut(commonChannels_, channels); }

KivResult CVelmar::GetGlobalConstantFactory(IKivConstantFactory** factory) {
  return HandOut(globalConstantFactory_, factory);
}

KivResult CVelmar::GetGroupFactory(IKivGroupFactory** factory) { return HandOut(groupFactory_, factory); }

KivResult CVelmar::GetRealTimeSettings(IKivRealTimeSettings** settings) {
  return HandOut(realTimeSettings_, settings);
}

KivResult CVelmar::GetTasks(IKivTasks** tasks) { return HandOut(tasks_, tasks); }

KivResult CVelmar::GetPriorities(IKivPriorities** priorities) { return HandOut(priorities_, priorities); }

KivResult CVelmar::GetEventPropertyFactory(IKivEventPropertyFactory** factory) {
  return HandOut(eventPropertyFactory_, factory);
}

KivResult CVelmar::GetFavorites(IKivFavorites** favorites) { return HandOut(favorites_, favorites); }

KivResult CVelmar::GetColourTable(IKivColourTable** table) { return HandOut(colourTable_, table); }

KivResult CVelmar::GetQuantityToColorMapping(IKivQuantityToColorMapping** mapping) {
  return HandOut(quantityToColorMapping_, mapping, E_FAIL);
}

// Dirty marking and the callbacks of owned objects.

void CVelmar::MarkDirty() {
  if (initialising_ || loading_) return;
  dirty_ = true;
  // An embedding host hears of the change through its advise holder, which
  // belongs to the platform's embedding face.
}

IKivStream* CVelmar::OpenStream(OwnedStream which) const {
  switch (which) {
    case OwnedStream::kSettings:
      return settingsStream_.Get();
    case OwnedStream::kPriorities:
      return prioritiesStream_.Get();
    case OwnedStream::kFavorites:
      return favoritesStream_.Get();
    case OwnedStream::kColourTable:
      return colourTableStream_.Get();
    case OwnedStream::kCommonChannels:
      return commonChannelsStream_.Get();
    case OwnedStream::kRealTimeSettings:
      return realTimeSettingsStream_.Get();
  }
  return nullptr;
}

KivResult CVelmar::RewriteOwnedStream(OwnedStream which) {
  IKivStream* stream = OpenStream(which);
  if (!stream) return E_FAIL;  // no settings file attached
  switch (which) {
    case OwnedStream::kSettings:
      return RewriteStream(stream, [&](IKivStream* s) { ThrowIfFailed(WriteSettingsStream(s, settings_)); });
    case OwnedStream::kPriorities:
      return SaveSmallObject(priorities_.Get(), stream);
    case OwnedStream::kFavorites:
      return SaveSmallObject(favorites_.Get(), stream);
    case OwnedStream::kColourTable:
      return SaveSmallObject(colourTable_.Get(), stream);
    case OwnedStream::kCommonChannels:
      if (!shared_.commonChannels) return E_FAIL;
      return OverwriteStream(stream, [&](IKivStream* s) { ThrowIfFailed(shared_.commonChannels->Write(s)); });
    case OwnedStream::kRealTimeSettings:
      return SaveOptionalStream(realTimeSettings_.Get(), stream);
  }
  return E_FAIL;
}

template <class I>
KivResult CVelmar::AfterChildEdit(OwnedStream which, KivResult (I::*notification)(IKivVelmar*)) {
  if (Failed(RewriteOwnedStream(which))) return E_FAIL;
  MarkDirty();
  (void)FireNotification(notification, AsVelmar());
  return S_OK;
}

KivResult CVelmar::OnPrioritiesEdited() {
  return AfterChildEdit(OwnedStream::kPriorities, &IKivVelmarNotifications3::PrioritiesChanged);
}

KivResult CVelmar::OnFavoritesEdited() {
  return AfterChildEdit(OwnedStream::kFavorites, &IKivVelmarNotifications5::FavoritesChanged);
}

KivResult CVelmar::OnColourTableEdited() {
  if (loading_) return S_OK;
  return AfterChildEdit(OwnedStream::kColourTable, &IKivVelmarNotifications6::ColourTableChanged);
}

void CVelmar::OnCommonChannelsChanged() {
  // With no settings file there is no stream to write yet: the file takes
  // the store when it is made.
  if (commonChannelsStream_) (void)RewriteOwnedStream(OwnedStream::kCommonChannels);
  MarkDirty();
  (void)FireNotification(&IKivVelmarNotifications::CommonChannelsChanged, AsVelmar());
}

void CVelmar::OnRealTimeSettingsChanged() {
  if (realTimeSettingsStream_) (void)RewriteOwnedStream(OwnedStream::kRealTimeSettings);
  MarkDirty();
  (void)FireNotification(&IKivVelmarNotifications::RealTimeSettingsChanged, AsVelmar());
}

// "Is this name in use?"

bool CVelmar::IsChannelNameInUse(const std::u16string& name, uint32_t* reason) {
  KivBool found = KIV_FALSE;
  if (tasks_ && Succeeded(tasks_->FindChannelName(name, &found)) && FromKivBool(found)) {
    if (reason) *reason = kNameUsedByTask;
    return true;
  }
  if (shared_.commonChannels && shared_.commonChannels->NamesChannel(name)) {
    if (reason) *reason = kNameUsedByCommonChannel;
    return true;
  }
  return false;
}

bool CVelmar::IsEventNameInUse(const std::u16string& name, uint32_t* reason) {
  KivBool found = KIV_FALSE;
  if (tasks_ && Succeeded(tasks_->FindEventName(name, &found)) && FromKivBool(found)) {
    if (reason) *reason = kNameUsedByTask;
    return true;
  }
  return false;
}

void CVelmar::OnQueryChannelNameInUse(IKivChannelPropertyFactory*, const std::u16string& name, KivBool* inUse,
                                      uint32_t* reason) {
  if (inUse && IsChannelNameInUse(name, reason)) *inUse = KIV_TRUE;
}

void CVelmar::OnQueryEventNameInUse(IKivEventPropertyFactory*, const std::u16string& name, KivBool* inUse,
                                    uint32_t* reason) {
  if (inUse && IsEventNameInUse(name, reason)) *inUse = KIV_TRUE;
}

// Registration.

KivResult RegisterVelmarClasses(ClassRegistry& registry) {
  ClassRegistry::ClassInfo info;
  info.clsid = CLSID_KivVelmar;
  info.prog_id = kVelmarProgId;
  info.display_name = u"Velmar";
  info.create = [](IKivUnknown** out) -> KivResult {
    if (!out) return E_POINTER;
    *out = nullptr;
    ComPtr<CVelmar> root;
    const KivResult r = CVelmar::Create(&root);
    if (Failed(r)) return r;
    return GiveOut(root->PrimaryUnknown(), out);
  };
  return registry.Register(std::move(info));
}

}  // namespace velmar
