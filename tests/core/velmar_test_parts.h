// Stand-ins for the root's owned objects and for data factories, registered
// under the real class identities, so the root's tests run without the
// configuration and task folders. Each writes what the root does to it into
// one shared log ("tasks.CloseAll", "priorities.~" ...), which shows the
// order of construction and release.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "core/velmar_parts.h"
#include "velmar/data_factory.h"
#include "velmar/outing_notifications.h"
#include "velmar/property_factories.h"
#include "velmar/quantity_to_color_mapping.h"
#include "velmar/velmar.h"
#include "velmar/velmar_notifications.h"

namespace velmar::testing {

std::vector<std::string>& PartLog();
// The entries of PartLog that start with `prefix`.
std::vector<std::string> PartLogWith(const std::string& prefix);

// Data factory classes for the tests, all but kOutsideFactory in the data
// factory category.
inline constexpr Guid kFactoryA = Guid::Literal("{2AC48AA9-DFF2-4EA6-A75A-E0BBF41F7E23}");
inline constexpr Guid kFactoryB = Guid::Literal("{1F62B705-3059-4EFD-9BFF-85DE2602798D}");
inline constexpr Guid kBrokenFactory = Guid::Literal("{3F3083AB-F45E-4601-BDCD-0F8B13BBE7C8}");  // creation fails
inline constexpr Guid kOutsideFactory = Guid::Literal("{25BC1859-8FFD-4278-A178-0F67D263F57B}");
inline constexpr char16_t kFactoryAProgId[] = u"VelmarTest.FactoryA.1";
// The first mandatory native factory; registered here so it can be created.
inline constexpr Guid kMandatoryFactory = Guid::Literal("{510B131A-9AE4-47F5-B01E-86F497DC3DE2}");

// Registers every stand-in in the process class registry (again: replaces).
void RegisterTestParts();

// The stand-ins the tests reach into, found through the root's faces.
class TestTasks final : public KivObject<IKivTasksInternal> {
 public:
  TestTasks() { last = this; }
  ~TestTasks() override;
  KivResult SetRoot(IKivVelmar* root) override;
  KivResult CloseAll() override;
  KivResult SetDataFactoryList(const ActiveDataFactories& factories) override;
  KivResult FindChannelName(const std::u16string& name, KivBool* found) override;
  KivResult FindEventName(const std::u16string& name, KivBool* found) override;

