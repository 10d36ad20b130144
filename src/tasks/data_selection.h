// CDataSelection: one user choice — this outing, this span, this colour.
// Clients read through its three factories (channels, event sets, media
// channels), whose proxies outlive a change of outing. The selection holds a
// private outing object of its own (opened again through the outing
// factory), so that its time offset and ownership touch no one else's.
//
// Update applies what its flags name in a fixed order, writes the
// "Data Selection Properties" stream, and then raises its events: outing
// changed, caption changed, outing change finished (flag 4); colour (1);
// span changed and caption changed (8). The same span again answers
// KIV_S_SPAN_UNCHANGED and still raises the span event.
//
// Persisted in a storage of its own: "Version" (2), "Data Selection
// Properties", "Time Region Navigator" (the finder's class and stream),
// "Channel Value Offsets" and "Pop-Up Alarms".
//
// Client thread only.
#pragma once

#include <map>
#include <string>

#include "core/data_factory_record.h"
#include "core/notifications_impl.h"
#include "outing/channels/selection_binding.h"
#include "tasks/channel_proxy.h"
#include "tasks/item_proxies.h"
#include "tasks/selection_factory.h"
#include "tasks/selection_inputs.h"
#include "tasks/selection_owner.h"
#include "tasks/selection_properties.h"
#include "velmar/data_selection.h"
#include "velmar/lap_markers.h"
#include "velmar/outing_factory.h"
#include "velmar/persist.h"
#include "velmar/selection_sources.h"

