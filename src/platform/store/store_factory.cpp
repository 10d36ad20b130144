#include "platform/store/store_factory.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>

#include "platform/file_ops.h"
#include "platform/store/store_object.h"
#include "platform/store/store_schema.h"
#include "velmar/text.h"

namespace velmar::store {
namespace {

namespace fs = std::filesystem;

// Days since 30 December 1899, the form the details record keeps dates in.
double NowAsDate() {
  using namespace std::chrono;
  double seconds = duration<double>(system_clock::now().time_since_epoch()).count();
  constexpr double kUnixEpochAsDate = 25569.0;
  return kUnixEpochAsDate + seconds / 86400.0;
}

KivResult FromErrno(int error) {
  switch (error) {
    case EEXIST: return STG_E_FILEALREADYEXISTS;
    case ENOENT:
    case ENOTDIR: return STG_E_FILENOTFOUND;
    case EACCES:
    case EPERM:
    case EROFS: return STG_E_ACCESSDENIED;
    case ENOSPC:
    case EDQUOT: return STG_E_MEDIUMFULL;
    default: return STG_E_WRITEFAULT;
  }
}

// Gives `from` the name `to` unless `to` exists.
KivResult RenameNoReplace(const fs::path& from, const fs::path& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return S_OK;
  if (errno != EINVAL && errno != ENOSYS) return FromErrno(errno);
  // A file system without the flag: a hard link fails the same way on an existing name.
  if (link(from.c_str(), to.c_str()) != 0) return FromErrno(errno);
  (void)DefaultFileOps().Remove(from);
  return S_OK;
}

void RemoveWithSideFiles(const fs::path& file) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    std::error_code ec;
    fs::remove(fs::path(file.string() + suffix), ec);
  }
}

KivResult Exists(const fs::path& path, bool* exists) {
  FileStamp stamp;
  if (KivResult r = DefaultFileOps().Stat(path, &stamp); Failed(r)) return r;
  *exists = stamp.exists;
  return S_OK;
}

// Opens the file, checks its format, and wraps it. E_BADFILEVERSION is no
// failure here: the file opens and its reads say so.
KivResult OpenTarnFile(const std::u16string& path, const StoreOptions& options, bool readOnly,
                       std::shared_ptr<TarnFile>* out, int64_t* version) {
  if (path.empty()) return E_INVALIDARG;
  const fs::path file(WideToUtf8(path));
  bool exists = false;
  if (KivResult r = Exists(file, &exists); Failed(r)) return r;
  if (!exists) return STG_E_FILENOTFOUND;
  std::error_code ec;
  if (fs::is_directory(file, ec)) return STG_E_ACCESSDENIED;
  std::unique_ptr<Connection> db;
  if (KivResult r = Connection::Open(file.string(), {.readOnly = readOnly, .vfs = options.vfs}, &db); Failed(r))
    return r;
  db->SetWaitLimit(kDefaultWaitLimit);
  KivResult status = CheckSchema(*db, version);
  if (Failed(status) && status != E_BADFILEVERSION) return status;
  // A file the process can't write opens for reading only.
  readOnly = readOnly || sqlite3_db_readonly(db->handle(), "main") == 1;
  *out = std::make_shared<TarnFile>(std::move(db), path, status, readOnly);
  return S_OK;
}

}  // namespace

KivResult StoreFactory::OpenFile(const std::u16string& path, const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  std::shared_ptr<TarnFile> file;
  int64_t version = 0;
  if (KivResult r = OpenTarnFile(path, options_, false, &file, &version); Failed(r)) return r;
  auto store = MakeKiv<StoreObject>(std::move(file));
  return store->QueryInterface(iid, out);
}

KivResult StoreFactory::GetFileVersion(const std::u16string& path, uint32_t* version) {
  if (!version) return E_POINTER;
  std::shared_ptr<TarnFile> file;
  int64_t found = 0;
  if (KivResult r = OpenTarnFile(path, options_, true, &file, &found); Failed(r)) return r;
  *version = static_cast<uint32_t>(found);
  return S_OK;
}

KivResult StoreFactory::CreateFile(const std::u16string& path, const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (path.empty()) return E_INVALIDARG;
  const fs::path target(WideToUtf8(path));
  bool exists = false;
  if (KivResult r = Exists(target, &exists); Failed(r)) return r;
  if (exists) return STG_E_FILEALREADYEXISTS;
  fs::path folder = target.parent_path().empty() ? fs::path(".") : target.parent_path();
  std::error_code ec;
  if (!fs::is_directory(folder, ec)) return STG_E_FILENOTFOUND;

  // The new file is made whole under a temporary name and then given its
  // own, so no reader (or folder watch) ever sees half a file.
  const fs::path temp = folder / (target.filename().string() + ".creating-" + Guid::New().ToString());
  KivResult r;
  {
    std::unique_ptr<Connection> db;
    r = Connection::Open(temp.string(), {.create = true, .vfs = options_.vfs}, &db);
    if (r == STG_E_FILENOTFOUND) r = STG_E_ACCESSDENIED;
    if (Succeeded(r)) r = CreateSchema(*db, NowAsDate());
  }  // closing folds the log into the file
  if (Succeeded(r)) r = DefaultFileOps().SyncFile(temp);
  if (Succeeded(r)) r = RenameNoReplace(temp, target);
  if (Failed(r)) {
    RemoveWithSideFiles(temp);
    return r;
  }
  (void)DefaultFileOps().SyncDir(folder);
  return OpenFile(path, iid, out);
}

KivResult CreateTarnStoreFactory(const StoreOptions& options, ComPtr<IKivTarnStoreFactory>* out) {
  if (!out) return E_POINTER;
  *out = MakeKiv<StoreFactory>(options);
  return S_OK;
}

}  // namespace velmar::store

namespace velmar {

KivResult CreateTarnStoreFactory(ComPtr<IKivTarnStoreFactory>* out) {
  return store::CreateTarnStoreFactory(store::StoreOptions{}, out);
}

}  // namespace velmar
