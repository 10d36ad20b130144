#include "platform/registry/registry_file.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <map>

namespace velmar {
namespace {

constexpr int kMaxBadCopies = 1000;

std::filesystem::path EnvPath(const char* name) {
  const char* v = std::getenv(name);
  return v && *v ? std::filesystem::path(v) : std::filesystem::path();
}

std::filesystem::path HomeDir() {
  if (auto home = EnvPath("HOME"); !home.empty()) return home;
  if (const passwd* pw = ::getpwuid(::getuid()); pw && pw->pw_dir) return pw->pw_dir;
  return "/";
}

std::filesystem::path UserConfigDir() {
  // Relative values are to be ignored, as the base-directory rules say.
  if (auto xdg = EnvPath("XDG_CONFIG_HOME"); xdg.is_absolute()) return xdg;
  return HomeDir() / ".config";
}

struct HiveTable {
  std::mutex mu;
  std::array<std::shared_ptr<RegistryFile>, 2> overrides;
  std::map<std::filesystem::path, std::shared_ptr<RegistryFile>> by_path;
};

HiveTable& Hives() {
  static HiveTable table;
  return table;
}

size_t HiveIndex(RegHive hive) { return hive == RegHive::kCurrentUser ? 0 : 1; }

}  // namespace

RegistryFile::RegistryFile(std::filesystem::path file, FileOps& ops)
    : file_(std::move(file)), ops_(ops) {}

void RegistryFile::RefreshLocked(bool force) {
  FileStamp st;
  if (Failed(ops_.Stat(file_, &st))) st = FileStamp{};
  if (!force && loaded_ && st == stamp_) return;
  root_ = RegNode{};
  corrupt_ = false;
  read_error_ = S_OK;
  if (st.exists) {
    std::string text;
    KivResult r = ops_.ReadAll(file_, &text);
    if (Succeeded(r)) {
      if (auto tree = RegistryFromJson(text)) root_ = std::move(*tree);
      else corrupt_ = true;
    } else if (r != STG_E_FILENOTFOUND) {
      read_error_ = r;  // there but unreadable: never overwrite it
    }
  }
  stamp_ = st;
  loaded_ = Succeeded(read_error_);
}

KivResult RegistryFile::Read(const std::function<KivResult(const RegNode& root)>& fn) {
  std::lock_guard lock(mu_);
  RefreshLocked(false);
  return fn(root_);
}

KivResult RegistryFile::MoveCorruptAsideLocked() {
  for (int i = 0; i < kMaxBadCopies; ++i) {
    std::filesystem::path bad = file_;
    bad += i == 0 ? ".bad" : ".bad." + std::to_string(i);
    FileStamp st;
    KivResult r = ops_.Stat(bad, &st);
    if (Failed(r)) return r;
    if (st.exists) continue;
    r = ops_.Rename(file_, bad);
    if (Failed(r)) return r;
    return ops_.SyncDir(file_.parent_path());
  }
  return STG_E_FILEALREADYEXISTS;
}

KivResult RegistryFile::Update(const std::function<KivResult(RegNode& root)>& fn) {
  std::lock_guard lock(mu_);
  KivResult r = ops_.CreateDirs(file_.parent_path());
  if (Failed(r)) return r;
  std::unique_ptr<FileLock> file_lock;
  std::filesystem::path lock_path = file_;
  lock_path += ".lock";
  r = ops_.LockExclusive(lock_path, &file_lock);
  if (Failed(r)) return r;

  RefreshLocked(/*force=*/true);  // the change applies to what is on disk now
  if (Failed(read_error_)) return read_error_;
  RegNode tree = root_;
  r = fn(tree);
  if (r != S_OK) return r;
  if (corrupt_) {
    r = MoveCorruptAsideLocked();
    if (Failed(r)) return r;
    corrupt_ = false;
    root_ = RegNode{};
  }
  r = ReplaceFileAtomically(ops_, file_, RegistryToJson(tree));
  if (Failed(r)) {
    loaded_ = false;  // the file may or may not hold the change: read it again next time
    return r;
  }
  root_ = std::move(tree);
  if (Failed(ops_.Stat(file_, &stamp_))) loaded_ = false;
  return S_OK;
}

std::filesystem::path RegistryFile::HivePath(RegHive hive) {
  if (hive == RegHive::kCurrentUser) {
    if (auto p = EnvPath("VELMAR_REGISTRY_USER"); !p.empty()) return p;
    return UserConfigDir() / "kivara" / "registry.json";
  }
  if (auto p = EnvPath("VELMAR_REGISTRY_MACHINE"); !p.empty()) return p;
  return "/etc/kivara/registry.json";
}

std::shared_ptr<RegistryFile> RegistryFile::ForHive(RegHive hive) {
  HiveTable& t = Hives();
  std::lock_guard lock(t.mu);
  if (auto& o = t.overrides[HiveIndex(hive)]) return o;
  std::filesystem::path path = HivePath(hive);
  auto& slot = t.by_path[path];
  if (!slot) slot = std::make_shared<RegistryFile>(path);
  return slot;
}

ScopedHiveOverride::ScopedHiveOverride(RegHive hive, std::shared_ptr<RegistryFile> file)
    : hive_(hive) {
  HiveTable& t = Hives();
  std::lock_guard lock(t.mu);
  t.overrides[HiveIndex(hive)] = std::move(file);
}

ScopedHiveOverride::~ScopedHiveOverride() {
  HiveTable& t = Hives();
  std::lock_guard lock(t.mu);
  t.overrides[HiveIndex(hive_)] = nullptr;
}

}  // namespace velmar
