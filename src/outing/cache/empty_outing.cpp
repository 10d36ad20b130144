#include "outing/cache/empty_outing.h"

#include <utility>

#include "outing/cache/temp_file.h"

namespace velmar {

CEmptyOutingCache::CEmptyOutingCache(std::u16string path, const Guid& outingId)
    : COutingCacheBase(OutingType::kEmpty, std::move(path), outingId) {}

bool CEmptyOutingCache::CreateDataSet() {
  (void)CanCreateDataSetIn(path());
  return false;
}

CEmptyOuting::CEmptyOuting(ComPtr<CEmptyOutingCache> cache, bool overrideProperties)
    : COutingOnCache(std::move(cache), overrideProperties) {}

KivResult CEmptyOuting::OutingInformation(IKivPropertySet**) { return S_FALSE; }

KivResult CEmptyOuting::CloseOutingData() { return S_FALSE; }

KivResult CEmptyOuting::ApplyTimeOffset(KivTime) { return S_FALSE; }

KivResult OpenEmptyOuting(const std::u16string& path, const Guid& outingId, bool overrideProperties,
                          IKivOuting** outing) {
  if (!outing) return E_POINTER;
  *outing = nullptr;
  ComPtr<CEmptyOuting> opened;
  KivResult r = OpenOutingOnCache<CEmptyOuting>(
      path, overrideProperties, [&] { return MakeKiv<CEmptyOutingCache>(path, outingId); }, &opened);
  if (Failed(r)) return r;
  *outing = opened.Detach();
  return S_OK;
}

}  // namespace velmar
