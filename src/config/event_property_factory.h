// The event property database: one property set per event name, made on
// first demand with "Priority" 0. Before a name goes, the clients are asked
// whether it is still in use.
//
// Client thread only.
#pragma once

#include <map>
#include <string>

#include "config/key_property_set.h"
#include "core/notifications_impl.h"
#include "velmar/property_factories.h"

namespace velmar {

class CEventPropertyFactory final
    : public KivObject<IKivEventPropertyFactory,
                       IKivNotificationsImpl<CEventPropertyFactory, IKivEventPropertyFactoryNotifications>> {
 public:
  ~CEventPropertyFactory() override;

  KivResult HasName(const std::u16string& name, KivBool* found) override;
  KivResult GetPropertySet(const std::u16string& name, IKivPropertySet** set) override;
  KivResult RemoveName(const std::u16string& name) override;
  KivResult GetCount(uint32_t* count) override;
  KivResult GetName(uint32_t index, std::u16string* name) override;

 private:
  IKivEventPropertyFactory* Self() { return this; }

  std::map<std::u16string, ComPtr<CKeyPropertySet>> names_;
};

}  // namespace velmar
