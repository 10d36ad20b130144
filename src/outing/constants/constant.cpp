#include "outing/constants/constant.h"

#include <algorithm>
#include <new>

namespace velmar {

namespace {

template <class T>
KivResult MakeBound(const std::shared_ptr<CConstantsCacheBase>& cache, const std::u16string& name, int64_t id,
                    ComPtr<IKivConstant>* constant) {
  auto made = MakeKiv<T>(name, cache, id);
  if (!made->Bind()) return E_INVALIDARG;
  *constant = ComPtr<IKivConstant>(made.Get());
  return S_OK;
}

}  // namespace

KivResult MakeConstant(const std::shared_ptr<CConstantsCacheBase>& cache, const std::u16string& name,
                       ComPtr<IKivConstant>* constant) {
  if (!constant) return E_POINTER;
  *constant = nullptr;
  const ConstantEntry* entry = cache ? cache->Find(name) : nullptr;
  if (!entry) return E_INVALIDARG;
  try {
    if (entry->IsSpreadsheet()) return MakeBound<CExcelConstant>(cache, name, entry->id, constant);
    return MakeBound<CSimpleConstant>(cache, name, entry->id, constant);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace velmar

namespace velmar {

KivResult FindOrMakeConstant(const std::shared_ptr<CConstantsCacheBase>& cache, const std::u16string& name,
                             CConstantBase** slot, IKivConstant** constant) {
  if (!constant) return E_POINTER;
  *constant = nullptr;
  const ConstantEntry* entry = (cache && !name.empty()) ? cache->Find(name) : nullptr;
  if (!entry) return E_INVALIDARG;
  if (slot && *slot) {
    const auto attached = cache->AttachedTo(entry->id);
    if (std::find(attached.begin(), attached.end(), *slot) != attached.end()) {
      return (*slot)->GetConstantObject()->QueryInterface(IKivConstant::iid, reinterpret_cast<void**>(constant));
    }
  }
  ComPtr<IKivConstant> made;
  if (const KivResult r = MakeConstant(cache, name, &made); Failed(r)) return r;
  if (slot) *slot = dynamic_cast<CConstantBase*>(made.Get());
  *constant = made.Detach();
  return S_OK;
}

}  // namespace velmar
