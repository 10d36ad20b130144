#include "sources/autoupdate/watched_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "velmar/text.h"

namespace velmar {
namespace {

int64_t Nanoseconds(const struct statx_timestamp& t) {
  return static_cast<int64_t>(t.tv_sec) * 1'000'000'000 + t.tv_nsec;
}

// The facts of a regular file, or false.
bool StatFile(const std::string& path, int64_t* time, uint64_t* size) {
  struct statx sx {};
  const unsigned mask = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_BTIME;
  if (::statx(AT_FDCWD, path.c_str(), AT_STATX_SYNC_AS_STAT, mask, &sx) != 0) return false;
  if (!S_ISREG(sx.stx_mode)) return false;
  int64_t created = Nanoseconds(sx.stx_ctime);
  if (sx.stx_mask & STATX_BTIME) created = std::max(created, Nanoseconds(sx.stx_btime));
  *time = std::max(created, Nanoseconds(sx.stx_mtime));
  *size = sx.stx_size;
  return true;
}

char16_t Fold(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c; }

}  // namespace

bool MatchesMask(std::u16string_view name, std::u16string_view mask) {
  // Greedy with one back-track point: the last '*' seen.
  size_t n = 0, m = 0, starAt = std::u16string_view::npos, resumeAt = 0;
  while (n < name.size()) {
    if (m < mask.size() && mask[m] == u'*') {
      starAt = m++;
      resumeAt = n;
    } else if (m < mask.size() && (mask[m] == u'?' || Fold(mask[m]) == Fold(name[n]))) {
      ++m;
      ++n;
    } else if (starAt != std::u16string_view::npos) {
      m = starAt + 1;
      n = ++resumeAt;
    } else {
      return false;
    }
  }
  while (m < mask.size() && mask[m] == u'*') ++m;
  return m == mask.size();
}

void WalkPattern(const std::u16string& pattern, const std::function<void(const WatchedFile&)>& each) {
  if (pattern.size() >= kMaxPatternLength) return;
  const size_t slash = pattern.find_last_of(u'/');
  const std::u16string folder = slash == std::u16string::npos ? u"" : pattern.substr(0, slash + 1);
  const std::u16string mask = pattern.substr(folder.size());
  const std::string nativeFolder = WideToUtf8(folder);
  DIR* dir = ::opendir(nativeFolder.empty() ? "." : nativeFolder.c_str());
  if (!dir) return;
  WatchedFile file;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string_view native = entry->d_name;
    if (native == "." || native == ".." || entry->d_type == DT_DIR) continue;
    file.name = Utf8ToWide(native);
    if (!MatchesMask(file.name, mask)) continue;
    file.path = folder + file.name;
    if (StatFile(nativeFolder + std::string(native), &file.time, &file.size)) each(file);
  }
  ::closedir(dir);
}

bool ReadWatchedFile(const std::u16string& path, WatchedFile* file) {
  if (!StatFile(WideToUtf8(path), &file->time, &file->size)) return false;
  file->path = path;
  const size_t slash = path.find_last_of(u'/');
  file->name = slash == std::u16string::npos ? path : path.substr(slash + 1);
  return true;
}

bool OpenWithoutSharing(const std::u16string& path) {
  const int fd = ::open(WideToUtf8(path).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool free = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
  ::close(fd);  // the lock goes with the descriptor
  return free;
}

}  // namespace velmar
