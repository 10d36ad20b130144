#include "sources/autoupdate/autoupdate_scan.h"

#include <utility>

namespace velmar {

CAutoupdate::CAutoupdate(std::u16string folder, uint32_t mode, FoundFn found)
    : folder_(std::move(folder)), pattern_(folder_ + u"*.trn"), mode_(mode), found_(std::move(found)) {}

void CAutoupdate::Scan(bool first) {
  ++scans_;
  int64_t newest = lastTime_;
  WatchedFile best;
  best.time = lastTime_;
  WalkPattern(pattern_, [&](const WatchedFile& file) { ScanEach(file, first, &newest, &best); });
  if (!first && mode_ == kWatchNewest && !best.name.empty()) found_(best.name);
  lastTime_ = newest;
  RetryPending();
}

void CAutoupdate::ScanEach(const WatchedFile& file, bool first, int64_t* newest, WatchedFile* best) {
  if (pending_.count(file.path) || file.time <= lastTime_) return;
  if (file.time > *newest) *newest = file.time;
  if (first) return;
  if (mode_ == kWatchEachFile) {
    // Nothing yet to compare its size with: it waits for the next scan.
    pending_[file.path] = {file.size, scans_};
  } else if (file.time > best->time) {
    *best = file;
  }
}

bool CAutoupdate::IsFree(const WatchedFile& file, const Pending& seen) const {
  // A writer that doesn't lock still moves the size between two scans.
  return seen.size == file.size && OpenWithoutSharing(file.path);
}

void CAutoupdate::RetryPending() {
  for (auto it = pending_.begin(); it != pending_.end();) {
    WatchedFile file;
    if (!ReadWatchedFile(it->first, &file)) {  // gone before it was ever free
      it = pending_.erase(it);
      continue;
    }
    if (it->second.scan == scans_ || !IsFree(file, it->second)) {
      it->second.size = file.size;
      ++it;
      continue;
    }
    found_(file.name);
    if (file.time > lastTime_) lastTime_ = file.time;
    it = pending_.erase(it);
  }
}

}  // namespace velmar
