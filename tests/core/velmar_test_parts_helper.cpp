#include <memory>

#include "core/common_channels_store.h"
#include "core/global_constants_cache.h"
#include "core/velmar_test_parts.h"
#include "velmar/class_registry.h"
#include "velmar/text.h"

namespace velmar::testing {

std::vector<std::string>& PartLog() {
  static std::vector<std::string> log;
  return log;
}

std::vector<std::string> PartLogWith(const std::string& prefix) {
  std::vector<std::string> out;
  for (const auto& entry : PartLog()) {
    if (entry.starts_with(prefix)) out.push_back(entry);
  }
  return out;
}

void LogPart(std::string entry) { PartLog().push_back(std::move(entry)); }

namespace {

void Log(std::string entry) { LogPart(std::move(entry)); }

// Logs "<call>(set)" or "<call>(null)" as `p` is given or not.
KivResult Logged(const std::string& call, const void* p) {
  Log(call + (p ? "(set)" : "(null)"));
  return S_OK;
}

constexpr char kFavoritesTag[] = "favorites";
using TestFavorites = ParentedPart<IKivFavoritesInternal, CFavoritesParentCallback,
                                  &CFavoritesParentCallback::OnFavoritesEdited, kFavoritesTag>;

class TestConstants final : public KivObject<IKivGlobalConstantFactoryInternal> {
 public:
  ~TestConstants() override { Log("constants.~"); }
  KivResult SetRootBackReference(IKivVelmar* root) override { return Logged("constants.SetRootBackReference", root); }
  KivResult AttachCache(std::shared_ptr<CGlobalConstantsCache> cache) override {
    return Logged("constants.AttachCache", cache.get());
  }
  KivResult ReloadSpreadsheetConstants() override {
    Log("constants.ReloadSpreadsheetConstants");
    return S_FALSE;
  }
};

class TestCommonChannels final : public KivObject<IKivCommonChannelsInternal> {
 public:
  ~TestCommonChannels() override { Log("commonChannels.~"); }
  KivResult AttachStore(std::shared_ptr<CCommonChannelsStore> store) override {
    return Logged("commonChannels.AttachStore", store.get());
  }
};

// A host tool node that only records that it was given the root.
class TestToolNode final : public KivObject<IKivDataFactoryRootSite> {
 public:
  ~TestToolNode() override { Log("toolNode.~"); }
  KivResult GetDescription(std::u16string*) override { return E_NOTIMPL; }
  KivResult SetRoot(IKivVelmar* root) override { return Logged("toolNode.SetRoot", root); }
};

template <class T, class... Args>
std::function<KivResult(IKivUnknown**)> Maker(std::string tag, Args... args) {
  return [tag, args...](IKivUnknown** out) -> KivResult {
    Log(tag + ".made");
    auto object = MakeKiv<T>(args...);
    return GiveOut(object->PrimaryUnknown(), out);
  };
}

void Register(const Guid& clsid, std::function<KivResult(IKivUnknown**)> create, std::u16string progId = {},
              std::vector<Guid> categories = {}) {
  ClassRegistry::ClassInfo info;
  info.clsid = clsid;
  info.prog_id = std::move(progId);
  info.create = std::move(create);
  info.categories = std::move(categories);
  (void)ClassRegistry::Process().Register(std::move(info));
}

}  // namespace

TestTasks* TestTasks::last = nullptr;
TestRealTimeSettings* TestRealTimeSettings::last = nullptr;
TestMapping* TestMapping::last = nullptr;
TestChannelProperties* TestChannelProperties::last = nullptr;
TestEventProperties* TestEventProperties::last = nullptr;
TestGroups* TestGroups::last = nullptr;

TestTasks::~TestTasks() { Log("tasks.~"); }
KivResult TestTasks::SetRoot(IKivVelmar* r) {
  last = this;
  root = r;
  return Logged("tasks.SetRoot", r);
}
KivResult TestTasks::CloseAll() {
  Log("tasks.CloseAll");
  return S_OK;
}
KivResult TestTasks::SetDataFactoryList(const ActiveDataFactories& list) {
  factories = list;
  return S_OK;
}
KivResult TestTasks::FindChannelName(const std::u16string& name, KivBool* found) {
  *found = ToKivBool(names.contains(name));
  return S_OK;
}
KivResult TestTasks::FindEventName(const std::u16string& name, KivBool* found) {
  *found = ToKivBool(names.contains(name));
  return S_OK;
}

TestRealTimeSettings::~TestRealTimeSettings() { Log("realTime.~"); }
KivResult TestRealTimeSettings::SetChangeCallback(CRealTimeSettingsChanges* c) {
  last = this;
  changes = c;
  return Logged("realTime.SetChangeCallback", c);
}

TestMapping::~TestMapping() { Log("mapping.~"); }
KivResult TestMapping::SetParentCallback(CQuantityToColorMappingParentCallback* p) {
  last = this;
  parent = p;
  return Logged("mapping.SetParentCallback", p);
}
KivResult TestMapping::NotifyClosing() {
  Log("mapping.NotifyClosing");
  return FireNotification(&IKivQuantityToColorMappingNotifications::Closing, nullptr);
}

TestChannelProperties::~TestChannelProperties() {
  Log("channelProperties.~ sinks=" +
      std::to_string(NotificationPoints().Point<IKivChannelPropertyFactoryNotifications2>().ConnectedCount()));
}
KivResult TestChannelProperties::SetQuantityToColorMapping(IKivQuantityToColorMapping* mapping) {
  last = this;
  return Logged("channelProperties.SetQuantityToColorMapping", mapping);
}
bool TestChannelProperties::AskInUse(const std::u16string& name, uint32_t* reason) {
  KivBool inUse = KIV_FALSE;
  (void)FireNotification(&IKivChannelPropertyFactoryNotifications2::OnQueryChannelNameInUse,
                         static_cast<IKivChannelPropertyFactory*>(this), name, &inUse, reason);
  return FromKivBool(inUse);
}
void TestChannelProperties::ReportChange() {
  (void)FireNotification(&IKivChannelPropertyFactoryNotifications::OnChannelPropertiesChanged,
                         static_cast<IKivChannelPropertyFactory*>(this), u"Speed", 3);
}

TestEventProperties::~TestEventProperties() {
  Log("eventProperties.~ sinks=" +
      std::to_string(NotificationPoints().Point<IKivEventPropertyFactoryNotifications>().ConnectedCount()));
}
bool TestEventProperties::AskInUse(const std::u16string& name, uint32_t* reason) {
  KivBool inUse = KIV_FALSE;
  (void)FireNotification(&IKivEventPropertyFactoryNotifications::OnQueryEventNameInUse,
                         static_cast<IKivEventPropertyFactory*>(this), name, &inUse, reason);
  return FromKivBool(inUse);
}

TestGroups::~TestGroups() {
  Log("groups.~ sinks=" +
      std::to_string(NotificationPoints().Point<IKivGroupFactoryNotifications>().ConnectedCount()));
}
void TestGroups::ReportChange() {
  (void)FireNotification(&IKivGroupFactoryNotifications::OnGroupsChanged, static_cast<IKivGroupFactory*>(this),
                         u"Chassis");
}

TestDataFactory::~TestDataFactory() {
  Log(tag_ + ".~ sinks=" +
      std::to_string(NotificationPoints().Point<IKivDataFactoryNotifications>().ConnectedCount()));
}
KivResult TestDataFactory::SetRoot(IKivUnknown* root) { return Logged(tag_ + ".IKivDataFactory::SetRoot", root); }
KivResult TestDataFactory::SetRoot(IKivVelmar* root) {
  return Logged(tag_ + ".IKivDataFactoryRootSite::SetRoot", root);
}
KivResult TestDataFactory::Reload() {
  Log(tag_ + ".Reload");
  return S_OK;
}
void TestDataFactory::ReportNames() {
  (void)FireNotification(&IKivDataFactoryNotifications::OnItemsAdded, static_cast<IKivChannelFactory*>(this),
                         kDataKindChannels, NameList{u"Lap Time"});
}

void RegisterTestParts() {
  Register(CLSID_KivColourTable, Maker<TestColourTable>("colourTable"));
  Register(CLSID_KivFavorites, Maker<TestFavorites>("favorites"));
  Register(CLSID_KivPriorities, Maker<TestPriorities>("priorities"));
  Register(CLSID_KivQuantityToColorMapping, Maker<TestMapping>("mapping"));
  Register(CLSID_KivGlobalConstantFactory, Maker<TestConstants>("constants"));
  Register(CLSID_KivTasks, Maker<TestTasks>("tasks"));
  Register(CLSID_KivRealTimeSettings, Maker<TestRealTimeSettings>("realTime"));
  Register(CLSID_KivCommonChannels, Maker<TestCommonChannels>("commonChannels"));
  Register(CLSID_KivChannelPropertyFactory, Maker<TestChannelProperties>("channelProperties"));
  Register(CLSID_KivEventPropertyFactory, Maker<TestEventProperties>("eventProperties"));
  Register(CLSID_KivGroupFactory, Maker<TestGroups>("groups"));
  Register(CLSID_KivHostToolNode, Maker<TestToolNode>("toolNode"));

  const std::vector<Guid> dataFactory = {CATID_KivDataFactory};
  Register(kFactoryA, Maker<TestDataFactory>("factoryA", std::string("factoryA")), kFactoryAProgId, dataFactory);
  Register(kFactoryB, Maker<TestDataFactory>("factoryB", std::string("factoryB")), u"VelmarTest.FactoryB.1",
           dataFactory);
  Register(kMandatoryFactory, Maker<TestDataFactory>("mandatory", std::string("mandatory")), {}, dataFactory);
  Register(kOutsideFactory, Maker<TestDataFactory>("outside", std::string("outside")), u"VelmarTest.Outside.1");
  Register(
      kBrokenFactory,
      [](IKivUnknown** out) -> KivResult {
        *out = nullptr;
        return E_OUTOFMEMORY;
      },
      u"VelmarTest.Broken.1", dataFactory);
}

}  // namespace velmar::testing
