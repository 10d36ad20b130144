// What the owner of a transaction hears: its messages and its end.
// Connected to one outing while it lives. Client thread only.
#pragma once

#include <string>
#include <vector>

#include "velmar/outing.h"
#include "velmar/outing_notifications.h"

namespace velmar::cli {

class TransactionWatch : private CTransactionNotificationsReceiver {
 public:
  explicit TransactionWatch(IKivOuting* outing);
  ~TransactionWatch() override;
  TransactionWatch(const TransactionWatch&) = delete;
  TransactionWatch& operator=(const TransactionWatch&) = delete;

  bool finished() const { return finished_; }
  const std::vector<std::u16string>& messages() const { return messages_; }
  // The messages on one line, "; " between them.
  std::string Joined() const;

 private:
  void OnTransactionStarted() override {}
  void OnTransactionFinished() override { finished_ = true; }
  void OnTransactionMessage(const std::u16string& text) override { messages_.push_back(text); }
  void OnTransactionProgress(uint32_t, uint32_t) override {}

  ComPtr<IKivOuting> outing_;
  ComPtr<CTransactionNotificationsSink<>> sink_;
  bool finished_ = false;
  std::vector<std::u16string> messages_;
};

}  // namespace velmar::cli
