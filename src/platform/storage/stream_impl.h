// The stream object: an open stream element with its own seek position.
// It writes straight into its storage's view (streams are never
// transacted on their own) and holds that storage alive.
//
// Thread-safety: none (one thread per tree).
#pragma once

#include <memory>

#include "platform/storage/storage_impl.h"
#include "platform/storage/storage_node.h"
#include "velmar/storage.h"

namespace velmar {

// The largest stream a version-3 compound file holds.
inline constexpr uint64_t kMaxStreamSize = 0x7FFFFFFF;

class StreamImpl final : public KivObject<IKivStream> {
 public:
  // Takes the element as open; it is closed again when this object goes.
  static ComPtr<StreamImpl> Open(ComPtr<StorageImpl> parent, std::shared_ptr<StorageNode> node,
                                 uint32_t mode);

  KivResult Read(void* buffer, uint32_t count, uint32_t* read) override;
  KivResult Write(const void* buffer, uint32_t count, uint32_t* written) override;
  KivResult Seek(int64_t move, uint32_t origin, uint64_t* newPosition) override;
  KivResult SetSize(uint64_t size) override;
  KivResult CopyTo(IKivStream* dest, uint64_t count, uint64_t* read, uint64_t* written) override;
  KivResult Commit(uint32_t flags) override;
  KivResult Revert() override;
  KivResult Stat(StatStg* out) override;

 private:
  StreamImpl(ComPtr<StorageImpl> parent, std::weak_ptr<StorageNode> node, uint32_t mode);
  ~StreamImpl() override;
  // The element, or STG_E_REVERTED when its storage dropped it.
  [[nodiscard]] KivResult Node(std::shared_ptr<StorageNode>* out) const;
  bool writable() const;

  ComPtr<StorageImpl> parent_;
  std::weak_ptr<StorageNode> node_;
  uint32_t mode_;
  uint64_t pos_ = 0;
};

}  // namespace velmar
