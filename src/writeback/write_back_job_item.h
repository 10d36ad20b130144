// The job of one write-back step, and what hears a step's outcome.
//
// CWriteBackJobItem runs a step's write on the source's worker thread. A
// job that fails keeps a message for the client (SetError); the step hands
// it to the transaction as OnTransactionMessage.
//
// CWriteBackStateChanges is told whether a step's write succeeded, and on
// success re-reads what the step changed (ReloadAfterWrite): the cache of a
// source has one receiver per kind of data.
#pragma once

#include <string>
#include <string_view>

#include "jobs/job_item.h"

namespace velmar {

class CWriteBackJobItem : public CJobItemEx {
 public:
  // Client thread, after completion: the failure text, empty if none.
  const std::u16string& GetErrorMessage() const { return error_; }

 protected:
  explicit CWriteBackJobItem(CStateMachineEx* owner) : CJobItemEx(owner) {}

  // Worker thread. Keeps `message` with its "%s" replaced by `argument`.
  void SetError(std::u16string_view message, std::u16string_view argument = {});
  // SetError(message), then E_FAIL: the usual end of a failed write.
  KivResult Fail(std::u16string_view message);

 private:
  std::u16string error_;
};

class CWriteBackStateChanges {
 public:
  // Client thread, once per finished step.
  void WriteFinished(bool succeeded) {
    if (succeeded) ReloadAfterWrite();
  }

 protected:
  ~CWriteBackStateChanges() = default;
  virtual void ReloadAfterWrite() = 0;
};

}  // namespace velmar
