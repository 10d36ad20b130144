// What all roots of a process share: the fan-out of state changes
// (CVelmarObjGlobalStateChanges), the global constants cache, the common
// channels store, the count of live roots and the mandatory data factories.
//
// The first root to join makes nobody's state; the stores exist from the
// first use and the last root out empties them, so a process that opens a
// new root starts afresh. Client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/common_channels_store.h"
#include "core/data_factory_record.h"
#include "core/global_constants_cache.h"
#include "velmar/result.h"

namespace velmar {

// A root as the fan-out reaches it.
class CVelmarObjStateChanges {
 public:
  // Makes the wanted list of data factories this root's active list.
  [[nodiscard]] virtual KivResult ApplyDataFactoryList(const DataFactoryRecords& wanted) = 0;
  // CCommonChannelChanges: the shared store changed.
  virtual void OnCommonChannelsChanged() = 0;

 protected:
  ~CVelmarObjStateChanges() = default;
};

struct VelmarSharedStores {
  std::shared_ptr<CGlobalConstantsCache> constants;
  std::shared_ptr<CCommonChannelsStore> commonChannels;
};

class CVelmarObjGlobalStateChanges : private CCommonChannelsStore::Parent {
 public:
  static CVelmarObjGlobalStateChanges& Process();

  CVelmarObjGlobalStateChanges();
  CVelmarObjGlobalStateChanges(const CVelmarObjGlobalStateChanges&) = delete;
  CVelmarObjGlobalStateChanges& operator=(const CVelmarObjGlobalStateChanges&) = delete;

  // Adds a root and gives it the shared stores.
  VelmarSharedStores Join(CVelmarObjStateChanges* root);
  // Takes a root out; S_FALSE when it was not in. The last root out empties
  // the constants cache and resets the common channels store.
  KivResult Leave(CVelmarObjStateChanges* root);
  bool Contains(const CVelmarObjStateChanges* root) const;
  size_t RootCount() const { return roots_.size(); }

  // Applies a wanted list to every root, in the order they joined. The
  // first failure, else S_OK.
  [[nodiscard]] KivResult ApplyDataFactoryList(const DataFactoryRecords& wanted);

  const VelmarSharedStores& Stores() const { return stores_; }

 private:
  // CVelmarObjCommonChannelsStateChanges: tells every root.
  void CommonChannelsChanged() override;

  std::vector<CVelmarObjStateChanges*> roots_;
  VelmarSharedStores stores_;
};

// Roots alive in this process: raised at construction, lowered at destruction.
uint32_t LiveVelmarRootCount();
void AddLiveVelmarRoot();
void ReleaseLiveVelmarRoot();

// The data factories every root runs and none can remove: the native
// classes and managed tools of the library, less those the branding module
// excludes. Built once, at the first call or by BuildMandatoryDataFactories.
const DataFactoryRecords& MandatoryDataFactories();
// (Re)builds the list with the branding now in force; the module frame calls
// it when the module loads.
void BuildMandatoryDataFactories();
bool IsMandatoryDataFactory(const DataFactoryRecord& record);

}  // namespace velmar
