// The folder watch of a task: a task whose watch is enabled on a folder
// takes up each new .trn file that arrives there (autoupdate_notify.h says
// how). RegisterAutoupdate gives the tasks their watch; the library does it
// with its classes.
#pragma once

#include <memory>

#include "tasks/task_watch.h"
#include "velmar/result.h"

namespace velmar {

// Starts the watch of the task's folder, with the task's mode: the machines,
// the private thread and its scanning job. Null without a folder, or when
// the thread or the outing factory can't be made. Client thread.
std::unique_ptr<ITaskWatch> StartFolderWatch(CTask* task);

// Installs StartFolderWatch as every task's watch. Any thread; idempotent.
KivResult RegisterAutoupdate();

}  // namespace velmar
