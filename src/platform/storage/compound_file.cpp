#include "platform/storage/compound_file.h"

#include "platform/storage/cfb_codec.h"
#include "platform/storage/storage_impl.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// A root whose commits replace a file atomically.
class FileBacking : public RootBacking {
 public:
  FileBacking(FileOps& ops, std::filesystem::path file) : ops_(ops), file_(std::move(file)) {}

  KivResult Save(const StorageNode& tree) override {
    std::string bytes;
    if (KivResult r = SerializeCompoundFile(tree, &bytes); Failed(r)) return r;
    return ReplaceFileAtomically(ops_, file_, bytes);
  }
  std::u16string Name() const override { return Utf8ToWide(file_.string()); }

 private:
  FileOps& ops_;
  const std::filesystem::path file_;
};

KivResult GiveRoot(std::shared_ptr<StorageNode> tree, uint32_t mode,
                   std::unique_ptr<RootBacking> backing, IKivStorage** out) {
  ComPtr<StorageImpl> root = StorageImpl::NewRoot(std::move(tree), mode, std::move(backing));
  *out = root.Detach();
  return S_OK;
}

KivResult CheckRootMode(uint32_t mode) {
  return (mode & 3) == 3 ? STG_E_INVALIDFLAG : S_OK;
}

}  // namespace

KivResult CreateCompoundFile(FileOps& ops, const std::filesystem::path& file, uint32_t mode,
                             IKivStorage** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (file.empty()) return STG_E_INVALIDNAME;
  if (KivResult r = CheckRootMode(mode); Failed(r)) return r;
  if ((mode & 3) == STGM_READ) return STG_E_INVALIDFLAG;  // a new file must be writable
  FileStamp st;
  if (KivResult r = ops.Stat(file, &st); Failed(r)) return r;
  if (st.exists && !(mode & STGM_CREATE)) return STG_E_FILEALREADYEXISTS;
  auto tree = StorageNode::NewStorage(u"Root Entry");
  auto backing = std::make_unique<FileBacking>(ops, file);
  // A new file exists from the start; an old one stays until the first commit.
  if (!st.exists) {
    if (KivResult r = backing->Save(*tree); Failed(r)) return r;
  }
  return GiveRoot(std::move(tree), mode, std::move(backing), out);
}

KivResult OpenCompoundFile(FileOps& ops, const std::filesystem::path& file, uint32_t mode,
                           IKivStorage** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (file.empty()) return STG_E_INVALIDNAME;
  if (KivResult r = CheckRootMode(mode); Failed(r)) return r;
  std::string bytes;
  if (KivResult r = ops.ReadAll(file, &bytes); Failed(r)) return r;
  std::shared_ptr<StorageNode> tree;
  if (KivResult r = ParseCompoundFile(bytes, &tree); Failed(r)) return r;
  return GiveRoot(std::move(tree), mode, std::make_unique<FileBacking>(ops, file), out);
}

KivResult StgCreateDocfile(const std::filesystem::path& file, uint32_t mode, IKivStorage** out) {
  return CreateCompoundFile(DefaultFileOps(), file, mode, out);
}

KivResult StgOpenStorage(const std::filesystem::path& file, uint32_t mode, IKivStorage** out) {
  return OpenCompoundFile(DefaultFileOps(), file, mode, out);
}

KivResult StgIsStorageFile(const std::filesystem::path& file) {
  std::string bytes;
  if (KivResult r = DefaultFileOps().ReadAll(file, &bytes); Failed(r)) return r;
  return HasCompoundFileSignature(bytes) ? S_OK : S_FALSE;
}

KivResult StgCreateMemoryStorage(IKivStorage** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  return GiveRoot(StorageNode::NewStorage(u"Root Entry"), STGM_READWRITE | STGM_TRANSACTED,
                  nullptr, out);
}

KivResult StgOpenMemoryStorage(std::string_view bytes, uint32_t mode, IKivStorage** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (KivResult r = CheckRootMode(mode); Failed(r)) return r;
  std::shared_ptr<StorageNode> tree;
  if (KivResult r = ParseCompoundFile(bytes, &tree); Failed(r)) return r;
  return GiveRoot(std::move(tree), mode, nullptr, out);
}

KivResult StgSaveToBytes(IKivStorage* storage, std::string* out) {
  if (!storage || !out) return E_POINTER;
  auto* impl = dynamic_cast<StorageImpl*>(storage);
  if (!impl) return E_INVALIDARG;
  std::shared_ptr<StorageNode> view;
  if (KivResult r = impl->View(&view); Failed(r)) return r;
  return SerializeCompoundFile(*view, out);
}

KivResult ReadClassStg(IKivStorage* storage, Guid* out) {
  if (!storage || !out) return E_POINTER;
  StatStg st;
  if (KivResult r = storage->Stat(&st); Failed(r)) return r;
  *out = st.clsid;
  return S_OK;
}

KivResult WriteClassStg(IKivStorage* storage, const Guid& clsid) {
  if (!storage) return E_POINTER;
  return storage->SetClass(clsid);
}

}  // namespace velmar
