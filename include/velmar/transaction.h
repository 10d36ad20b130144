// Transactions: every edit of a recorded outing is queued inside one and
// reaches the data set only at Commit, in the order of the calls. The outcome
// comes by IKivTransactionNotifications on the outing that began it.
#pragma once

#include "velmar/result.h"
#include "velmar/unknown.h"

namespace velmar {

// Commit or Rollback with no transaction open.
inline constexpr KivResult KIV_E_NO_TRANSACTION = KIV_E_NOT_SUPPORTED;

// One transaction per data set, shared by every outing object on it; only
// the outing that began it may commit or roll it back (else E_FAIL).
struct IKivTransaction : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{6D1E2B7A-3C54-4F0B-9A71-2E8C5D4F1B36}");
  // KIV_E_TXN_ALREADY_OPEN when one is open, KIV_E_TXN_COMMITTING while a
  // commit runs.
  virtual KivResult Begin() = 0;
  // Queues the write on the source's thread and returns; OnTransactionStarted
  // now, OnTransactionMessage for each failure, OnTransactionProgress after
  // each step, OnTransactionFinished last. KIV_E_NO_TRANSACTION without Begin.
  virtual KivResult Commit() = 0;
  // Drops every queued edit; nothing was written. KIV_E_NO_TRANSACTION
  // without Begin, KIV_E_TXN_COMMITTING while a commit runs.
  virtual KivResult Rollback() = 0;
};

}  // namespace velmar
