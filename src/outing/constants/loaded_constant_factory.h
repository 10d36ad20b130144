// CLoadedConstantFactory: the constant factory of a source whose constants
// come with a load (a file read whole, a store's constant list). At every
// load the records are merged into the factory's own constants cache: the
// objects of names that went hear of it, new names enter the list. Nothing
// is written back from here.
//
// Client thread only.
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "core/constants_cache_base.h"
#include "outing/constants/constant_factory.h"

namespace velmar {

// The values behind a loaded source's constant objects; ids are this cache's.
class CLoadedConstantsCache : public CConstantsCacheBase {
 public:
  CLoadedConstantsCache() = default;
};

template <class Factory = IKivConstantFactory>
class CLoadedConstantFactory : public COutingConstantFactoryBase<Factory> {
 public:
  // Merges the loaded constants into the values; the names that went and
  // came. Nothing while the source has nothing loaded.
  NameChanges Reload() {
    std::vector<ConstantRecord> records;
    if (!LoadedRecords(&records)) return {};
    values_->Merge(records);
    merged_ = true;
    const ConstantNames names = values_->GetNames();
    NameList gone;
    for (const auto& entry : this->items()) {
      if (!std::binary_search(names.begin(), names.end(), entry.first)) gone.push_back(entry.first);
    }
    NameChanges changes;
    changes.removed = this->RemoveItems(gone);
    changes.added = this->AddNames(names);
    return changes;
  }

  // The data went: every value and every name goes; the names that went.
  NameList Discard() {
    values_->Merge({});  // each object still out hears that its constant went
    merged_ = false;
    return this->RemoveAllItems();
  }

  const std::shared_ptr<CLoadedConstantsCache>& values() const { return values_; }

 protected:
  // The source's loaded constants; false while it has none loaded (a
  // source may start its load here).
  virtual bool LoadedRecords(std::vector<ConstantRecord>* records) = 0;

  // A source that writes back puts its own values in place, before any load.
  void UseValues(std::shared_ptr<CLoadedConstantsCache> values) {
    values_ = std::move(values);
    merged_ = false;
  }

  std::shared_ptr<CConstantsCacheBase> ConstantsCache() override {
    if (!merged_) (void)Reload();
    if (!merged_) return nullptr;
    return values_;
  }

 private:
  std::shared_ptr<CLoadedConstantsCache> values_ = std::make_shared<CLoadedConstantsCache>();
  bool merged_ = false;  // the values hold the current load
};

}  // namespace velmar
