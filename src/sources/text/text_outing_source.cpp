#include "sources/text/text_outing_source.h"

#include <memory>
#include <new>

#include "outing/factory/outing_factory.h"
#include "outing/cache/outing_source.h"
#include "sources/text/ascii_outing.h"

namespace velmar {

using CAsciiOutingSource = COutingSource<CAsciiOuting>;

KivResult RegisterTextOutingSource() {
  if (std::dynamic_pointer_cast<CAsciiOutingSource>(FindOutingSource(OutingType::kText))) return S_FALSE;
  try {
    return RegisterOutingSource(OutingType::kText, std::make_shared<CAsciiOutingSource>());
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult OpenTextOuting(const std::u16string& path, bool create, ComPtr<IKivOuting>* outing) {
  if (!outing) return E_POINTER;
  *outing = nullptr;
  if (KivResult r = RegisterTextOutingSource(); Failed(r)) return r;
  try {
    auto factory = MakeKiv<COutingFactory>();
    Variant paths = MakeTextArray({path});
    OutingList outings;
    KivResult r = factory->CreateEx(ToKivBool(create), ToKivBool(false), kTextOutingTypeId.ToWide(), &paths, &outings);
    if (Failed(r)) return r;
    if (outings.size() != 1 || !outings.front()) return E_FAIL;
    *outing = std::move(outings.front());
    return r;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace velmar
