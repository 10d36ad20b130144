#include "outing/status/data_status.h"

namespace velmar {

DataStatus CDataStatusMachine::QueryStatus() {
  switch (status_) {
    case DataStatus::kUnknown: {
      const DataStatus result = EvaluateStatus();
      status_ = result;
      dirty_ = TimeRange::Empty();
      return result;
    }
    case DataStatus::kEvaluating:
      // Asked again from inside its own evaluation: the inputs form a loop.
      // Pending breaks it; the evaluation under way settles the status.
      return DataStatus::kPending;
    default:
      return status_;
  }
}

DataStatus CDataStatusMachine::EvaluateStatus() {
  const DataStatus before = status_;
  status_ = DataStatus::kEvaluating;
  const DataStatus result = PrepareData() ? InputsStatus() : DataStatus::kNotAvailable;
  // A report made from inside the evaluation has set a status of its own.
  if (status_ == DataStatus::kEvaluating) status_ = before;
  return result;
}

bool CDataStatusMachine::Widen(KivTime from, KivTime to) {
  const TimeRange before = dirty_;
  dirty_.Merge(TimeRange{from, to});
  return dirty_ != before;
}

void CDataStatusMachine::SetStatusRange(DataStatus status, KivTime from, KivTime to) {
  const bool changed = Widen(from, to);
  if (status == DataStatus::kUnknown && status_ == DataStatus::kEvaluating) return;
  if (status_ == status && status != DataStatus::kAvailable && !changed) return;
  if (status == DataStatus::kPending) {
    // Silent until it settles; the range gathered so far goes with that report.
    status_ = status;
    return;
  }
  if (notifying_) {
    ChangeDuringReport(status, changed);
    return;
  }
  status_ = status;
  Report();
}

void CDataStatusMachine::ChangeDuringReport(DataStatus status, bool changed) {
  if (status != DataStatus::kUnknown || status == status_) {
    status_ = status;
    reportAgain_ = true;
    return;
  }
  // Back to unknown while a settled status is being told: work it out now,
  // so the report that follows carries a real status.
  const DataStatus result = EvaluateStatus();
  if (result != status_ || result == DataStatus::kAvailable || changed) {
    status_ = result;
    if (result != DataStatus::kPending) reportAgain_ = true;
  }
}

void CDataStatusMachine::Report() {
  KeepAlive(true);
  notifying_ = true;
  do {
    reportAgain_ = false;
    OnStatusChanged(status_, dirty_.start, dirty_.end);
  } while (reportAgain_);
  notifying_ = false;
  dirty_ = TimeRange::Empty();
  KeepAlive(false);  // last: may end this item
}

void CDataStatusMachine::OnInputChanged(KivTime from, KivTime to) {
  const TimeRange change{from, to};
  if (inputBusy_) {
    const bool inside = change.IsEmpty() || (inputRange_.start <= from && to <= inputRange_.end);
    if (inside) return;
    inputRange_.Merge(change);
    SetStatusRange(DataStatus::kUnknown, from, to);
    return;
  }
  KeepAlive(true);
  inputRange_ = change;
  inputBusy_ = true;
  SetStatusRange(DataStatus::kUnknown, from, to);
  inputRange_ = TimeRange::Empty();
  inputBusy_ = false;
  KeepAlive(false);  // last: may end this item
}

}  // namespace velmar
