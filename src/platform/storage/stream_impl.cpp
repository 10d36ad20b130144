#include "platform/storage/stream_impl.h"

#include <algorithm>
#include <cstring>

namespace velmar {

ComPtr<StreamImpl> StreamImpl::Open(ComPtr<StorageImpl> parent,
                                    std::shared_ptr<StorageNode> node, uint32_t mode) {
  node->open = true;
  return ComPtr<StreamImpl>(new StreamImpl(std::move(parent), node, mode));
}

StreamImpl::StreamImpl(ComPtr<StorageImpl> parent, std::weak_ptr<StorageNode> node,
                       uint32_t mode)
    : parent_(std::move(parent)), node_(std::move(node)), mode_(mode) {}

StreamImpl::~StreamImpl() {
  if (auto node = node_.lock()) node->open = false;
}

KivResult StreamImpl::Node(std::shared_ptr<StorageNode>* out) const {
  *out = node_.lock();
  return *out ? S_OK : STG_E_REVERTED;
}

bool StreamImpl::writable() const { return (mode_ & 3) != STGM_READ; }

KivResult StreamImpl::Read(void* buffer, uint32_t count, uint32_t* read) {
  if (read) *read = 0;
  if (!buffer && count) return E_POINTER;
  std::shared_ptr<StorageNode> node;
  if (KivResult r = Node(&node); Failed(r)) return r;
  const std::string& bytes = node->Bytes();
  uint64_t avail = pos_ < bytes.size() ? bytes.size() - pos_ : 0;
  auto n = static_cast<uint32_t>(std::min<uint64_t>(count, avail));
  if (n) std::memcpy(buffer, bytes.data() + pos_, n);
  pos_ += n;
  if (read) *read = n;
  return n < count ? S_FALSE : S_OK;
}

KivResult StreamImpl::Write(const void* buffer, uint32_t count, uint32_t* written) {
  if (written) *written = 0;
  if (!buffer && count) return E_POINTER;
  std::shared_ptr<StorageNode> node;
  if (KivResult r = Node(&node); Failed(r)) return r;
  if (!writable()) return STG_E_ACCESSDENIED;
  if (count == 0) return S_OK;
  if (pos_ + count > kMaxStreamSize) return STG_E_MEDIUMFULL;
  std::string& bytes = node->MutableBytes();
  if (bytes.size() < pos_ + count) bytes.resize(pos_ + count);  // a gap reads as zeros
  std::memcpy(bytes.data() + pos_, buffer, count);
  pos_ += count;
  if (written) *written = count;
  parent_->NoteChange();
  return S_OK;
}

KivResult StreamImpl::Seek(int64_t move, uint32_t origin, uint64_t* newPosition) {
  std::shared_ptr<StorageNode> node;
  if (KivResult r = Node(&node); Failed(r)) return r;
  int64_t from;
  switch (origin) {
    case STREAM_SEEK_SET: from = 0; break;
    case STREAM_SEEK_CUR: from = static_cast<int64_t>(pos_); break;
    case STREAM_SEEK_END: from = static_cast<int64_t>(node->Bytes().size()); break;
    default: return STG_E_INVALIDFUNCTION;
  }
  int64_t to;
  if (__builtin_add_overflow(from, move, &to) || to < 0) return STG_E_INVALIDFUNCTION;
  pos_ = static_cast<uint64_t>(to);
  if (newPosition) *newPosition = pos_;
  return S_OK;
}

KivResult StreamImpl::SetSize(uint64_t size) {
  std::shared_ptr<StorageNode> node;
  if (KivResult r = Node(&node); Failed(r)) return r;
  if (!writable()) return STG_E_ACCESSDENIED;
  if (size > kMaxStreamSize) return STG_E_MEDIUMFULL;
  if (size == node->Bytes().size()) return S_OK;
  node->MutableBytes().resize(static_cast<size_t>(size));
  parent_->NoteChange();
  return S_OK;
}

KivResult StreamImpl::CopyTo(IKivStream* dest, uint64_t count, uint64_t* read,
                             uint64_t* written) {
  if (read) *read = 0;
  if (written) *written = 0;
  if (!dest) return E_POINTER;
  std::shared_ptr<StorageNode> node;
  if (KivResult r = Node(&node); Failed(r)) return r;
  const std::string& bytes = node->Bytes();
  uint64_t avail = pos_ < bytes.size() ? bytes.size() - pos_ : 0;
  // A copy first: the destination may be this very stream.
  std::string chunk = bytes.substr(static_cast<size_t>(std::min<uint64_t>(pos_, bytes.size())),
                                   static_cast<size_t>(std::min(count, avail)));
  pos_ += chunk.size();
  if (read) *read = chunk.size();
  uint32_t done = 0;
  KivResult r = dest->Write(chunk.data(), static_cast<uint32_t>(chunk.size()), &done);
  if (written) *written = done;
  return Failed(r) ? r : S_OK;
}

KivResult StreamImpl::Commit(uint32_t) {
  std::shared_ptr<StorageNode> node;
  return Node(&node);
}

KivResult StreamImpl::Revert() {
  std::shared_ptr<StorageNode> node;
  return Node(&node);
}

KivResult StreamImpl::Stat(StatStg* out) {
  if (!out) return E_POINTER;
  std::shared_ptr<StorageNode> node;
  if (KivResult r = Node(&node); Failed(r)) return r;
  *out = StatStg{node->name, STGTY_STREAM, node->Bytes().size(), mode_, GUID_NULL};
  return S_OK;
}

}  // namespace velmar
