#include "platform/file_ops.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace velmar {
namespace {

KivResult FromErrno(int err, KivResult otherwise) {
  switch (err) {
    case ENOENT: return otherwise == STG_E_READFAULT ? STG_E_FILENOTFOUND : STG_E_PATHNOTFOUND;
    case ENOTDIR: return STG_E_PATHNOTFOUND;
    case EACCES:
    case EPERM:
    case EROFS: return STG_E_ACCESSDENIED;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return STG_E_MEDIUMFULL;
    case ENOMEM: return E_OUTOFMEMORY;
    default: return otherwise;
  }
}

// Closes a descriptor when it goes out of scope.
class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() { if (fd_ >= 0) ::close(fd_); }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }
  bool ok() const { return fd_ >= 0; }
  // Closes now and reports whether the close worked (a late write error shows here).
  bool Close() { int fd = fd_; fd_ = -1; return ::close(fd) == 0; }

 private:
  int fd_;
};

int OpenRetrying(const char* path, int flags, mode_t mode = 0) {
  int fd;
  do {
    fd = ::open(path, flags | O_CLOEXEC, mode);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

class PosixLock : public FileLock {
 public:
  explicit PosixLock(int fd) : fd_(fd) {}
  ~PosixLock() override {
    ::flock(fd_.get(), LOCK_UN);
  }

 private:
  Fd fd_;
};

class PosixFileOps : public FileOps {
 public:
  KivResult ReadAll(const std::filesystem::path& file, std::string* out) override {
    if (!out) return E_POINTER;
    Fd fd(OpenRetrying(file.c_str(), O_RDONLY));
    if (!fd.ok()) return FromErrno(errno, STG_E_READFAULT);
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0) return FromErrno(errno, STG_E_READFAULT);
    if (S_ISDIR(st.st_mode)) return STG_E_ACCESSDENIED;
    std::string bytes;
    bytes.reserve(static_cast<size_t>(st.st_size));
    char buf[65536];
    for (;;) {
      ssize_t n = ::read(fd.get(), buf, sizeof buf);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return FromErrno(errno, STG_E_READFAULT);
      if (n == 0) break;
      bytes.append(buf, static_cast<size_t>(n));
    }
    *out = std::move(bytes);
    return S_OK;
  }

  KivResult WriteNew(const std::filesystem::path& file, std::string_view bytes) override {
    Fd fd(OpenRetrying(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644));
    if (!fd.ok()) return FromErrno(errno, STG_E_WRITEFAULT);
    while (!bytes.empty()) {
      ssize_t n = ::write(fd.get(), bytes.data(), bytes.size());
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return FromErrno(errno, STG_E_WRITEFAULT);
      bytes.remove_prefix(static_cast<size_t>(n));
    }
    if (!fd.Close()) return FromErrno(errno, STG_E_WRITEFAULT);
    return S_OK;
  }

  KivResult SyncFile(const std::filesystem::path& file) override {
    return SyncPath(file, O_WRONLY);
  }

  KivResult Rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
    if (::rename(from.c_str(), to.c_str()) != 0) return FromErrno(errno, STG_E_WRITEFAULT);
    return S_OK;
  }

  KivResult SyncDir(const std::filesystem::path& dir) override {
    return SyncPath(dir.empty() ? std::filesystem::path(".") : dir, O_RDONLY | O_DIRECTORY);
  }

  KivResult Remove(const std::filesystem::path& file) override {
    if (::unlink(file.c_str()) != 0) return FromErrno(errno, STG_E_WRITEFAULT);
    return S_OK;
  }

  KivResult Stat(const std::filesystem::path& file, FileStamp* out) override {
    if (!out) return E_POINTER;
    struct stat st {};
    *out = FileStamp{};
    if (::stat(file.c_str(), &st) != 0) {
      if (errno == ENOENT || errno == ENOTDIR) return S_OK;
      return FromErrno(errno, STG_E_READFAULT);
    }
    out->exists = true;
    out->size = static_cast<uint64_t>(st.st_size);
    out->mtime_ns = int64_t{st.st_mtim.tv_sec} * 1000000000 + st.st_mtim.tv_nsec;
    out->inode = static_cast<uint64_t>(st.st_ino);
    return S_OK;
  }

  KivResult CreateDirs(const std::filesystem::path& dir) override {
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec) return FromErrno(ec.value(), STG_E_WRITEFAULT);
    return S_OK;
  }

  KivResult LockExclusive(const std::filesystem::path& lockFile,
                          std::unique_ptr<FileLock>* out) override {
    if (!out) return E_POINTER;
    int raw = OpenRetrying(lockFile.c_str(), O_RDWR | O_CREAT, 0644);
    if (raw < 0) return FromErrno(errno, STG_E_WRITEFAULT);
    int rc;
    do {
      rc = ::flock(raw, LOCK_EX);
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) {
      int err = errno;
      ::close(raw);
      return FromErrno(err, STG_E_WRITEFAULT);
    }
    *out = std::make_unique<PosixLock>(raw);
    return S_OK;
  }

 private:
  static KivResult SyncPath(const std::filesystem::path& p, int flags) {
    Fd fd(OpenRetrying(p.c_str(), flags));
    if (!fd.ok()) return FromErrno(errno, STG_E_WRITEFAULT);
    if (::fsync(fd.get()) != 0) return FromErrno(errno, STG_E_WRITEFAULT);
    return S_OK;
  }
};

std::filesystem::path TempPathBeside(const std::filesystem::path& target) {
  static std::atomic<uint64_t> counter{0};
  std::string name = target.filename().string() + "." + std::to_string(::getpid()) + "." +
                     std::to_string(counter.fetch_add(1, std::memory_order_relaxed)) + ".tmp";
  return target.parent_path() / name;
}

}  // namespace

FileOps& DefaultFileOps() {
  static PosixFileOps ops;
  return ops;
}

KivResult ReplaceFileAtomically(FileOps& ops, const std::filesystem::path& target,
                                std::string_view bytes) {
  const std::filesystem::path temp = TempPathBeside(target);
  KivResult r = ops.WriteNew(temp, bytes);
  if (Succeeded(r)) r = ops.SyncFile(temp);
  if (Succeeded(r)) r = ops.Rename(temp, target);
  if (Failed(r)) {
    (void)ops.Remove(temp);  // may not exist; the target is untouched either way
    return r;
  }
  // The new file is in place; a failed folder sync only weakens durability
  // of the rename, yet the caller must hear of it.
  return ops.SyncDir(target.parent_path());
}

}  // namespace velmar
