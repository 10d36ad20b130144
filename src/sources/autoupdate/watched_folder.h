// What the folder watch asks of the file system: the files a pattern names,
// each with its time and size, and whether a file is free of other writers.
//
// On this platform "no sharing" is an exclusive, non-blocking flock. A
// writer that does not lock (SQLite's own locks are fcntl locks, which flock
// does not see) is caught one level up: a file whose size still changes
// between two scans counts as locked.
//
// Any thread; nothing here holds state.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace velmar {

// A pattern this long or longer names nothing.
inline constexpr size_t kMaxPatternLength = 260;

struct WatchedFile {
  std::u16string name;  // without the folder
  std::u16string path;  // folder + name
  // The later of its creation and its last write, in nanoseconds since
  // 1970. Creation is the birth time where the file system keeps one, and
  // the status-change time too, so a file moved or copied in keeps none of
  // its old age.
  int64_t time = 0;
  uint64_t size = 0;
};

// True when `name` matches `mask` ('*' any run, '?' one character),
// without regard to case.
bool MatchesMask(std::u16string_view name, std::u16string_view mask);

// Calls `each` for every regular file that `pattern` (a folder, a path
// separator, then a mask) names. A folder that is not there, or can't be
// read, names nothing; so does a pattern of kMaxPatternLength characters.
void WalkPattern(const std::u16string& pattern, const std::function<void(const WatchedFile&)>& each);

// The file's facts now; false when it is gone.
bool ReadWatchedFile(const std::u16string& path, WatchedFile* file);

// Opens the file for reading with no sharing, and closes it again: false
// while another writer holds it, or when it can't be opened at all.
bool OpenWithoutSharing(const std::u16string& path);

}  // namespace velmar
