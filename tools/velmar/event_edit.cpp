#include "event_edit.h"

#include <iostream>

#include "host_error.h"
#include "loaded_outing.h"
#include "output.h"
#include "transaction_watch.h"
#include "velmar/events_writer.h"
#include "velmar/text.h"
#include "velmar/transaction.h"

namespace velmar::cli {

void RemoveEvent(const std::string& file, const EventRemoval& removal, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, file);
  auto writer = QueryAs<IKivEventsWriter>(outing.outing());
  auto transaction = QueryAs<IKivTransaction>(outing.outing());
  if (!writer || !transaction) Fail(file, "the events of this data set cannot be edited");
  const NameList names{Utf8ToWide(removal.name)};
  const std::vector<KivTime> times{TicksOfSeconds(removal.seconds)};
  (void)outing.EventSet(names.front());  // throws for a set the outing lacks

  TransactionWatch watch(outing.outing());
  if (KivResult r = transaction->Begin(); Failed(r)) Fail(file, "cannot begin a transaction", r);
  KivResult r = writer->RemoveEvents(&names, &times);
  // The set's events are read on demand: the first ask starts the read.
  for (int round = 0; r == KIV_E_PENDING && round < 4; ++round) {
    if (!session.Settle(file)) break;
    r = writer->RemoveEvents(&names, &times);
  }
  if (Failed(r)) {
    (void)transaction->Rollback();
    Fail(file, r == E_FAIL ? "no event \"" + removal.name + "\" at that time" : "the removal was refused", r);
  }
  if (KivResult c = transaction->Commit(); Failed(c)) Fail(file, "cannot commit", c);
  if (!session.Settle("writing") || !watch.finished()) Fail(file, "the transaction did not finish in time");
  if (!watch.messages().empty()) Fail(file, watch.Joined());
  std::cout << file << ": event removed\n";
}

}  // namespace velmar::cli
