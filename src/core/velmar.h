// CVelmar: the root object. It owns the shared configuration, the task list
// and the property databases, keeps the list of data factories and raises
// IKivVelmarNotifications generations 1 to 7.
//
// Owned objects are made by class identity through the process class
// registry (see core/velmar_parts.h), so the classes of config/ and tasks/
// must be registered before a root is made. Construction reads nothing from
// disk; what needs the settings file answers E_FAIL until one is attached.
//
// Client thread only; the root takes no locks.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/data_factory_list.h"
#include "core/managed_factory_bridge.h"
#include "core/data_factory_store.h"
#include "core/database_replacement.h"
#include "core/display_settings.h"
#include "core/notifications_impl.h"
#include "core/object_node.h"
#include "core/persist_storage_impl.h"
#include "core/velmar_global_state.h"
#include "core/velmar_parts.h"
#include "core/velmar_settings.h"
#include "velmar/class_registry.h"
#include "velmar/outing_notifications.h"
#include "velmar/persist.h"
#include "velmar/property_factories.h"
#include "velmar/storage.h"
#include "velmar/velmar.h"
#include "velmar/velmar_notifications.h"

namespace velmar {

class CVelmar final : public KivObject<IKivVelmar8, IKivVelmarControl2, IPersistStorageKivImpl<CVelmar>,
                                       IKivObjectNodeImpl<CVelmar>,
                                       IKivNotificationsImpl<CVelmar, IKivVelmarNotifications7,
                                                             IKivObjectNodeNotifications>>,
                      public CChannelPropertyFactoryNotifications2Receiver,
                      public CEventPropertyFactoryNotificationsReceiver,
                      public CGroupFactoryNotificationsReceiver,
                      public CCircuitMapDataNotifications2Receiver,
                      public CDataFactoryNotificationsReceiver,
                      public CVelmarObjStateChanges,
                      public CRealTimeSettingsChanges,
                      public CPrioritiesParentCallback,
                      public CQuantityToColorMappingParentCallback,
                      public CFavoritesParentCallback,
                      public CColourTableParentCallback,
                      private CDataFactoryList::Site,
                      private ManagedToolStateListener {
 public:
  // The screen the control face assumes, and its start extent: 32 pixels in
  // hundredths of a millimetre.
  static constexpr int32_t kPixelsPerInch = 96;
  static constexpr int32_t kStartExtent = 2540 * 32 / kPixelsPerInch;

  // Makes a root; a failed construction step gives its code and no object.
  [[nodiscard]] static KivResult Create(ComPtr<CVelmar>* out);

  // IKivVelmar
  KivResult GetChannelPropertyFactory(IKivChannelPropertyFactory** factory) override;
  KivResult SetChannelPropertyFactory(IKivChannelPropertyFactory* factory) override;
  KivResult GetCircuitMapData(IKivCircuitMapData** map) override;
  KivResult SetCircuitMapData(IKivCircuitMapData* map) override;
  KivResult GetCommonChannels(IKivCommonChannels** channels) override;
  KivResult GetGlobalConstantFactory(IKivConstantFactory** factory) override;
  KivResult GetGroupFactory(IKivGroupFactory** factory) override;
  KivResult SetGroupFactory(IKivGroupFactory* factory) override;
  KivResult GetRealTimeSettings(IKivRealTimeSettings** settings) override;
  KivResult GetTasks(IKivTasks** tasks) override;
  KivResult AddDataFactory(const Guid& clsid) override;
  KivResult RemoveDataFactory(const Guid& clsid) override;
  KivResult AddDataFactoryByProgId(const std::u16string& progId) override;
  KivResult RemoveDataFactoryByProgId(const std::u16string& progId) override;
  KivResult ReloadExternalData() override;
  KivResult Close() override;
  // IKivVelmar2
  KivResult GetOutingCaptionFormat(std::u16string* format) override;
  KivResult SetOutingCaptionFormat(const std::u16string& format) override;
  KivResult GetTimeFormat(uint32_t* format) override;
  KivResult SetTimeFormat(uint32_t format) override;
  // IKivVelmar3
  KivResult GetPriorities(IKivPriorities** priorities) override;
  KivResult SetSpareSettingA(uint32_t value) override;
  KivResult GetSpareSettingA(uint32_t* value) override;
  KivResult SetSpareSettingB(uint32_t value) override;
  KivResult GetSpareSettingB(uint32_t* value) override;
  KivResult GetEventPropertyFactory(IKivEventPropertyFactory** factory) override;
  KivResult SetEventPropertyFactory(IKivEventPropertyFactory* factory) override;
  KivResult GetTimePrecision(uint16_t* precision) override;
  KivResult SetTimePrecision(int16_t precision) override;
  // IKivVelmar4
  KivResult GetPerformanceFormat(uint32_t* format) override;
  KivResult SetPerformanceFormat(uint32_t format) override;
  KivResult GetSpeedUnit(uint32_t* unit) override;
  KivResult SetSpeedUnit(uint32_t unit) override;
  KivResult GetSpeedPrecision(uint16_t* precision) override;
  KivResult SetSpeedPrecision(int16_t precision) override;
  // IKivVelmar5 to 8
  KivResult GetFavorites(IKivFavorites** favorites) override;
  KivResult GetColourTable(IKivColourTable** table) override;
  KivResult GetDisplayOutingLabels(KivBool* display) override;
  KivResult SetDisplayOutingLabels(KivBool display) override;
  KivResult GetOutingLabelInitialization(uint32_t* initialization) override;
  KivResult SetOutingLabelInitialization(uint32_t initialization) override;
  KivResult GetQuantityToColorMapping(IKivQuantityToColorMapping** mapping) override;

  // IKivDispatch: the control's late binding is the platform's.
  KivResult GetTypeInfoCount(uint32_t* count) override;
  KivResult GetTypeInfo(uint32_t index, IKivUnknown** info) override;
  KivResult GetIDsOfNames(const std::u16string& name, int32_t* id) override;
  KivResult Invoke(int32_t id, uint16_t flags) override;
  // IKivVelmarControl, IKivVelmarControl2
  KivResult PutRefFont(IKivUnknown* font) override;
  KivResult PutFont(IKivUnknown* font) override;
  KivResult GetFont(IKivUnknown** font) override;
  KivResult SetBackColor(uint32_t colour) override;
  KivResult GetBackColor(uint32_t* colour) override;
  KivResult SetForeColor(uint32_t colour) override;
  KivResult GetForeColor(uint32_t* colour) override;
  KivResult SetGridColor(uint32_t colour) override;
  KivResult GetGridColor(uint32_t* colour) override;

  // "Is this name in use?": a task's data selection shows it (reason 1) or,
  // for channels, a common channel names it (reason 2). False leaves the
  // reason alone.
  bool IsChannelNameInUse(const std::u16string& name, uint32_t* reason);
  bool IsEventNameInUse(const std::u16string& name, uint32_t* reason);

  // IKivPersistStorage: the settings file. InitNew lays out a new file,
  // Load reads one of version 1 to 6 (bringing an older one up to date in
  // place), Save writes to the same storage (committing each element) or
  // lays everything out anew in another. The host commits the file.
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;

  // Marks the settings file dirty, unless InitNew or Load is running.
  void MarkDirty() override;
  bool HasUnsavedChanges() const { return dirty_; }
  // The settings file was saved.
  void ClearDirty() { dirty_ = false; }
  // A factory joins the end of the active list / leaves it, in every root:
  // S_FALSE when it already was / wasn't there, E_INVALIDARG for a
  // mandatory or excluded one.
  [[nodiscard]] KivResult AddDataFactoryRecord(const DataFactoryRecord& record);
  [[nodiscard]] KivResult RemoveDataFactoryRecord(const DataFactoryRecord& record);
  bool IsClosed() const { return closed_; }
  int32_t ExtentWidth() const { return extentWidth_; }
  int32_t ExtentHeight() const { return extentHeight_; }
  const CDataFactoryList& DataFactories() const { return dataFactories_; }
  const std::vector<ComPtr<IKivUnknown>>& ChildNodes() const { return childNodes_; }
  const VelmarSharedStores& SharedStores() const { return shared_; }

  // The handler of the node's "&Add-in Manager..." command: `a` above 1
  // gives KIV_E_BAD_COMMAND_ARG; `b` is the host's parent window.
  KivResult OnAddInManager(IKivObjectNodeCommand* command, uint32_t a, int32_t b);

  // Public for MakeKiv; use Create.
  CVelmar();

 private:
  ~CVelmar() override;

  // Construction steps 3 to 11.
  [[nodiscard]] KivResult Construct();
  [[nodiscard]] KivResult CreateOwnedObjects();
  [[nodiscard]] KivResult CreateDatabases();
  [[nodiscard]] KivResult ConnectDatabaseSinks();
  [[nodiscard]] KivResult CreateToolNode();
  void SetUpNode();
  void OnChildrenChanged(IKivObjectNode* argument) override;
  void JoinProcessState();
  // Close step 4, and the first part of destruction; safe to run twice.
  void ReleaseOwnedObjects();
  void DisconnectDatabases();

  IKivVelmar* AsVelmar() { return static_cast<IKivVelmar8*>(this); }
  [[nodiscard]] KivResult SetDisplaySetting(DisplaySetting setting, uint32_t value);
  void RaiseDisplaySettingChanged(DisplaySetting setting, uint32_t value);
  [[nodiscard]] KivResult SetSpareSetting(uint32_t CVelmarSettings::*field, uint32_t value,
                                          KivResult (IKivVelmarNotifications3::*notification)(IKivVelmar*));
  [[nodiscard]] KivResult ApplyToAllRoots(DataFactoryRecords wanted);
  // Stores a control property change: managed tools, repaint, dirty.
  void ControlPropertyChanged();

  // The settings file, in velmar_persist.cpp.
  friend class IPersistStorageKivImpl<CVelmar>;
  bool HoldsStorage() const { return storage_.Get() != nullptr; }
  [[nodiscard]] KivResult InitNewStorage(IKivStorage* storage);
  [[nodiscard]] KivResult LoadStorage(IKivStorage* storage);
  [[nodiscard]] KivResult InitNewSmallObjects();
  [[nodiscard]] KivResult InitNewDatabases();
  [[nodiscard]] KivResult InitNewSharedElements();
  [[nodiscard]] KivResult InitNewDataFactories(IKivStorage* target, const DataFactoryListContent& list);
  [[nodiscard]] KivResult LoadSmallObjects(uint32_t version);
  [[nodiscard]] KivResult LoadSettingsStream(uint32_t version);
  [[nodiscard]] KivResult LoadDatabases(uint32_t version);
  [[nodiscard]] KivResult LoadSharedElements();
  [[nodiscard]] KivResult LoadCircuitMap(uint32_t version);
  [[nodiscard]] KivResult LoadDataFactories();
  [[nodiscard]] KivResult SaveSameFile();
  [[nodiscard]] KivResult SaveOtherFile(IKivStorage* target);
  [[nodiscard]] KivResult OpenElements(IKivStorage* storage);
  [[nodiscard]] KivResult SaveSmallObject(IKivUnknown* object, IKivStream* stream);
  [[nodiscard]] KivResult SaveOptionalStream(IKivUnknown* object, IKivStream* stream);
  [[nodiscard]] KivResult SaveGroups(IKivStream* stream);
  [[nodiscard]] KivResult WriteMap(IKivStorage* storage);
  void ReleaseElements();
  void InstallCircuitMap(ComPtr<IKivCircuitMapData> map);

  // Replacements of a database in the settings file, in velmar_replace.cpp.
  template <class I, class Sink, class Notification>
  [[nodiscard]] KivResult ReplaceDatabase(I* incoming, ComPtr<I>& held, Sink* sink, ComPtr<IKivStorage>& open,
                                          const DatabaseReplacement& texts, const Guid& storageClass,
                                          Notification notification);
  [[nodiscard]] KivResult StoreCircuitMap();

  // Streams of the settings file the root rewrites.
  enum class OwnedStream { kSettings, kPriorities, kFavorites, kColourTable, kCommonChannels, kRealTimeSettings };
  // Rewrites an owned object's open stream: seek to 0, size 0, the object
  // writes. E_FAIL when no settings file is attached.
  [[nodiscard]] KivResult RewriteOwnedStream(OwnedStream which);
  IKivStream* OpenStream(OwnedStream which) const;
  // After an owned object's edit: rewrite its stream, mark dirty, raise.
  template <class I>
  [[nodiscard]] KivResult AfterChildEdit(OwnedStream which, KivResult (I::*notification)(IKivVelmar*));

  // Receivers of the databases, the circuit map and the data factories:
  // every change they report marks the file dirty.
  void OnChannelKeyAdded(IKivChannelPropertyFactory*, const std::u16string&, int32_t) override { MarkDirty(); }
  void OnChannelKeyRemoved(IKivChannelPropertyFactory*, const std::u16string&, int32_t) override { MarkDirty(); }
  void OnChannelPropertiesChanged(IKivChannelPropertyFactory*, const std::u16string&, int32_t) override {
    MarkDirty();
  }
  void OnQueryChannelNameInUse(IKivChannelPropertyFactory* factory, const std::u16string& name, KivBool* inUse,
                               uint32_t* reason) override;
  void OnEventNameAdded(IKivEventPropertyFactory*, const std::u16string&) override { MarkDirty(); }
  void OnEventNameRemoved(IKivEventPropertyFactory*, const std::u16string&) override { MarkDirty(); }
  void OnEventPropertiesChanged(IKivEventPropertyFactory*, const std::u16string&) override { MarkDirty(); }
  void OnQueryEventNameInUse(IKivEventPropertyFactory* factory, const std::u16string& name, KivBool* inUse,
                             uint32_t* reason) override;
  void OnGroupsChanged(IKivGroupFactory*, const std::u16string&) override { MarkDirty(); }
  void OnMapDataChanged(IKivCircuitMapData*) override { MarkDirty(); }
  void OnMapLayoutChanged(IKivCircuitMapData*) override { MarkDirty(); }
  void OnItemsAdded(IKivDataFactory*, uint32_t, const NameList&) override { MarkDirty(); }
  void OnItemsRemoved(IKivDataFactory*, uint32_t, const NameList&) override { MarkDirty(); }
  void OnItemsChanged(IKivDataFactory*, uint32_t, const NameList&) override { MarkDirty(); }

  // CVelmarObjStateChanges (with CCommonChannelChanges)
  KivResult ApplyDataFactoryList(const DataFactoryRecords& wanted) override;
  void OnCommonChannelsChanged() override;
  // CRealTimeSettingsChanges
  void OnRealTimeSettingsChanged() override;
  // Parent callbacks
  KivResult OnPrioritiesEdited() override;
  KivResult OnFavoritesEdited() override;
  KivResult OnColourTableEdited() override;
  void OnQuantityToColorMappingEdited() override { MarkDirty(); }

  // CDataFactoryList::Site
  IKivVelmar* Root() override { return AsVelmar(); }
  void ConnectFactory(IKivUnknown* factory) override;
  void DisconnectFactory(IKivUnknown* factory) override;
  void AddChildNode(IKivUnknown* node) override;
  void RemoveChildNode(IKivUnknown* node) override;
  void ActiveFactoriesChanged(const ActiveDataFactories& active) override;
  DataFactoryListStorage* Storage() override { return dataFactoryStorage_; }
  bool ReadManagedState(const std::u16string& storageName, std::vector<uint8_t>* bytes) override;
  ManagedToolStateListener* ToolListener() override { return this; }
  void ManagedStateRejected() override;
  // ManagedToolStateListener
  void OnManagedToolChanged(const std::u16string& typeName) override;
  // The stored managed entries checked against what loaded.
  void ReviewManagedEntries(const DataFactoryListContent& content);

  // Owned objects.
  ComPtr<IKivChannelPropertyFactory> channelPropertyFactory_;
  ComPtr<IKivEventPropertyFactory> eventPropertyFactory_;
  ComPtr<IKivCircuitMapData> circuitMapData_;
  ComPtr<IKivGroupFactory> groupFactory_;
  ComPtr<IKivTasksInternal> tasks_;
  ComPtr<IKivCommonChannelsInternal> commonChannels_;
  ComPtr<IKivRealTimeSettingsInternal> realTimeSettings_;
  ComPtr<IKivGlobalConstantFactoryInternal> globalConstantFactory_;
  ComPtr<IKivPrioritiesInternal> priorities_;
  ComPtr<IKivQuantityToColorMappingInternal> quantityToColorMapping_;
  ComPtr<IKivFavoritesInternal> favorites_;
  ComPtr<IKivColourTableInternal> colourTable_;
  CVelmarSettings settings_;

  // The settings file and the streams the root keeps open in it; all null
  // until a file is attached.
  ComPtr<IKivStorage> storage_;
  ComPtr<IKivStream> settingsStream_;
  ComPtr<IKivStream> prioritiesStream_;
  ComPtr<IKivStream> favoritesStream_;
  ComPtr<IKivStream> colourTableStream_;
  ComPtr<IKivStream> commonChannelsStream_;
  ComPtr<IKivStream> realTimeSettingsStream_;
  ComPtr<IKivStream> versionStream_;
  ComPtr<IKivStream> groupsStream_;
  ComPtr<IKivStorage> tasksStorage_;
  ComPtr<IKivStorage> channelPropertiesStorage_;
  ComPtr<IKivStorage> eventPropertiesStorage_;
  ComPtr<IKivStorage> constantsStorage_;
  ComPtr<IKivStorage> circuitMapStorage_;
  CDataFactoryStore factoryStore_;
  DataFactoryListStorage* dataFactoryStorage_ = nullptr;

  bool dirty_ = true;
  bool initialising_ = false;
  bool loading_ = false;
  // Something read while loading must be written back: dirty once loaded.
  bool staleAfterLoad_ = false;
  bool closed_ = false;
  bool joined_ = false;
  bool counted_ = false;
  bool reviewTools_ = false;  // the first root of the process: its review goes to the host

  CDataFactoryList dataFactories_;
  std::vector<ComPtr<IKivUnknown>> childNodes_;
  ComPtr<IKivUnknown> toolNode_;

  uint32_t backColor_ = 0xFFFFFF;
  uint32_t foreColor_ = 0;
  uint32_t gridColor_ = 0xD0D0D0;
  ComPtr<IKivUnknown> font_;
  int32_t extentWidth_ = 0;
  int32_t extentHeight_ = 0;

  std::optional<DisplaySettings> display_;

  ComPtr<CChannelPropertyFactoryNotifications2Sink<>> channelPropertySink_;
  ComPtr<CEventPropertyFactoryNotificationsSink<>> eventPropertySink_;
  ComPtr<CGroupFactoryNotificationsSink<>> groupSink_;
  ComPtr<CCircuitMapDataNotifications2Sink<>> circuitMapSink_;
  ComPtr<CDataFactoryNotificationsSink<CBaseMultiSourceSink>> dataFactorySink_;

  VelmarSharedStores shared_;
};

// Registers CVelmar ("KivVelmar.Velmar.1") in a class registry.
[[nodiscard]] KivResult RegisterVelmarClasses(ClassRegistry& registry);

}  // namespace velmar
