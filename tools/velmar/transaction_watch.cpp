#include "transaction_watch.h"

#include "host_error.h"
#include "output.h"
#include "velmar/transaction.h"

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

void RunTransaction(LoadedOuting& outing, const std::string& what, const std::function<KivResult()>& queue) {
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
