#include "velmar/enumerator.h"

#include <algorithm>
#include <memory>
#include <new>

namespace velmar {
namespace {

class CEnumUnknown final : public KivObject<IKivEnumUnknown> {
 public:
  using Items = std::vector<ComPtr<IKivUnknown>>;
  CEnumUnknown(std::shared_ptr<const Items> items, size_t at) : items_(std::move(items)), at_(at) {}

  KivResult Next(uint32_t count, IKivUnknown** out, uint32_t* fetched) override {
    if (!out && count > 0) return E_POINTER;
    uint32_t n = 0;
    for (; n < count && at_ < items_->size(); ++n, ++at_) {
      out[n] = (*items_)[at_].Get();
      if (out[n]) out[n]->AddRef();
    }
    if (fetched) *fetched = n;
    return n == count ? S_OK : S_FALSE;
  }
  KivResult Skip(uint32_t count) override {
    const size_t left = items_->size() - at_;
    at_ += std::min<size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  }
  KivResult Reset() override {
    at_ = 0;
    return S_OK;
  }
  KivResult Clone(IKivEnumUnknown** clone) override {
    if (!clone) return E_POINTER;
    return GiveOut(static_cast<IKivEnumUnknown*>(MakeKiv<CEnumUnknown>(items_, at_).Get()), clone);
  }

 private:
  std::shared_ptr<const Items> items_;
  size_t at_;
};

}  // namespace

KivResult KivMakeEnumerator(std::vector<ComPtr<IKivUnknown>> items, IKivUnknown** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  try {
    auto made = MakeKiv<CEnumUnknown>(std::make_shared<const CEnumUnknown::Items>(std::move(items)), 0);
    return GiveOut(made->PrimaryUnknown(), out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace velmar
