#include "sources/text/ascii_event_write.h"

#include <algorithm>

#include "sources/text/ascii_outing.h"
#include "writeback/events_writer_facet.h"

namespace velmar {

namespace {

// Events written here are added in analysis, whatever their source said:
// those, and only those, can be removed again.
TextEvent AsTextEvent(const CExportEvent& e) { return {e.time, e.name, kEventFromAnalysis, e.source, e.message}; }

}  // namespace

bool CAsciiWriteBackEventsJobItem::Validate() {
  if (!access() || !access()->handles().IsOpen()) return false;
  return std::none_of(events().begin(), events().end(),
                      [&](const CExportEvent& e) { return access()->handles().HasEvent(AsTextEvent(e)); });
}

KivResult CAsciiWriteBackEventsJobItem::Write() {
  std::vector<TextEvent> rows;
  rows.reserve(events().size());
  for (const CExportEvent& e : events()) rows.push_back(AsTextEvent(e));
  // Times are less the export's base already.
  return access()->handles().AddEvents(rows, 0).ok() ? S_OK : E_FAIL;
}

bool CAsciiWriteBackEventsRemoveJobItem::Validate() {
  found_.clear();
  if (!access() || !access()->handles().IsOpen()) return false;
  const std::vector<TextEvent> stored = access()->handles().ReadEvents();
  for (const CExportEvent& e : events()) {
    const bool there = std::any_of(stored.begin(), stored.end(),
                                   [&](const TextEvent& s) {
                                     return s.time == e.time && s.name == e.name && s.category == kEventFromAnalysis;
                                   });
    if (there) found_.push_back(AsTextEvent(e));
  }
  return !found_.empty();
}

KivResult CAsciiWriteBackEventsRemoveJobItem::Write() {
  return access()->handles().RemoveEvents(found_).ok() ? S_OK : E_FAIL;
}

KivResult CAsciiOuting::WithEventsCache(const std::function<KivResult(CEventsWriterCache&)>& call) {
  // A rewrite of the event block discards the loaded data as a channel write does.
  OutingEventsWriterCache<CAsciiOutingCache, CAsciiWriteBackEventsStateMachine, CAsciiWriteBackEventsRemoveStateMachine>
      answers(cache(), event_sets().AsDataFactory(), cache()->channel_write_back());
  return call(answers);
}

}  // namespace velmar
