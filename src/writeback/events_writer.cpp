#include "writeback/events_writer.h"

#include <algorithm>
#include <memory>

#include "outing/events/event_data.h"
#include "writeback/channel_writer.h"

namespace velmar {

namespace {

// An event at `time` in an iterator's list.
KivResult HasEventAt(IKivEventsIterator* iterator, KivTime time) {
  ComPtr<IKivEvents> events;
  uint32_t count = 0;
  if (Failed(iterator->GetEvents(events.Put())) || !events || Failed(events->GetCount(&count))) return E_FAIL;
  for (uint32_t i = 1; i <= count; ++i) {
    ComPtr<IKivEvent> event;
    KivTime t = 0;
    if (Failed(events->GetEvent(static_cast<int32_t>(i), event.Put())) || Failed(event->GetTime(&t))) return E_FAIL;
    if (t == time) return S_OK;
  }
  return S_FALSE;
}

// Whether the outing holds any of the set's collected events already.
KivResult AnyStored(CEventsWriterCache& cache, const CExportEventSet& item) {
  for (const CExportEvent& event : item.events()) {
    const KivResult r = cache.FindStoredEvent(event.name, event.time + cache.ExportBase());
    if (r != S_FALSE) return r;
  }
  return S_FALSE;
}

}  // namespace

bool CEventsWriterCache::ValidEventName(const std::u16string& name) {
  // A name is one field of a row in every data set that stores events.
  return !name.empty() && name.size() < kMaxChannelKeyText &&
         std::none_of(name.begin(), name.end(), [](char16_t c) { return c < u' '; });
}

KivResult FindEventIn(IKivEventsFactory* factory, const std::u16string& name, KivTime time) {
  ComPtr<IKivEventSet> set;
  if (!factory || Failed(factory->GetItem(name, set.Put())) || !set) return S_FALSE;
  ComPtr<IKivEventsIterator> iterator;
  const KivResult r = set->GetIterator(iterator.Put());
  if (r == KIV_E_PENDING) return r;
  if (Failed(r) || !iterator) return S_FALSE;  // a set without data holds nothing
  return HasEventAt(iterator.Get(), time);
}

KivResult WriteEvents(CEventsWriterCache& cache, KivTime start, KivTime end, const NameList* names) {
  if (!names || names->empty()) return E_INVALIDARG;
  ComPtr<CWriteBackEventsStateMachineBase> step = cache.NewEventsStep(start, end);
  if (!step) return E_FAIL;
  KivResult result = S_OK;
  for (const std::u16string& name : *names) {
    ComPtr<IKivEventSet> set;
    if (Failed(cache.GetExportEventSet(name, &set)) || !set) {
      cache.PostWriterMessage(kWriterError, u"Unable to obtain all of the selected events");
      return E_FAIL;
    }
    auto item = std::make_unique<CExportEventSet>(cache.Strings(), name, set.Get(), start, end, cache.ExportBase());
    if (item->state() == CExportItem::kNothing) {
      cache.PostWriterMessage(kWriterNote, u"No data found for event " + name);
      result = S_FALSE;
      continue;
    }
    if (item->state() == CExportItem::kCollected) {
      const KivResult stored = AnyStored(cache, *item);
      if (stored == KIV_E_PENDING) return stored;
      if (stored != S_FALSE) {
        cache.PostWriterMessage(kWriterError, u"Unable to export events - duplicate events found for event " + name);
        return KIV_E_DUPLICATE_EVENT;
      }
    }
    step->AddItem(std::move(item));
  }
  if (step->itemCount() == 0) {
    cache.PostWriterMessage(kWriterNote, u"No data found for any of the selected events");
    return KIV_E_NO_EVENT_DATA;
  }
  const KivResult queued = cache.AddWriteBackStep(step);
  return Failed(queued) ? queued : result;
}

KivResult WriteEvent(CEventsWriterCache& cache, const KivNewEvent& event) {
  if (!cache.ValidEventName(event.name)) return E_INVALIDARG;
  if (!event.fixedData.empty() && event.fixedData.size() != kEventFixedDataSize) return E_INVALIDARG;
  const KivResult stored = cache.FindStoredEvent(event.name, event.time);
  if (stored == KIV_E_PENDING) return stored;
  if (stored != S_FALSE) return KIV_E_DUPLICATE_EVENT;
  if (!cache.Strings().CheckStrings(event.name, event.source, event.message)) return E_INVALIDARG;
  ComPtr<CWriteBackEventsStateMachineBase> step = cache.NewEventsStep(event.time, event.time);
  if (!step) return E_FAIL;
  step->AddReady({event.name, event.time - cache.ExportBase(), kEventAddedInAnalysis, event.source, event.message,
                  event.fixedData, event.data, true});
  return cache.AddWriteBackStep(step);
}

KivResult RemoveEvents(CEventsWriterCache& cache, const NameList* names, const std::vector<KivTime>* times) {
  if (!names || !times || names->size() != times->size()) return E_INVALIDARG;
  std::vector<CExportEvent> events;
  for (size_t i = 0; i < names->size(); ++i) {
    const KivResult found = cache.FindStoredEvent((*names)[i], (*times)[i]);
    if (found == KIV_E_PENDING) return found;
    if (found != S_OK) return E_FAIL;
    CExportEvent event;
    event.name = (*names)[i];
    event.time = (*times)[i] - cache.ExportBase();
    events.push_back(std::move(event));
  }
  ComPtr<CWriteBackStateMachineBase> step = cache.NewRemoveStep(std::move(events));
  if (!step) return E_FAIL;
  return cache.AddWriteBackStep(step);
}

}  // namespace velmar
