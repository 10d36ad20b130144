// The group database: named groups of channel names.
//
// Client thread only.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "velmar/property_factories.h"

namespace velmar {

class CGroupFactory final
    : public KivObject<IKivGroupFactory, IKivNotificationsImpl<CGroupFactory, IKivGroupFactoryNotifications>> {
 public:
  KivResult GetCount(uint32_t* count) override;
  KivResult GetGroupName(uint32_t index, std::u16string* name) override;
  KivResult AddGroup(const std::u16string& name) override;
  KivResult RemoveGroup(const std::u16string& name) override;
  KivResult GetMembers(const std::u16string& group, std::vector<std::u16string>* channels) override;
  KivResult SetMembers(const std::u16string& group, const std::vector<std::u16string>& channels) override;

 private:
  void Changed(const std::u16string& group);

  std::map<std::u16string, std::vector<std::u16string>> groups_;
};

}  // namespace velmar
