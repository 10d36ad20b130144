#include "transaction_watch.h"

#include "output.h"

namespace velmar::cli {

TransactionWatch::TransactionWatch(IKivOuting* outing)
    : outing_(outing), sink_(MakeKiv<CTransactionNotificationsSink<>>()) {
  sink_->SetReceiver(this);
  (void)sink_->Connect(outing);
}

TransactionWatch::~TransactionWatch() {
  sink_->SetReceiver(nullptr);
  sink_->Disconnect(outing_.Get());
}

std::string TransactionWatch::Joined() const {
  std::string joined;
  for (const std::u16string& message : messages_) joined += (joined.empty() ? "" : "; ") + Utf8(message);
  return joined;
}

}  // namespace velmar::cli
