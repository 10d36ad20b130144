// The store's factory object: opens and creates `.trn` files.
//
// Thread-safety: one thread (the store's); see velmar/tarn_store.h.
#pragma once

#include <string>

#include "velmar/tarn_store.h"

namespace velmar::store {

struct StoreOptions {
  // An SQLite VFS registered by name (tests use FaultVfs); empty for the
  // default one.
  std::string vfs;
};

class StoreFactory final : public KivObject<IKivTarnStoreFactory> {
 public:
  explicit StoreFactory(StoreOptions options) : options_(std::move(options)) {}

  KivResult OpenFile(const std::u16string& path, const Guid& iid, void** out) override;
  KivResult GetFileVersion(const std::u16string& path, uint32_t* version) override;
  KivResult CreateFile(const std::u16string& path, const Guid& iid, void** out) override;

 private:
  StoreOptions options_;
};

// A factory whose files go through `options`.
[[nodiscard]] KivResult CreateTarnStoreFactory(const StoreOptions& options, ComPtr<IKivTarnStoreFactory>* out);

}  // namespace velmar::store
