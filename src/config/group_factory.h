// The group database: named groups of channel names. It keeps itself in
// one stream of the settings file ("Groups"): u32 version 1, u32 group
// count, then per group in name order its name, u32 member count and the
// member names, as texts of core/stream_values.h.
//
// Client thread only.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "velmar/persist.h"
#include "velmar/property_factories.h"

namespace velmar {

class CGroupFactory final
    : public KivObject<IKivGroupFactory, IKivPersistStream,
                       IKivNotificationsImpl<CGroupFactory, IKivGroupFactoryNotifications>> {
 public:
  static constexpr uint32_t kStreamVersion = 1;

  KivResult GetCount(uint32_t* count) override;
  KivResult GetGroupName(uint32_t index, std::u16string* name) override;
  KivResult AddGroup(const std::u16string& name) override;
  KivResult RemoveGroup(const std::u16string& name) override;
  KivResult GetMembers(const std::u16string& group, std::vector<std::u16string>* channels) override;
  KivResult SetMembers(const std::u16string& group, const std::vector<std::u16string>& channels) override;

  // IKivPersistStream. Load reads from the current position and replaces
  // every group, raising nothing; a damaged stream (a newer version, a short
  // read, an empty or repeated group name) gives E_FAIL or the stream's code
  // and keeps the groups held. InitNew empties the database.
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult Load(IKivStream* stream) override;
  KivResult Save(IKivStream* stream, KivBool clearDirty) override;
  KivResult GetSizeMax(uint64_t* size) override;
  KivResult InitNew() override;

 private:
  using Groups = std::map<std::u16string, std::vector<std::u16string>>;

  void Changed(const std::u16string& group);

  Groups groups_;
  bool dirty_ = false;
};

}  // namespace velmar