  IKivVelmar* root = nullptr;
  ActiveDataFactories factories;
  std::set<std::u16string> names;  // what its selections show
  static TestTasks* last;
};

class TestRealTimeSettings final : public KivObject<IKivRealTimeSettingsInternal> {
 public:
  TestRealTimeSettings() { last = this; }
  ~TestRealTimeSettings() override;
  KivResult SetChangeCallback(CRealTimeSettingsChanges* changes) override;
  void Change() {
    if (changes) changes->OnRealTimeSettingsChanged();
  }
  CRealTimeSettingsChanges* changes = nullptr;
  static TestRealTimeSettings* last;
};

// A stand-in whose parent callback is logged as "<Tag>.SetParentCallback(set)"
// and can be told of an edit, as the part's own editing does.
void LogPart(std::string entry);
template <class Interface, class Callback, KivResult (Callback::*Edited)(), const char* Tag>
class ParentedPart final : public KivObject<Interface> {
 public:
  ParentedPart() { last = this; }
  ~ParentedPart() override { LogPart(std::string(Tag) + ".~"); }
  KivResult SetParentCallback(Callback* p) override {
    LogPart(std::string(Tag) + ".SetParentCallback(" + (p ? "set" : "null") + ")");
    last = this;
    parent = p;
    return S_OK;
  }
  KivResult Edit() { return parent ? (parent->*Edited)() : S_OK; }
  Callback* parent = nullptr;
  static inline ParentedPart* last = nullptr;
};

inline constexpr char kPrioritiesTag[] = "priorities";
inline constexpr char kColourTableTag[] = "colourTable";
using TestPriorities = ParentedPart<IKivPrioritiesInternal, CPrioritiesParentCallback,
                                    &CPrioritiesParentCallback::OnPrioritiesEdited, kPrioritiesTag>;
using TestColourTable = ParentedPart<IKivColourTableInternal, CColourTableParentCallback,
                                     &CColourTableParentCallback::OnColourTableEdited, kColourTableTag>;

class TestMapping final
    : public KivObject<IKivQuantityToColorMappingInternal,
                       IKivNotificationsImpl<TestMapping, IKivQuantityToColorMappingNotifications>> {
 public:
  TestMapping() { last = this; }
  ~TestMapping() override;
  KivResult SetParentCallback(CQuantityToColorMappingParentCallback* p) override;
  KivResult NotifyClosing() override;
  void Edit() {
    if (parent) parent->OnQuantityToColorMappingEdited();
  }
  CQuantityToColorMappingParentCallback* parent = nullptr;
  static TestMapping* last;
};

class TestChannelProperties final
    : public KivObject<IKivChannelPropertyFactory,
                       IKivNotificationsImpl<TestChannelProperties, IKivChannelPropertyFactoryNotifications2>> {
 public:
  TestChannelProperties() { last = this; }
  ~TestChannelProperties() override;
  KivResult HasKey(const std::u16string&, int32_t, KivBool*) override { return E_NOTIMPL; }
  KivResult GetPropertySet(const std::u16string&, int32_t, IKivPropertySet**) override { return E_NOTIMPL; }
  KivResult RemoveKey(const std::u16string&, int32_t) override { return E_NOTIMPL; }
  KivResult GetKeyCount(uint32_t*) override { return E_NOTIMPL; }
  KivResult GetKey(uint32_t, std::u16string*, int32_t*) override { return E_NOTIMPL; }
  KivResult Reserved8() override { return E_NOTIMPL; }
  KivResult Reserved9() override { return E_NOTIMPL; }
  KivResult Reserved10() override { return E_NOTIMPL; }
  KivResult Reserved11() override { return E_NOTIMPL; }
  KivResult Reserved12() override { return E_NOTIMPL; }
  KivResult GetQuantityToColorMapping(IKivQuantityToColorMapping**) override { return E_NOTIMPL; }
  KivResult SetQuantityToColorMapping(IKivQuantityToColorMapping* mapping) override;

  // Asks the clients, as the database does before removing a key.
  bool AskInUse(const std::u16string& name, uint32_t* reason);
  void ReportChange();
  static TestChannelProperties* last;
};

class TestEventProperties final
    : public KivObject<IKivEventPropertyFactory,
                       IKivNotificationsImpl<TestEventProperties, IKivEventPropertyFactoryNotifications>> {
 public:
  TestEventProperties() { last = this; }
  ~TestEventProperties() override;
  KivResult HasName(const std::u16string&, KivBool*) override { return E_NOTIMPL; }
  KivResult GetPropertySet(const std::u16string&, IKivPropertySet**) override { return E_NOTIMPL; }
  KivResult RemoveName(const std::u16string&) override { return E_NOTIMPL; }
  KivResult GetCount(uint32_t*) override { return E_NOTIMPL; }
  KivResult GetName(uint32_t, std::u16string*) override { return E_NOTIMPL; }
  bool AskInUse(const std::u16string& name, uint32_t* reason);
  static TestEventProperties* last;
};

class TestGroups final
    : public KivObject<IKivGroupFactory, IKivNotificationsImpl<TestGroups, IKivGroupFactoryNotifications>> {
 public:
  TestGroups() { last = this; }
  ~TestGroups() override;
  KivResult GetCount(uint32_t*) override { return E_NOTIMPL; }
  KivResult GetGroupName(uint32_t, std::u16string*) override { return E_NOTIMPL; }
  KivResult AddGroup(const std::u16string&) override { return E_NOTIMPL; }
  KivResult RemoveGroup(const std::u16string&) override { return E_NOTIMPL; }
  KivResult GetMembers(const std::u16string&, std::vector<std::u16string>*) override { return E_NOTIMPL; }
  KivResult SetMembers(const std::u16string&, const std::vector<std::u16string>&) override { return E_NOTIMPL; }
  void ReportChange();
  static TestGroups* last;
};

// A native data factory: a channel factory that wants the root, can reload
// and reports its names.
class TestDataFactory final
    : public KivObject<IKivChannelFactory, IKivDataFactoryRootSite, IKivDataFactoryReload,
                       IKivNotificationsImpl<TestDataFactory, IKivDataFactoryNotifications>> {
 public:
  explicit TestDataFactory(std::string tag) : tag_(std::move(tag)) {}
  ~TestDataFactory() override;
  KivResult GetNames(NameList*) override { return E_NOTIMPL; }
  KivResult GetParent(IKivUnknown**) override { return E_NOTIMPL; }
  KivResult SetParent(IKivUnknown*) override { return E_NOTIMPL; }
  KivResult GetRoot(IKivUnknown**) override { return E_NOTIMPL; }
  KivResult SetRoot(IKivUnknown* root) override;
  KivResult GetIcon(int32_t, int32_t, IKivUnknown**) override { return E_NOTIMPL; }
  KivResult GetItem(const std::u16string&, IKivChannel**) override { return E_NOTIMPL; }
  KivResult GetDescription(std::u16string*) override { return E_NOTIMPL; }
  KivResult SetRoot(IKivVelmar* root) override;
  KivResult Reload() override;
  void ReportNames();

 private:
  std::string tag_;
};

}  // namespace velmar::testing
