// What a data selection asks of the task that holds it. The task owns its
// selections; a selection keeps this as a plain pointer, which the task
// clears (SetOwner(nullptr)) before it lets the selection go.
#pragma once

#include <cstdint>

#include "core/data_factory_record.h"
#include "velmar/tasks.h"
#include "velmar/velmar.h"

namespace velmar {

// Refresh reasons a selection raises (IKivTask3::GetRefreshList).
inline constexpr uint32_t kRefreshOutingEvent = 4;
inline constexpr uint32_t kRefreshSelections = 8;

class ISelectionOwner {
 public:
  // The task as its interface; not counted.
  virtual IKivTask* Task() = 0;
  // The root the task belongs to; null without one.
  virtual IKivVelmar* Root() = 0;
  // The selection changed something that is saved.
  virtual void SelectionDirty() = 0;
  virtual void RequestRefresh(uint32_t reason) = 0;
  // The root's active data factories, which join every selection.
  virtual const ActiveDataFactories& DataFactories() = 0;

 protected:
  ~ISelectionOwner() = default;
};

}  // namespace velmar