namespace velmar {

using CSelectionChannelFactory = CSelectionDataFactory<CChannelProxy, IKivChannelFactory, kDataKindChannels>;
using CSelectionEventsFactory = CSelectionDataFactory<CEventSetProxy, IKivEventsFactory, kDataKindEvents>;
using CSelectionMediaFactory =
    CSelectionDataFactory<CMediaChannelProxy, IKivMediaChannelFactory, kDataKindMediaChannels>;

class CDataSelection final
    : public KivObject<IKivDataSelection4, CSelectionChannelFactory, CSelectionEventsFactory, CSelectionMediaFactory,
                       IKivPersistStorage, IKivDataSelectionSources, IKivSelectionBindingSite,
                       IKivNotificationsImpl<CDataSelection, IKivDataSelectionNotifications4,
                                             IKivDataFactoryNotifications>>,
      private ISelectionFactoryOwner,
      private COutingNotificationsReceiver,
      private CTimeRegionNavigatorNotificationsReceiver,
      private CTimeRegionFinderNotificationsReceiver {
 public:
  CDataSelection();

  // The task that holds it (not counted); null when it lets go. The task's
  // root becomes the root of the selection's factories.
  void SetOwner(ISelectionOwner* owner);
  // Shut-down: Update is refused, proxies raise nothing more and let go.
  void Close();
  // The root's active data factories, in order: each joins the selection as
  // a source (an instance of its own when it makes one per selection);
  // those that left go (data_selection_addins.cpp).
  void SetDataFactories(const ActiveDataFactories& factories);

  // IKivDataSelection..4
  KivResult GetRealTime(KivBool* realTime) override;
  KivResult GetCaption(std::u16string* caption) override;
  KivResult GetColour(uint32_t* colour) override;
  KivResult GetEndTime(KivTime* end) override;
  KivResult GetNavigator(IKivTimeRegionNavigator** navigator) override;
  KivResult GetOuting(IKivOuting** outing) override;
  KivResult GetStartTime(KivTime* start) override;
  KivResult GetTask(IKivTask** task) override;
  KivResult GetTimeOffset(KivTime* offset) override;
  KivResult SetTimeOffset(KivTime offset) override;
  KivResult GetRegionName(std::u16string* name) override;
  KivResult GetIncludeAuxiliary(KivBool* include) override;
  KivResult Update(uint32_t flags, IKivOuting* outing, IKivTimeRegionNavigator* navigator, uint32_t colour,
                   KivTime start, KivTime end, KivBool includeAuxiliary) override;
  KivResult GetClientFlag(KivBool* flag) override;
  KivResult SetClientFlag(KivBool flag) override;
  KivResult GetLabel(std::u16string* label) override;
  KivResult SetLabel(const std::u16string& label) override;
  KivResult GetPopUpAlarms(KivBool* popUp) override;
  KivResult SetPopUpAlarms(KivBool popUp) override;

  // IKivDataSelectionSources (data_selection_sources.cpp)
  KivResult AddChannelSource(IKivChannelFactory* source) override;
  KivResult RemoveChannelSource(IKivChannelFactory* source) override;
  KivResult AddEventsSource(IKivEventsFactory* source) override;
  KivResult RemoveEventsSource(IKivEventsFactory* source) override;

  // IKivSelectionBindingSite: what the outing's factories hand their
  // channels; it answers this selection's span.
  KivResult GetSelectionBinding(IKivSelectionRange** binding) override;

  // IKivPersistStorage
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult InitNew(IKivStorage* storage) override;
  KivResult Load(IKivStorage* storage) override;
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;

  const std::map<std::u16string, double>& channel_offsets() const { return channelOffsets_; }

 private:
  // A data factory add-in as this selection has it.
  struct AddinSource {
    ComPtr<IKivUnknown> root;      // the root's instance: what the active list names
    ComPtr<IKivUnknown> instance;  // this selection's (the root's one when it makes none)
    ComPtr<IKivChannelFactory> channels;
    ComPtr<IKivEventsFactory> events;
    ComPtr<IKivMediaChannelFactory> media;
    ComPtr<CSelectionInputs<CSelectionChannelFactory>> channelInputs;
    ComPtr<CSelectionInputs<CSelectionEventsFactory>> eventInputs;
  };

  struct Streams {
    ComPtr<IKivStorage> storage;
    ComPtr<IKivStream> version, properties, navigator, offsets, popUps;
  };

  ~CDataSelection() override;
  KivResult QueryExtra(const Guid& iid, void** out) override;

  // Outing.
  [[nodiscard]] KivResult ResolveOuting(IKivOuting* given, ComPtr<IKivOuting>* out);
  void DetachOuting();
  void AttachOuting(IKivOuting* outing, bool fromUpdate);
  void LabelFromOuting(bool direct);
  bool realTime() const { return static_cast<bool>(realTimeOuting_); }

  // Data factory add-ins.
  [[nodiscard]] bool MakeAddin(IKivUnknown* root, AddinSource* out);
  void JoinAddin(const AddinSource& addin);
  void LeaveAddin(const AddinSource& addin);
  void LeaveAddins(size_t from);
  static void ForgetAddin(const AddinSource& addin);

  // Navigator and its finder.
  void AttachNavigator(IKivTimeRegionNavigator* navigator);
  void FollowFinder(IKivTimeRegionFinder* finder);
  void UpdateRegionName();
  std::u16string BuildCaption();
  bool RebuildCaption();  // true when it changed

  // Streams.
  SelectionProperties Properties() const;
  [[nodiscard]] KivResult WriteHeader(uint32_t flags);
  [[nodiscard]] KivResult WriteTexts();
  [[nodiscard]] KivResult WriteNavigator();
  [[nodiscard]] KivResult WriteOffsets();
  [[nodiscard]] KivResult WritePopUps();
  [[nodiscard]] KivResult CreateStreams(IKivStorage* storage, Streams* out);
  [[nodiscard]] KivResult OpenStreams(IKivStorage* storage, Streams* out);
  [[nodiscard]] KivResult LoadProperties(SelectionProperties* p);
  [[nodiscard]] KivResult LoadNavigator(const SelectionProperties& p);
  [[nodiscard]] KivResult LoadOffsets();
  [[nodiscard]] KivResult LoadPopUps();
  void MarkDirty();

  template <class Method, class... Args>
  void Fire(Method method, Args... args) {
    ComPtr<IKivUnknown> keep(PrimaryUnknown());
    FireNotification(method, static_cast<IKivDataSelection*>(this), args...);
  }

  // ISelectionFactoryOwner / IProxyOwner
  double ChannelOffset(const std::u16string& name) const override;
  bool SetChannelOffset(const std::u16string& name, double offset) override;
  bool closing() const override { return closing_; }
  IKivUnknown* OwnerUnknown() override { return PrimaryUnknown(); }
  void FireItems(IKivDataFactory* factory, uint32_t kind, const NameList& added, const NameList& changed,
                 const NameList& removed) override;
  void InputsMoved(IKivDataFactory* later) override;

  // COutingNotificationsReceiver: the outing's first event.
  void OnInformationChanged(IKivOuting*) override { OnOutingEvent(); }
  void OnCreated(IKivOuting*, KivBool) override { OnOutingEvent(); }
  void OnOutingEvent();
  // CTimeRegionNavigatorNotificationsReceiver
  void OnFinderChanged(IKivTimeRegionNavigator* navigator, IKivTimeRegionFinder* finder) override;
  // CTimeRegionFinderNotificationsReceiver
  void OnRegionsChanged() override;

  ISelectionOwner* owner_ = nullptr;
  ComPtr<CSelectionBinding> binding_;
  std::vector<AddinSource> addins_;
  ComPtr<IKivOuting> outing_;
  ComPtr<IKivRealtimeOuting> realTimeOuting_;
  ComPtr<IKivLapMarkers> lapMarkers_;
  ComPtr<IKivTimeRegionNavigator> navigator_;
  ComPtr<IKivTimeRegionFinder> finder_;
  KivTime start_ = 0, end_ = 1, timeOffset_ = 0;
  uint32_t colour_ = 255;
  bool includeAuxiliary_ = false, clientFlag_ = false, popUpAlarms_ = true;
  bool overrideProperties_ = false;
  std::u16string label_, regionName_, caption_;
  std::map<std::u16string, double> channelOffsets_;
  bool labelTaken_ = false, outingHeard_ = false;
  bool closing_ = false, dirty_ = true;
  Streams streams_;
  ComPtr<COutingNotificationsSink<>> outingSink_;
  ComPtr<CTimeRegionNavigatorNotificationsSink<>> navigatorSink_;
  ComPtr<CTimeRegionFinderNotificationsSink<>> finderSink_;
};

}  // namespace velmar
