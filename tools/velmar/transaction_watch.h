// One edit of a data set as one transaction: begin, queue the edit, commit,
// wait for the library, and report the transaction's messages as a failure.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "loaded_outing.h"
#include "velmar/outing_notifications.h"

namespace velmar::cli {

// What the transaction's owner hears; connected while it lives.
class TransactionWatch : private CTransactionNotificationsReceiver {
 public:
  explicit TransactionWatch(IKivOuting* outing);
  ~TransactionWatch() override;
  TransactionWatch(const TransactionWatch&) = delete;
  TransactionWatch& operator=(const TransactionWatch&) = delete;

  bool finished() const { return finished_; }
  const std::vector<std::u16string>& messages() const { return messages_; }
  // The last OnTransactionProgress (done of total).
  uint32_t progress() const { return progress_; }

 private:
  void OnTransactionStarted() override {}
  void OnTransactionFinished() override { finished_ = true; }
  void OnTransactionMessage(const std::u16string& text) override { messages_.push_back(text); }
  void OnTransactionProgress(uint32_t total, uint32_t done) override { progress_ = total ? done * 100 / total : 0; }

  ComPtr<IKivOuting> outing_;
  ComPtr<CTransactionNotificationsSink<>> sink_;
  bool finished_ = false;
  uint32_t progress_ = 0;
  std::vector<std::u16string> messages_;
};

// Runs `queue` (the edit) inside a transaction of the outing and commits it.
// Throws HostError with `what` on a refusal, and with the transaction's
// messages joined when it reported any.
void RunTransaction(LoadedOuting& outing, const std::string& what, const std::function<KivResult()>& queue);

}  // namespace velmar::cli
