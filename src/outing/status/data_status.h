// The status logic of every data-bearing item (channels, event sets,
// constants, proxies, media channels): one status, the range of time that
// changed since the last report, and the rules for when a change is told.
//
//   0 unknown        not worked out since the last change
//   1 available      readable now
//   2 not available  cannot be read, and waiting will not help
//   3 pending        an input or a load is still running; a change follows
//   4 evaluating     set while the status is being worked out; a question
//                    that reaches the item again then is a loop of inputs
//
// CDataStatusMachine holds the state and runs the rules; the item supplies
// three hooks: PrepareData (make the data ready), InputsStatus (the walk over
// its inputs) and OnStatusChanged (tell the sinks). SetStatusRange is the one
// way the status or the changed range moves.
//
// Reporting rules of SetStatusRange(new, from, to):
//  - the changed range widens by (from, to) first; an empty range adds nothing;
//  - new 0 while an evaluation runs is left to that evaluation;
//  - the same status again with an unmoved range is not told, except 1: an
//    available item always reports, the range being the news;
//  - 3 is stored silently: a pending item reports when it settles, with every
//    range gathered meanwhile;
//  - a change raised while this item's own report is being delivered waits
//    for that report to end, then goes out with the range widened by both.
// After a report the changed range starts empty again.
//
// Client thread only: no locks.
#pragma once

#include "outing/time/time.h"
#include "velmar/types.h"

namespace velmar {

class CDataStatusMachine {
 public:
  CDataStatusMachine(const CDataStatusMachine&) = delete;
  CDataStatusMachine& operator=(const CDataStatusMachine&) = delete;

  // The status as a client asks for it: worked out when unknown; 3 for a
  // question that comes back from inside this item's own evaluation.
  DataStatus QueryStatus();
  // Works the status out now: PrepareData, then the inputs. The stored
  // status is 4 while this runs and is left as it was found.
  DataStatus EvaluateStatus();
  // See the top of this file.
  void SetStatusRange(DataStatus status, KivTime from, KivTime to);
  void SetStatusRange(DataStatus status, const TimeRange& range) { SetStatusRange(status, range.start, range.end); }

  // An input changed over (from, to): the item goes back to unknown over
  // that range. Changes inside the range of the input change in hand cost
  // nothing; one reaching beyond it widens it and is handled at once.
  void OnInputChanged(KivTime from, KivTime to);
  // An input went away: the range of the input change in hand is emptied.
  void OnInputRemoved() { inputRange_ = TimeRange::Empty(); }

  DataStatus status() const { return status_; }
  // The range gathered since the last report; empty when none.
  const TimeRange& dirtyRange() const { return dirty_; }
  // A report of this item is being delivered now.
  bool notifying() const { return notifying_; }

 protected:
  CDataStatusMachine() = default;
  virtual ~CDataStatusMachine() = default;

  // Makes the item's data ready; false when it cannot be.
  [[nodiscard]] virtual bool PrepareData() = 0;
  // The status the inputs allow: 1 with no inputs (a source item), 3 while
  // any is pending, 2 for one that is missing or not available.
  [[nodiscard]] virtual DataStatus InputsStatus() { return DataStatus::kAvailable; }
  // Tells the sinks. `status` is the new one; (from, to) the changed range.
  virtual void OnStatusChanged(DataStatus status, KivTime from, KivTime to) = 0;
  // Takes (true) or gives back (false) a reference on the item around a
  // report, since a sink may let the item go. Giving back may end the item:
  // it is the last thing the machine does.
  virtual void KeepAlive(bool hold) { (void)hold; }

 private:
  // Step 6 of SetStatusRange: a change while this item's report runs.
  void ChangeDuringReport(DataStatus status, bool changed);
  // Delivers the current status and range, then any change raised meanwhile.
  void Report();
  bool Widen(KivTime from, KivTime to);

  DataStatus status_ = DataStatus::kUnknown;
  TimeRange dirty_;
  TimeRange inputRange_;
  bool notifying_ = false;
  bool reportAgain_ = false;
  bool inputBusy_ = false;
};

// Status values at interfaces are u32.
constexpr uint32_t StatusCode(DataStatus s) { return static_cast<uint32_t>(s); }

}  // namespace velmar
