#include "core/global_constants_cache.h"

namespace velmar {

KivResult CGlobalConstantsCache::Add(const std::u16string& name, uint32_t kind) {
  if (kind > 1 || name.empty() || Find(name)) return E_INVALIDARG;
  ConstantRecord record;
  record.name = name;
  if (kind == 1) record.text.assign(1, u'|');  // a new definition: no workbook yet
  (void)Insert(record);
  TellOwners(&CConstantsCacheOwner::OnConstantsAdded, {name});
  return S_OK;
}

KivResult CGlobalConstantsCache::Remove(const std::u16string& name) {
  if (!Erase(name)) return E_INVALIDARG;
  TellOwners(&CConstantsCacheOwner::OnConstantsRemoved, {name});
  return S_OK;
}

}  // namespace velmar
