// IPersistStorageKivImpl<T>: the storage persistence face of the root, the
// task list, the global constant factory and the quantity-to-colour
// mapping. It makes the checks they share and leaves the work to T:
// InitNew and Load refuse a null storage (E_POINTER) and a second attach
// (E_UNEXPECTED, 0x8000FFFF), then call T::InitNewStorage or
// T::LoadStorage; T::HoldsStorage says whether one is attached.
#pragma once

#include "velmar/persist.h"

namespace velmar {

template <class T>
class IPersistStorageKivImpl : public IKivPersistStorage {
 public:
  KivResult InitNew(IKivStorage* storage) final {
    if (!storage) return E_POINTER;
    if (Self().HoldsStorage()) return E_UNEXPECTED;
    return Self().InitNewStorage(storage);
  }
  KivResult Load(IKivStorage* storage) final {
    if (!storage) return E_POINTER;
    if (Self().HoldsStorage()) return E_UNEXPECTED;
    return Self().LoadStorage(storage);
  }

 private:
  T& Self() { return static_cast<T&>(*this); }
};

}  // namespace velmar
