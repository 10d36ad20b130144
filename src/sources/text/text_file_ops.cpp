#include "sources/text/text_file_ops.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>

namespace velmar {
namespace {

TextStatus Errno(TextCode code, const std::string& what, int err) {
  return {code, what + ": " + std::strerror(err)};
}

TextCode OpenFailure(int err) {
  switch (err) {
    case ENOENT:
    case ENOTDIR: return TextCode::kFileNotFound;
    case EACCES:
    case EPERM:
    case EROFS: return TextCode::kAccessDenied;
    default: return TextCode::kReadFailed;
  }
}

TextCode WriteFailure(int err) { return err == ENOSPC || err == EDQUOT ? TextCode::kDiskFull : TextCode::kWriteFailed; }

std::filesystem::path TempPathBeside(const std::filesystem::path& target) {
  static std::atomic<uint64_t> counter{0};
  std::string name = "." + target.filename().string() + ".tmp-" + std::to_string(::getpid()) + "-" +
                     std::to_string(counter.fetch_add(1));
  return target.parent_path() / name;
}

std::filesystem::path ParentOf(const std::filesystem::path& p) {
  auto parent = p.parent_path();
  return parent.empty() ? std::filesystem::path(".") : parent;
}

}  // namespace

TextStatus PosixTextFileOps::Open(const std::filesystem::path& path, FileOpenMode mode, int* fd) {
  int flags = O_CLOEXEC;
  switch (mode) {
    case FileOpenMode::kRead: flags |= O_RDONLY; break;
    case FileOpenMode::kReadWrite: flags |= O_RDWR; break;
    case FileOpenMode::kCreateNew: flags |= O_RDWR | O_CREAT | O_EXCL; break;
  }
  int f;
  do {
    f = ::open(path.c_str(), flags, 0666);
  } while (f < 0 && errno == EINTR);
  if (f < 0) return Errno(OpenFailure(errno), "cannot open " + path.string(), errno);
  *fd = f;
  return {};
}

TextStatus PosixTextFileOps::Map(int fd, uint64_t size, std::unique_ptr<FileMapping>* out) {
  return FileMapping::Map(fd, size, out);
}

TextStatus PosixTextFileOps::Lock(int fd) {
  if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return {};
  if (errno == EWOULDBLOCK) return {TextCode::kFileLocked, "the file is open elsewhere"};
  return Errno(TextCode::kReadFailed, "cannot lock the file", errno);
}

TextStatus PosixTextFileOps::Size(int fd, uint64_t* size) {
  struct stat st {};
  if (::fstat(fd, &st) != 0) return Errno(TextCode::kReadFailed, "cannot stat the file", errno);
  *size = static_cast<uint64_t>(st.st_size);
  return {};
}

TextStatus PosixTextFileOps::ReadAt(int fd, uint64_t offset, char* out, size_t size, size_t* got) {
  size_t done = 0;
  while (done < size) {
    ssize_t n = ::pread(fd, out + done, size - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return Errno(TextCode::kReadFailed, "read failed", errno);
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  *got = done;
  return {};
}

TextStatus PosixTextFileOps::WriteAt(int fd, uint64_t offset, std::string_view data) {
  size_t done = 0;
  while (done < data.size()) {
    ssize_t n = ::pwrite(fd, data.data() + done, data.size() - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return Errno(WriteFailure(errno), "write failed", errno);
    if (n == 0) return {TextCode::kDiskFull, "write made no progress"};
    done += static_cast<size_t>(n);
  }
  return {};
}

TextStatus PosixTextFileOps::Truncate(int fd, uint64_t size) {
  if (::ftruncate(fd, static_cast<off_t>(size)) != 0) return Errno(TextCode::kWriteFailed, "truncate failed", errno);
  return {};
}

TextStatus PosixTextFileOps::Sync(int fd) {
  if (::fsync(fd) != 0) return Errno(WriteFailure(errno), "fsync failed", errno);
  return {};
}

TextStatus PosixTextFileOps::Close(int fd) {
  // The descriptor is gone after close whatever it answers; a failure is
  // still reported, since it may mean lost writes.
  if (::close(fd) != 0 && errno != EINTR) return Errno(TextCode::kWriteFailed, "close failed", errno);
  return {};
}

TextStatus PosixTextFileOps::Rename(const std::filesystem::path& from, const std::filesystem::path& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) return Errno(TextCode::kWriteFailed, "rename failed", errno);
  return {};
}

TextStatus PosixTextFileOps::SyncDirectory(const std::filesystem::path& dir) {
  int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return Errno(TextCode::kWriteFailed, "cannot open folder " + dir.string(), errno);
  int rc = ::fsync(fd);
  int err = errno;
  ::close(fd);
  if (rc != 0) return Errno(TextCode::kWriteFailed, "folder fsync failed", err);
  return {};
}

TextStatus PosixTextFileOps::Remove(const std::filesystem::path& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) return Errno(TextCode::kWriteFailed, "unlink failed", errno);
  return {};
}

TextFileOps& DefaultTextFileOps() {
  static PosixTextFileOps ops;
  return ops;
}

TextStatus OpenLockedFile(TextFileOps& ops, const std::filesystem::path& path, bool writable, FileHandle* file) {
  int fd = -1;
  if (auto st = ops.Open(path, writable ? FileOpenMode::kReadWrite : FileOpenMode::kRead, &fd); !st.ok()) return st;
  *file = FileHandle(&ops, fd);
  if (auto st = ops.Lock(fd); !st.ok()) {
    file->Reset();
    return st;
  }
  return {};
}

FileHandle::FileHandle(FileHandle&& other) noexcept : ops_(other.ops_), fd_(other.fd_) { other.fd_ = -1; }

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
  if (this != &other) {
    Reset();
    ops_ = other.ops_;
    fd_ = other.fd_;
    other.fd_ = -1;
  }
  return *this;
}

int FileHandle::Release() {
  int fd = fd_;
  fd_ = -1;
  return fd;
}

void FileHandle::Reset() {
  if (fd_ >= 0 && ops_) (void)ops_->Close(fd_);
  fd_ = -1;
}

TextStatus ReplaceFile(TextFileOps& ops, const std::filesystem::path& target, std::string_view bytes,
                       FileHandle* held) {
  std::filesystem::path temp = TempPathBeside(target);
  int fd = -1;
  if (auto st = ops.Open(temp, FileOpenMode::kCreateNew, &fd); !st.ok()) {
    return {st.code() == TextCode::kFileNotFound ? TextCode::kWriteFailed : st.code(), st.message()};
  }
  FileHandle handle(&ops, fd);
  auto fail = [&](TextStatus st) {
    handle.Reset();
    (void)ops.Remove(temp);
    return st;
  };
  if (held) {
    if (auto st = ops.Lock(fd); !st.ok()) return fail(std::move(st));
  }
  if (auto st = ops.WriteAt(fd, 0, bytes); !st.ok()) return fail(std::move(st));
  if (auto st = ops.Sync(fd); !st.ok()) return fail(std::move(st));
  if (!held) {
    // Closed here rather than by the handle, so that a late write error counts.
    if (auto st = ops.Close(handle.Release()); !st.ok()) return fail(std::move(st));
  }
  if (auto st = ops.Rename(temp, target); !st.ok()) return fail(std::move(st));
  if (auto st = ops.SyncDirectory(ParentOf(target)); !st.ok()) {
    // The new file is in place; only its folder entry may not be durable yet.
    if (held) *held = std::move(handle);
    return st;
  }
  if (held) *held = std::move(handle);
  return {};
}

TextStatus AppendToFile(TextFileOps& ops, int fd, uint64_t oldSize, std::string_view bytes) {
  TextStatus st = ops.WriteAt(fd, oldSize, bytes);
  if (st.ok()) st = ops.Sync(fd);
  if (!st.ok()) {
    // Take the partial block off again so the file reads as before.
    (void)ops.Truncate(fd, oldSize);
    (void)ops.Sync(fd);
  }
  return st;
}

}  // namespace velmar
