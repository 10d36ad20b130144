#include "platform/store/fault_vfs.h"

#include <sqlite3.h>

namespace velmar::store {
namespace {

// Our file: the VFS's header, then the real file of the default VFS.
struct FaultFile {
  sqlite3_file base;
  sqlite3_file* real;
};

sqlite3_file* Real(sqlite3_file* f) { return reinterpret_cast<FaultFile*>(f)->real; }
const sqlite3_io_methods* M(sqlite3_file* f) { return Real(f)->pMethods; }

int Close(sqlite3_file* f) { return M(f)->xClose(Real(f)); }
int Read(sqlite3_file* f, void* p, int n, sqlite3_int64 o) { return M(f)->xRead(Real(f), p, n, o); }
int Write(sqlite3_file* f, const void* p, int n, sqlite3_int64 o) {
  if (FaultVfs::Get().ShouldFail()) return SQLITE_IOERR_WRITE;
  return M(f)->xWrite(Real(f), p, n, o);
}
int Truncate(sqlite3_file* f, sqlite3_int64 size) {
  if (FaultVfs::Get().ShouldFail()) return SQLITE_IOERR_TRUNCATE;
  return M(f)->xTruncate(Real(f), size);
}
int Sync(sqlite3_file* f, int flags) {
  if (FaultVfs::Get().ShouldFail()) return SQLITE_IOERR_FSYNC;
  return M(f)->xSync(Real(f), flags);
}
int FileSize(sqlite3_file* f, sqlite3_int64* size) { return M(f)->xFileSize(Real(f), size); }
int Lock(sqlite3_file* f, int level) { return M(f)->xLock(Real(f), level); }
int Unlock(sqlite3_file* f, int level) { return M(f)->xUnlock(Real(f), level); }
int CheckReservedLock(sqlite3_file* f, int* out) { return M(f)->xCheckReservedLock(Real(f), out); }
int FileControl(sqlite3_file* f, int op, void* arg) { return M(f)->xFileControl(Real(f), op, arg); }
int SectorSize(sqlite3_file* f) { return M(f)->xSectorSize(Real(f)); }
int DeviceCharacteristics(sqlite3_file* f) { return M(f)->xDeviceCharacteristics(Real(f)); }
int ShmMap(sqlite3_file* f, int region, int size, int extend, void volatile** p) {
  return M(f)->xShmMap(Real(f), region, size, extend, p);
}
int ShmLock(sqlite3_file* f, int offset, int n, int flags) { return M(f)->xShmLock(Real(f), offset, n, flags); }
void ShmBarrier(sqlite3_file* f) { M(f)->xShmBarrier(Real(f)); }
int ShmUnmap(sqlite3_file* f, int deleteFlag) { return M(f)->xShmUnmap(Real(f), deleteFlag); }
int Fetch(sqlite3_file* f, sqlite3_int64 o, int n, void** p) { return M(f)->xFetch(Real(f), o, n, p); }
int Unfetch(sqlite3_file* f, sqlite3_int64 o, void* p) { return M(f)->xUnfetch(Real(f), o, p); }

// Version 2: shared memory for the write-ahead log, no memory mapping, so
// every write goes through Write.
const sqlite3_io_methods kMethods = {
    2,        Close,      Read,     Write,    Truncate, Sync,   FileSize, Lock,  Unlock, CheckReservedLock,
    FileControl, SectorSize, DeviceCharacteristics, ShmMap, ShmLock, ShmBarrier, ShmUnmap, Fetch, Unfetch,
};

sqlite3_vfs* DefaultVfs() { return sqlite3_vfs_find(nullptr); }

int Open(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags) {
  auto* f = reinterpret_cast<FaultFile*>(file);
  f->base.pMethods = nullptr;
  f->real = reinterpret_cast<sqlite3_file*>(f + 1);
  int rc = DefaultVfs()->xOpen(DefaultVfs(), name, f->real, flags, outFlags);
  if (f->real->pMethods) f->base.pMethods = &kMethods;
  return rc;
}

int Delete(sqlite3_vfs*, const char* name, int syncDir) { return DefaultVfs()->xDelete(DefaultVfs(), name, syncDir); }
int Access(sqlite3_vfs*, const char* name, int flags, int* out) {
  return DefaultVfs()->xAccess(DefaultVfs(), name, flags, out);
}
int FullPathname(sqlite3_vfs*, const char* name, int n, char* out) {
  return DefaultVfs()->xFullPathname(DefaultVfs(), name, n, out);
}
int Randomness(sqlite3_vfs*, int n, char* out) { return DefaultVfs()->xRandomness(DefaultVfs(), n, out); }
int Sleep(sqlite3_vfs*, int micros) { return DefaultVfs()->xSleep(DefaultVfs(), micros); }
int CurrentTime(sqlite3_vfs*, double* out) { return DefaultVfs()->xCurrentTime(DefaultVfs(), out); }
int GetLastError(sqlite3_vfs*, int n, char* out) { return DefaultVfs()->xGetLastError(DefaultVfs(), n, out); }
int CurrentTimeInt64(sqlite3_vfs*, sqlite3_int64* out) {
  return DefaultVfs()->xCurrentTimeInt64(DefaultVfs(), out);
}

sqlite3_vfs MakeVfs() {
  sqlite3_vfs v{};
  v.iVersion = 2;
  v.szOsFile = static_cast<int>(sizeof(FaultFile)) + DefaultVfs()->szOsFile;
  v.mxPathname = DefaultVfs()->mxPathname;
  v.zName = FaultVfs::kName;
  v.xOpen = Open;
  v.xDelete = Delete;
  v.xAccess = Access;
  v.xFullPathname = FullPathname;
  v.xRandomness = Randomness;
  v.xSleep = Sleep;
  v.xCurrentTime = CurrentTime;
  v.xGetLastError = GetLastError;
  v.xCurrentTimeInt64 = CurrentTimeInt64;
  return v;
}

}  // namespace

FaultVfs& FaultVfs::Get() {
  static FaultVfs instance;
  static sqlite3_vfs vfs = [] {
    sqlite3_initialize();
    sqlite3_vfs v = MakeVfs();
    return v;
  }();
  static const int registered = sqlite3_vfs_register(&vfs, 0);
  (void)registered;
  return instance;
}

void FaultVfs::FailAfter(int64_t okCalls) {
  failures_ = 0;
  budget_ = okCalls;
  armed_ = true;
}

void FaultVfs::Disarm() { armed_ = false; }

bool FaultVfs::ShouldFail() {
  if (!armed_.load()) return false;
  if (budget_.fetch_sub(1) > 0) return false;
  ++failures_;
  return true;
}

}  // namespace velmar::store
