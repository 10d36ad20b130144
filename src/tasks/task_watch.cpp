#include "tasks/task_watch.h"

#include <atomic>

namespace velmar {
namespace {

std::atomic<TaskWatchStarter> g_starter{nullptr};

}  // namespace

void SetTaskWatchStarter(TaskWatchStarter starter) { g_starter.store(starter); }
TaskWatchStarter GetTaskWatchStarter() { return g_starter.load(); }

}  // namespace velmar
