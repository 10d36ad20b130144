#include "edit_transaction.h"

#include "host_error.h"
#include "transaction_watch.h"
#include "velmar/transaction.h"

namespace velmar::cli {
void RunEditTransaction(const LoadedOuting& outing, const std::string& what, const std::function<KivResult()>& queue,
                        const EditRefusal& refusal) {
  const std::string& file = outing.file();
  auto transaction = QueryAs<IKivTransaction>(outing.outing());
  if (!transaction) Fail(file, "this data set cannot be edited");
  TransactionWatch watch(outing.outing());
  if (KivResult r = transaction->Begin(); Failed(r)) Fail(file, "cannot begin a transaction", r);
  if (KivResult r = queue(); Failed(r)) {
    (void)transaction->Rollback();
    Fail(file, refusal ? refusal(r) : "the " + what + " was refused", r);
  }
  if (KivResult r = transaction->Commit(); Failed(r)) Fail(file, "cannot commit", r);
  if (!outing.session().Settle("writing") || !watch.finished()) Fail(file, "the transaction did not finish in time");
  if (!watch.messages().empty()) Fail(file, watch.Joined());
}

}  // namespace velmar::cli
