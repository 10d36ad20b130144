#include "managed/dotnet_event_set.h"

#include <algorithm>
#include <cstring>

namespace velmar::managed {

uint32_t PriorityFromCategory(int32_t category) {
  return static_cast<uint32_t>(std::clamp<int32_t>(category, 0, 7));
}

void CopyEvents(PluginEventSet& set, int64_t from, int64_t to,
                const std::function<void(CCachedEventData&&)>& sink) {
  for (int64_t index = from; index <= to; ++index) {
    PluginEvent event = set.Event(index);
    CCachedEventData record;
    record.time = event.time;
    record.category = PriorityFromCategory(event.category);
    record.source = std::move(event.source);
    record.message = std::move(event.message);
    for (const std::u16string& line : event.information) record.message += u"\n" + line;
    if (!event.data.empty()) {
      std::vector<uint8_t> payload(event.data.size() * sizeof(double));
      std::memcpy(payload.data(), event.data.data(), payload.size());
      record.data = std::move(payload);
    }
    sink(std::move(record));
  }
}

bool CDotNetEventSet::Fetch() {
  std::vector<EventRecordPtr> records;
  const int64_t count = plugin().Count();
  CopyEvents(plugin(), 0, count - 1, [&records, this](CCachedEventData&& record) {
    record.name = name();
    records.push_back(std::make_shared<const CCachedEventData>(std::move(record)));
  });
  events_ = MakeKiv<CEventReferences>(MakeEventReferences(records, 0));
  return true;
}

KivResult CDotNetEventSet::GetIterator(IKivEventsIterator** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (KivResult r = Read(); Failed(r)) return r;
  if (!iterator_) {
    auto list = MakeKiv<CEvents<COutingEventData>>(&events_->events(), ComPtr<IKivUnknown>(events_.Get()));
    iterator_ = MakeKiv<Iterator>(std::move(list), nullptr);
  }
  ComPtr<IKivEventsIterator> out(iterator_.Get());
  *iterator = out.Detach();
  return S_OK;
}

}  // namespace velmar::managed
