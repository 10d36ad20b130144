// The channel property database: one property set per channel key (name and
// quantity). A new key's set starts with its colour taken from the
// quantity-to-colour mapping ("Color", "Use default color" true); before a
// key goes, the clients are asked whether its name is still in use.
//
// Client thread only.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "config/key_property_set.h"
#include "config/property_database_store.h"
#include "core/notifications_impl.h"
#include "velmar/persist.h"
#include "velmar/property_factories.h"

namespace velmar {

// The colour a key takes when no mapping gives one.
inline constexpr uint32_t kDefaultChannelColour = 0xFF0000;

class CChannelPropertyFactory final
    : public KivObject<IKivChannelPropertyFactory, IKivPersistStorage,
                       IKivNotificationsImpl<CChannelPropertyFactory, IKivChannelPropertyFactoryNotifications2>> {
 public:
  ~CChannelPropertyFactory() override;

  KivResult HasKey(const std::u16string& name, int32_t quantity, KivBool* found) override;
  KivResult GetPropertySet(const std::u16string& name, int32_t quantity, IKivPropertySet** set) override;
  KivResult RemoveKey(const std::u16string& name, int32_t quantity) override;
  KivResult GetKeyCount(uint32_t* count) override;
  KivResult GetKey(uint32_t index, std::u16string* name, int32_t* quantity) override;
  KivResult Reserved8() override { return E_NOTIMPL; }
  KivResult Reserved9() override { return E_NOTIMPL; }
  KivResult Reserved10() override { return E_NOTIMPL; }
  KivResult Reserved11() override { return E_NOTIMPL; }
  KivResult Reserved12() override { return E_NOTIMPL; }
  KivResult GetQuantityToColorMapping(IKivQuantityToColorMapping** mapping) override;
  KivResult SetQuantityToColorMapping(IKivQuantityToColorMapping* mapping) override;

  // IKivPersistStorage: the keys in the storage's "Properties" stream, each
  // as its name and i32 quantity. Load replaces every key and raises
  // nothing; a damaged stream keeps the keys held.
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult InitNew(IKivStorage* storage) override;
  KivResult Load(IKivStorage* storage) override;
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;

 private:
  using Key = std::pair<std::u16string, int32_t>;
  IKivChannelPropertyFactory* Self() { return this; }
  uint32_t ColourOf(int32_t quantity);
  ComPtr<CKeyPropertySet> MakeSet(const std::u16string& name, int32_t quantity, PropertyList start);
  std::string Serialise() const;
  void Changed() { dirty_ = true; }

  std::map<Key, ComPtr<CKeyPropertySet>> keys_;
  ComPtr<IKivQuantityToColorMapping> mapping_;
  CPropertyDatabaseStore store_;
  bool dirty_ = false;
};

}  // namespace velmar
