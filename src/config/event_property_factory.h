// The event property database: one property set per event name, made on
// first demand with "Priority" 0. Before a name goes, the clients are asked
// whether it is still in use.
//
// Client thread only.
#pragma once

#include <map>
#include <string>

#include "config/key_property_set.h"
#include "config/property_database_store.h"
#include "core/notifications_impl.h"
#include "velmar/persist.h"
#include "velmar/property_factories.h"

namespace velmar {

class CEventPropertyFactory final
    : public KivObject<IKivEventPropertyFactory, IKivPersistStorage,
                       IKivNotificationsImpl<CEventPropertyFactory, IKivEventPropertyFactoryNotifications>> {
 public:
  ~CEventPropertyFactory() override;

  KivResult HasName(const std::u16string& name, KivBool* found) override;
  KivResult GetPropertySet(const std::u16string& name, IKivPropertySet** set) override;
  KivResult RemoveName(const std::u16string& name) override;
  KivResult GetCount(uint32_t* count) override;
  KivResult GetName(uint32_t index, std::u16string* name) override;

  // IKivPersistStorage: the names in the storage's "Properties" stream.
  // Load replaces every name and raises nothing; a damaged stream keeps the
  // names held.
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult InitNew(IKivStorage* storage) override;
  KivResult Load(IKivStorage* storage) override;
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;

 private:
  IKivEventPropertyFactory* Self() { return this; }
  ComPtr<CKeyPropertySet> MakeSet(const std::u16string& name, PropertyList start);
  std::string Serialise() const;

  std::map<std::u16string, ComPtr<CKeyPropertySet>> names_;
  CPropertyDatabaseStore store_;
  bool dirty_ = false;
};

}  // namespace velmar
