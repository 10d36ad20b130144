// COutingConstantFactoryBase: the constant factory facet of an outing
// (see outing_data_factory.h), over the constants cache of the outing's
// source. Names come from the cache on first use; an object per name is made
// on first demand and handed out again while a client holds it.
//
// The source supplies its cache (null while its list can't be had) and, for
// a source that writes constants back, the add and the remove.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "outing/constants/constant.h"
#include "outing/factory/outing_data_factory.h"
#include "velmar/constants.h"

namespace velmar {

template <class Factory = IKivConstantFactory>
class COutingConstantFactoryBase : public COutingDataFactory<CConstantBase*, Factory> {
 public:
  // GetConstant: E_INVALIDARG for an empty or unknown name, or while the
  // list can't be had.
  KivResult GetItem(const std::u16string& name, IKivConstant** constant) override {
    if (!constant) return E_POINTER;
    *constant = nullptr;
    if (!this->listed()) FillNames();
    auto it = this->items().find(name);
    if (name.empty() || it == this->items().end()) return E_INVALIDARG;
    return FindOrMakeConstant(ConstantsCache(), name, &it->second, constant);
  }

  // E_INVALIDARG for a kind above 1; E_FAIL while the list can't be had.
  [[nodiscard]] KivResult AddConstantByName(const std::u16string& name, uint32_t kind) {
    if (kind > kSpreadsheetConstant) return E_INVALIDARG;
    if (!this->listed()) FillNames();
    if (!this->listed()) return E_FAIL;
    return WriteAddedConstant(name, kind);
  }
  // E_INVALIDARG for an unknown name.
  [[nodiscard]] KivResult RemoveConstantByName(const std::u16string& name) {
    if (!this->listed()) FillNames();
    if (!this->items().contains(name)) return E_INVALIDARG;
    return WriteRemovedConstant(name);
  }

 protected:
  // The cache of the outing's constants; null while it has none to show.
  virtual std::shared_ptr<CConstantsCacheBase> ConstantsCache() = 0;
  // Takes an add or a remove to the source's write-back; a source that
  // can't write refuses with E_FAIL.
  [[nodiscard]] virtual KivResult WriteAddedConstant(const std::u16string& name, uint32_t kind) {
    (void)name;
    (void)kind;
    return E_FAIL;
  }
  [[nodiscard]] virtual KivResult WriteRemovedConstant(const std::u16string& name) {
    (void)name;
    return E_FAIL;
  }

  void FillNames() override {
    if (auto cache = ConstantsCache()) (void)this->AddNames(cache->GetNames());
  }
};

}  // namespace velmar
