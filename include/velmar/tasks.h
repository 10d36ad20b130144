// The task list: the root's ordered list of tasks, each a working view of
// the host (a worksheet or page) that owns its data selections.
#pragma once

#include <cstdint>

#include "velmar/guid.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivTask;

// Indexes count from 1; DISP_E_BADINDEX out of range.
struct IKivTasks : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{5D40AB2C-C766-42C6-BF5D-AB0AA6856E5D}");
  virtual KivResult GetCount(int32_t* count) = 0;
  virtual KivResult GetItem(int32_t index, IKivTask** task) = 0;
  virtual KivResult AddTask(IKivTask** task) = 0;
  virtual KivResult RemoveTask(int32_t index) = 0;
  // An enumerator over the tasks, in list order.
  virtual KivResult GetEnumerator(IKivUnknown** enumerator) = 0;
  // Always true.
  virtual KivResult CanAddTask(KivBool* can) = 0;
};

}  // namespace velmar
