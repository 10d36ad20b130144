// Events written into and removed from a text data set: the steps collect
// or name the events, and their jobs rewrite the event block through the
// commit's held file. A write refuses an event the file has at the same
// time with the same name and source; a removal keeps only the events the
// file has, and leaves those recorded by the car.
//
// Steps: client thread. Jobs: "Ascii_Thread".
#pragma once

#include <vector>

#include "jobs/job_thread.h"
#include "sources/text/ascii_transactions.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CAsciiWriteBackEventsJobItem final : public CWriteBackEventsJobOn<CAsciiOutingTxnJobItem> {
 public:
  using CWriteBackEventsJobOn::CWriteBackEventsJobOn;

 protected:
  bool Validate() override;
  KivResult Write() override;
};

class CAsciiWriteBackEventsRemoveJobItem final : public CWriteBackEventsRemoveJobOn<CAsciiOutingTxnJobItem> {
 public:
  using CWriteBackEventsRemoveJobOn::CWriteBackEventsRemoveJobOn;

 protected:
  // Takes the events the file lacks off the list; true when one stays.
  bool Validate() override;
  KivResult Write() override;

 private:
  std::vector<TextEvent> found_;
};

using CAsciiWriteBackEventsStateMachine =
    CWriteBackEventsStep<CAsciiWriteBackEventsJobItem, CAsciiOutingTxnJobItem, AsciiThread>;
using CAsciiWriteBackEventsRemoveStateMachine =
    CWriteBackEventsRemoveStep<CAsciiWriteBackEventsRemoveJobItem, CAsciiOutingTxnJobItem, AsciiThread>;

}  // namespace velmar
