// CSelectionInputs<SelectionFactory>: what a data factory add-in made for
// one selection computes from. It lists and hands out the items of the
// selection's sources ahead of the add-in's own (the outing's, the host's,
// the add-ins before it), so an add-in that asks for names never reaches
// itself. It holds the selection's factory as a plain pointer, which the
// selection clears when it closes; it then lists nothing.
//
// Client thread only.
#pragma once

#include <string>

#include "velmar/data_factory.h"

namespace velmar {

template <class SelectionFactory>
class CSelectionInputs final : public KivObject<typename SelectionFactory::FactoryFace> {
 public:
  using Factory = typename SelectionFactory::FactoryFace;
  using Data = typename SelectionFactory::Data;

  explicit CSelectionInputs(SelectionFactory* of) : of_(of) {}
  // The add-in's face of this kind, once it is made; none reads every source.
  void SetStop(Factory* stop) { stop_ = stop; }
  void Forget() { of_ = nullptr; }

  KivResult GetNames(NameList* names) override {
    if (!names) return E_POINTER;
    names->clear();
    if (!of_) return E_FAIL;
    *names = of_->NamesBefore(stop_);
    return S_OK;
  }
  KivResult GetItem(const std::u16string& name, Data** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    if (!of_) return E_FAIL;
    ComPtr<Data> real = of_->FindRealBefore(name, stop_);
    if (!real) return E_INVALIDARG;
    *item = real.Detach();
    return S_OK;
  }
  // The inputs belong to their selection: no parent or root to set.
  KivResult GetParent(IKivUnknown** parent) override { return Nothing(parent); }
  KivResult SetParent(IKivUnknown*) override { return E_INVALIDARG; }
  KivResult GetRoot(IKivUnknown** root) override { return Nothing(root); }
  KivResult SetRoot(IKivUnknown*) override { return E_UNEXPECTED; }
  KivResult GetIcon(int32_t, int32_t, IKivUnknown** picture) override { return Nothing(picture); }

 private:
  static KivResult Nothing(IKivUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_UNEXPECTED;
  }

  SelectionFactory* of_;
  Factory* stop_ = nullptr;
};

}  // namespace velmar
