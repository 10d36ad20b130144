#include "edit_transaction.h"

#include <vector>

#include "host_error.h"
#include "output.h"
#include "velmar/outing_notifications.h"
#include "velmar/transaction.h"

namespace velmar::cli {
namespace {

// What the transaction's owner hears; connected while it lives.
class TransactionWatch : private CTransactionNotificationsReceiver {
 public:
  explicit TransactionWatch(IKivOuting* outing) : outing_(outing), sink_(MakeKiv<CTransactionNotificationsSink<>>()) {
    sink_->SetReceiver(this);
    (void)sink_->Connect(outing);
  }
  ~TransactionWatch() override {
    sink_->SetReceiver(nullptr);
    sink_->Disconnect(outing_.Get());
  }
  TransactionWatch(const TransactionWatch&) = delete;
  TransactionWatch& operator=(const TransactionWatch&) = delete;

  bool finished() const { return finished_; }
  const std::vector<std::u16string>& messages() const { return messages_; }

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

}  // namespace

void RunEditTransaction(const LoadedOuting& outing, const std::string& what, const std::function<KivResult()>& queue) {
  const std::string& file = outing.file();
  auto transaction = QueryAs<IKivTransaction>(outing.outing());
  if (!transaction) Fail(file, "this data set cannot be edited");
  TransactionWatch watch(outing.outing());
  if (KivResult r = transaction->Begin(); Failed(r)) Fail(file, "cannot begin a transaction", r);
  if (KivResult r = queue(); Failed(r)) {
    (void)transaction->Rollback();
    Fail(file, "the " + what + " was refused", r);
  }
  if (KivResult r = transaction->Commit(); Failed(r)) Fail(file, "cannot commit", r);
  if (!outing.session().Settle("writing") || !watch.finished()) Fail(file, "the transaction did not finish in time");
  if (!watch.messages().empty()) {
    std::string joined;
    for (const std::u16string& message : watch.messages()) joined += (joined.empty() ? "" : "; ") + Utf8(message);
    Fail(file, joined);
  }
}

}  // namespace velmar::cli
