// CAutoupdate: what the folder watch knows between two scans of its folder,
// and the scan itself. Files at or before `lastTime` have been dealt with,
// so the first scan only learns the time of what is there already.
//
// Mode 1 takes up every new file once it is free: a file that another
// writer holds, or whose size changed since the scan before, waits in
// `pending` and is tried again each scan. A file seen for the first time
// has no size to compare with, so it waits one scan too. Mode 2 takes up
// only the newest file of a scan, as it stands.
//
// The watch's own thread only; it reads nothing of the task but the mode it
// was given.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "sources/autoupdate/watched_folder.h"

namespace velmar {

inline constexpr uint32_t kWatchEachFile = 1;
inline constexpr uint32_t kWatchNewest = 2;

class CAutoupdate {
 public:
  // Told the name (without the folder) of each file taken up.
  using FoundFn = std::function<void(const std::u16string& name)>;

  // `folder` ends in a path separator; "*.trn" is added to it.
  CAutoupdate(std::u16string folder, uint32_t mode, FoundFn found);

  void Scan(bool first);
  // True while some file waits to be free: the next scan should come soon.
  bool has_pending() const { return !pending_.empty(); }
  int64_t last_time() const { return lastTime_; }
  const std::u16string& pattern() const { return pattern_; }

 private:
  // The size seen at the scan that last looked, and that scan's number.
  struct Pending {
    uint64_t size = 0;
    uint64_t scan = 0;
  };

  void ScanEach(const WatchedFile& file, bool first, int64_t* newest, WatchedFile* best);
  // The files that waited from an earlier scan, tried again.
  void RetryPending();
  bool IsFree(const WatchedFile& file, const Pending& seen) const;

  std::u16string folder_, pattern_;
  uint32_t mode_;
  FoundFn found_;
  int64_t lastTime_ = 0;
  uint64_t scans_ = 0;
  std::map<std::u16string, Pending> pending_;  // by full path
};

}  // namespace velmar
