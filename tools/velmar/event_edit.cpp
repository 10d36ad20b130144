#include "event_edit.h"

#include <iostream>

#include "edit_transaction.h"
#include "host_error.h"
#include "loaded_outing.h"
#include "output.h"
#include "velmar/events_writer.h"
#include "velmar/text.h"

namespace velmar::cli {

void RemoveEvent(const std::string& file, const EventRemoval& removal, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, file);
  auto writer = QueryAs<IKivEventsWriter>(outing.outing());
  if (!writer) Fail(file, "the events of this data set cannot be edited");
  const NameList names{Utf8ToWide(removal.name)};
  const std::vector<KivTime> times{TicksOfSeconds(removal.seconds)};
  (void)outing.EventSet(names.front());  // throws for a set the outing lacks

  const auto remove = [&] {
    KivResult r = writer->RemoveEvents(&names, &times);
    // The set's events are read on demand: the first ask starts the read.
    for (int round = 0; r == KIV_E_PENDING && round < 4; ++round) {
      if (!session.Settle(file)) break;
      r = writer->RemoveEvents(&names, &times);
    }
    return r;
  };
  RunEditTransaction(outing, "removal", remove, [&](KivResult r) {
    return r == E_FAIL ? "no event \"" + removal.name + "\" at that time" : std::string("the removal was refused");
  });
  std::cout << file << ": event removed\n";
}

}  // namespace velmar::cli
