// The folder watch of a task, as the task sees it. The watch itself lives
// with the data sources, which build on the tasks, so it installs its
// starter here when the library registers its classes. Without a starter a
// task keeps its watch settings and follows no folder.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <memory>

namespace velmar {

class CTask;

// A running watch; letting it go stops it (its thread has ended on return).
class ITaskWatch {
 public:
  virtual ~ITaskWatch() = default;
  // Scans of the folder made so far, from any thread: once it is 1, what
  // was in the folder at the start counts as old.
  virtual uint64_t scans() const = 0;
};

// Starts a watch of the task's folder; null when it cannot be started. The
// task outlives the watch it holds.
using TaskWatchStarter = std::unique_ptr<ITaskWatch> (*)(CTask* task);

void SetTaskWatchStarter(TaskWatchStarter starter);
TaskWatchStarter GetTaskWatchStarter();

}  // namespace velmar
