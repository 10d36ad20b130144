#include "platform/storage/storage_impl.h"

#include "platform/storage/storage_copy.h"
#include "platform/storage/stream_impl.h"

namespace velmar {
namespace {

constexpr uint32_t kAccessMask = 3;

bool WantsWrite(uint32_t mode) { return (mode & kAccessMask) != STGM_READ; }

KivResult CheckMode(uint32_t mode, bool stream) {
  if ((mode & kAccessMask) == kAccessMask) return STG_E_INVALIDFLAG;
  if (stream && (mode & STGM_TRANSACTED)) return STG_E_INVALIDFLAG;  // streams are never transacted
  return S_OK;
}

}  // namespace

ComPtr<StorageImpl> StorageImpl::NewRoot(std::shared_ptr<StorageNode> tree, uint32_t mode,
                                         std::unique_ptr<RootBacking> backing) {
  ComPtr<StorageImpl> root(new StorageImpl(nullptr, {}, mode));
  if (root->transacted()) root->own_ = tree->Clone();
  root->committed_ = std::move(tree);
  root->backing_ = std::move(backing);
  return root;
}

StorageImpl::StorageImpl(ComPtr<StorageImpl> parent, std::weak_ptr<StorageNode> base,
                         uint32_t mode)
    : parent_(std::move(parent)), base_(std::move(base)), mode_(mode) {}

StorageImpl::~StorageImpl() {
  if (is_root()) {
    // A direct root has no later chance to reach its file.
    if (!transacted() && dirty_ && writable() && backing_) (void)backing_->Save(*committed_);
    return;
  }
  if (auto base = base_.lock()) base->open = false;
}

bool StorageImpl::transacted() const { return (mode_ & STGM_TRANSACTED) != 0; }
bool StorageImpl::writable() const { return WantsWrite(mode_); }

std::shared_ptr<StorageNode> StorageImpl::Base() const {
  return is_root() ? committed_ : base_.lock();
}

KivResult StorageImpl::View(std::shared_ptr<StorageNode>* out) const {
  std::shared_ptr<StorageNode> base = Base();
  if (!base) return STG_E_REVERTED;
  *out = transacted() ? own_ : std::move(base);
  return S_OK;
}

void StorageImpl::NoteChange() {
  StorageImpl* s = this;
  while (s->parent_) s = s->parent_.Get();
  s->dirty_ = true;
}

KivResult StorageImpl::Prepare(std::u16string_view name, uint32_t mode, bool create,
                               std::shared_ptr<StorageNode>* work) const {
  if (KivResult r = CheckElementName(name); Failed(r)) return r;
  if (KivResult r = View(work); Failed(r)) return r;
  if ((create || WantsWrite(mode)) && !writable()) return STG_E_ACCESSDENIED;
  return S_OK;
}

KivResult StorageImpl::FindClosed(const StorageNode& work, std::u16string_view name, bool storage,
                                  std::shared_ptr<StorageNode>* out) const {
  std::shared_ptr<StorageNode> node = work.Find(name);
  if (!node || node->is_storage != storage) return STG_E_FILENOTFOUND;
  if (node->open) return STG_E_ACCESSDENIED;
  *out = std::move(node);
  return S_OK;
}

KivResult StorageImpl::AddNew(StorageNode& work, std::shared_ptr<StorageNode> node,
                              uint32_t mode) {
  if (std::shared_ptr<StorageNode> existing = work.Find(node->name)) {
    if (!(mode & STGM_CREATE)) return STG_E_FILEALREADYEXISTS;
    if (existing->open) return STG_E_ACCESSDENIED;
    work.Remove(node->name);
  }
  work.Add(std::move(node));
  NoteChange();
  return S_OK;
}

KivResult StorageImpl::GiveStream(std::shared_ptr<StorageNode> node, uint32_t mode,
                                  IKivStream** out) {
  ComPtr<StreamImpl> stream = StreamImpl::Open(ComPtr<StorageImpl>(this), std::move(node), mode);
  *out = stream.Detach();
  return S_OK;
}

KivResult StorageImpl::GiveStorage(std::shared_ptr<StorageNode> node, uint32_t mode,
                                   IKivStorage** out) {
  ComPtr<StorageImpl> child(new StorageImpl(ComPtr<StorageImpl>(this), node, mode));
  if (child->transacted()) child->own_ = node->Clone();
  node->open = true;
  *out = child.Detach();
  return S_OK;
}

KivResult StorageImpl::MakeElement(std::u16string_view name, uint32_t mode, bool storage,
                                   std::shared_ptr<StorageNode>* node) {
  std::shared_ptr<StorageNode> work;
  if (KivResult r = CheckMode(mode, !storage); Failed(r)) return r;
  if (KivResult r = Prepare(name, mode, true, &work); Failed(r)) return r;
  *node = storage ? StorageNode::NewStorage(name) : StorageNode::NewStream(name);
  return AddNew(*work, *node, mode);
}

KivResult StorageImpl::FindElement(std::u16string_view name, uint32_t mode, bool storage,
                                   std::shared_ptr<StorageNode>* node) const {
  std::shared_ptr<StorageNode> work;
  if (KivResult r = CheckMode(mode, !storage); Failed(r)) return r;
  if (KivResult r = Prepare(name, mode, false, &work); Failed(r)) return r;
  return FindClosed(*work, name, storage, node);
}

KivResult StorageImpl::CreateStream(std::u16string_view name, uint32_t mode, IKivStream** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  std::shared_ptr<StorageNode> node;
  if (KivResult r = MakeElement(name, mode, false, &node); Failed(r)) return r;
  return GiveStream(std::move(node), mode, out);
}

KivResult StorageImpl::OpenStream(std::u16string_view name, uint32_t mode, IKivStream** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  std::shared_ptr<StorageNode> node;
  if (KivResult r = FindElement(name, mode, false, &node); Failed(r)) return r;
  return GiveStream(std::move(node), mode, out);
}

KivResult StorageImpl::CreateStorage(std::u16string_view name, uint32_t mode,
                                     IKivStorage** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  std::shared_ptr<StorageNode> node;
  if (KivResult r = MakeElement(name, mode, true, &node); Failed(r)) return r;
  return GiveStorage(std::move(node), mode, out);
}

KivResult StorageImpl::OpenStorage(std::u16string_view name, uint32_t mode, IKivStorage** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  std::shared_ptr<StorageNode> node;
  if (KivResult r = FindElement(name, mode, true, &node); Failed(r)) return r;
  return GiveStorage(std::move(node), mode, out);
}

KivResult StorageImpl::CopyTo(IKivStorage* dest) {
  if (!dest) return E_POINTER;
  std::shared_ptr<StorageNode> work;
  if (KivResult r = View(&work); Failed(r)) return r;
  // A snapshot, so that copying into a storage below this one ends.
  return CopyContents(*work->Clone(), dest);
}

KivResult StorageImpl::MoveElementTo(std::u16string_view name, IKivStorage* dest,
                                     std::u16string_view newName, uint32_t flags) {
  if (!dest) return E_POINTER;
  if (flags != STGMOVE_MOVE && flags != STGMOVE_COPY) return STG_E_INVALIDFLAG;
  if (KivResult r = CheckElementName(newName); Failed(r)) return r;
  std::shared_ptr<StorageNode> work;
  if (KivResult r = View(&work); Failed(r)) return r;
  std::shared_ptr<StorageNode> src = work->Find(name);
  if (!src) return STG_E_FILENOTFOUND;
  if (flags == STGMOVE_MOVE) {
    if (!writable()) return STG_E_ACCESSDENIED;
    // An open element may hold changes of its own that a move would lose.
    if (src->open) return STG_E_ACCESSDENIED;
  }
  if (KivResult r = CopyElement(*src->Clone(), dest, newName); Failed(r)) return r;
  if (flags == STGMOVE_MOVE && work->Find(name) == src) {
    work->Remove(name);
    NoteChange();
  }
  return S_OK;
}

KivResult StorageImpl::Commit(uint32_t) {
  std::shared_ptr<StorageNode> base = Base();
  if (!base) return STG_E_REVERTED;
  if (!writable()) return S_OK;  // nothing can have changed
  std::shared_ptr<StorageNode> work = transacted() ? own_ : base;
  if (is_root()) {
    if (backing_) {
      if (KivResult r = backing_->Save(*work); Failed(r)) return r;
    }
    if (transacted()) committed_ = own_->Clone();
    dirty_ = false;
    return S_OK;
  }
  if (transacted()) {
    base->AssignContents(*own_);
    NoteChange();
  }
  return S_OK;
}

KivResult StorageImpl::Revert() {
  std::shared_ptr<StorageNode> base = Base();
  if (!base) return STG_E_REVERTED;
  // Dropping the working copy reverts everything opened from it.
  if (transacted()) own_ = base->Clone();
  return S_OK;
}

KivResult StorageImpl::EnumElements(std::vector<StatStg>* out) {
  if (!out) return E_POINTER;
  std::shared_ptr<StorageNode> work;
  if (KivResult r = View(&work); Failed(r)) return r;
  out->clear();
  for (const StorageNode* c : work->Ordered()) {
    out->push_back(StatStg{c->name, c->is_storage ? STGTY_STORAGE : STGTY_STREAM,
                           c->is_storage ? 0 : c->Bytes().size(), 0, c->clsid});
  }
  return S_OK;
}

KivResult StorageImpl::DestroyElement(std::u16string_view name) {
  std::shared_ptr<StorageNode> work;
  if (KivResult r = View(&work); Failed(r)) return r;
  if (!writable()) return STG_E_ACCESSDENIED;
  // An open object on it is reverted: its node goes with the tree.
  if (!work->Remove(name)) return STG_E_FILENOTFOUND;
  NoteChange();
  return S_OK;
}

KivResult StorageImpl::RenameElement(std::u16string_view oldName, std::u16string_view newName) {
  if (KivResult r = CheckElementName(newName); Failed(r)) return r;
  std::shared_ptr<StorageNode> work;
  if (KivResult r = View(&work); Failed(r)) return r;
  if (!writable()) return STG_E_ACCESSDENIED;
  std::shared_ptr<StorageNode> src = work->Find(oldName);
  if (!src) return STG_E_FILENOTFOUND;
  std::shared_ptr<StorageNode> other = work->Find(newName);
  if (other && other != src) return STG_E_FILEALREADYEXISTS;
  work->Rename(src, newName);
  NoteChange();
  return S_OK;
}

KivResult StorageImpl::SetClass(const Guid& clsid) {
  std::shared_ptr<StorageNode> work;
  if (KivResult r = View(&work); Failed(r)) return r;
  if (!writable()) return STG_E_ACCESSDENIED;
  if (work->clsid == clsid) return S_OK;
  work->clsid = clsid;
  NoteChange();
  return S_OK;
}

KivResult StorageImpl::Stat(StatStg* out) {
  if (!out) return E_POINTER;
  std::shared_ptr<StorageNode> work;
  if (KivResult r = View(&work); Failed(r)) return r;
  std::u16string name = is_root() ? (backing_ ? backing_->Name() : std::u16string()) : Base()->name;
  *out = StatStg{std::move(name), STGTY_STORAGE, 0, mode_, work->clsid};
  return S_OK;
}

}  // namespace velmar
