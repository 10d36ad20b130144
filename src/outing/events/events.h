// The client objects over an event set's references: the list (CEvents),
// one event (CEvent) and the iterator (CEventsIterator). They take the
// reference type as a parameter (COutingEventData for the file sources; any
// type with the same accessors serves) and behave the same for each.
//
// Lifetime: the list keeps what owns its vector alive (a set's counted
// references), each event keeps its list, so a client holding an event reads
// it safely after the outing dropped the set. The owner must not grow or
// shrink the vector while a list exists.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "outing/blocks/channel_iterator.h"
#include "outing/events/event_data.h"
#include "outing/events/event_search.h"
#include "velmar/events.h"

namespace velmar {

template <class EventData>
class CEvents;

template <class EventData>
class CEvent final : public KivObject<IKivEvent> {
 public:
  // `event` lives in the vector that `list` shows, at `position`.
  CEvent(ComPtr<CEvents<EventData>> list, const EventData* event, size_t position)
      : list_(std::move(list)), event_(event), position_(position) {}
  ~CEvent() override { list_->Forget(position_, this); }

  KivResult GetName(std::u16string* name) override { return Text(&EventData::name, name); }
  KivResult GetTime(KivTime* time) override {
    if (!time) return E_POINTER;
    if (!Valid()) return E_FAIL;
    *time = event_->time();
    return S_OK;
  }
  KivResult GetCategory(uint32_t* category) override {
    if (!category) return E_POINTER;
    if (!Valid()) return E_FAIL;
    *category = event_->category();
    return S_OK;
  }
  KivResult GetSource(std::u16string* source) override { return Text(&EventData::source, source); }
  KivResult GetMessage(std::u16string* message) override { return Text(&EventData::message, message); }
  KivResult GetFixedData(std::vector<uint8_t>* data) override {
    if (!data) return E_POINTER;
    data->clear();
    if (!Valid()) return E_FAIL;
    const uint8_t* fixed = event_->fixed_data();
    if (!fixed) return S_FALSE;
    data->assign(fixed, fixed + kEventFixedDataSize);
    return S_OK;
  }
  KivResult GetData(std::vector<uint8_t>* data) override {
    if (!data) return E_POINTER;
    data->clear();
    if (!Valid()) return E_FAIL;
    const std::vector<uint8_t>* payload = event_->data();
    if (!payload) return S_FALSE;
    *data = *payload;
    return S_OK;
  }

 private:
  bool Valid() const { return event_ && event_->has_record(); }
  KivResult Text(const std::u16string& (EventData::*field)() const, std::u16string* out) {
    if (!out) return E_POINTER;
    if (!Valid()) return E_FAIL;
    try {
      *out = (event_->*field)();
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  ComPtr<CEvents<EventData>> list_;
  const EventData* event_;
  const size_t position_;
};

template <class EventData>
class CEvents final : public KivObject<IKivEvents> {
 public:
  // `events` belongs to `owner`, which this list keeps alive. With
  // `cacheEvents`, each event object is kept and given again.
  CEvents(const std::vector<EventData>* events, ComPtr<IKivUnknown> owner, bool cacheEvents = true)
      : events_(events), owner_(std::move(owner)) {
    if (cacheEvents) made_.resize(events_->size(), nullptr);
  }

  KivResult GetCount(uint32_t* count) override {
    if (!count) return E_POINTER;
    *count = static_cast<uint32_t>(events_->size());
    return S_OK;
  }
  KivResult GetEvent(int32_t index, IKivEvent** event) override {
    if (!event) return E_POINTER;
    *event = nullptr;
    if (index < 1 || static_cast<size_t>(index) > events_->size()) return DISP_E_BADINDEX;
    const size_t at = static_cast<size_t>(index) - 1;
    if (at < made_.size() && made_[at]) return GiveOut(static_cast<IKivEvent*>(made_[at]), event);
    ComPtr<CEvent<EventData>> made;
    try {
      made = MakeKiv<CEvent<EventData>>(ComPtr<CEvents>(this), &(*events_)[at], at);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    if (at < made_.size()) made_[at] = made.Get();
    *event = made.Detach();
    return S_OK;
  }

  // An event object is going.
  void Forget(size_t position, CEvent<EventData>* event) {
    if (position < made_.size() && made_[position] == event) made_[position] = nullptr;
  }

  bool empty() const { return events_->empty(); }
  const std::vector<EventData>& events() const { return *events_; }

 private:
  const std::vector<EventData>* events_;
  ComPtr<IKivUnknown> owner_;
  std::vector<CEvent<EventData>*> made_;  // not counted: each event holds this list
};

template <class EventData>
class CEventsIterator final : public KivObject<IKivEventsIterator> {
 public:
  // `selection` answers range 1; without one a search with range 1 gives E_FAIL.
  CEventsIterator(ComPtr<CEvents<EventData>> events, ComPtr<IKivSelectionRange> selection)
      : events_(std::move(events)), selection_(std::move(selection)) {}

  KivResult GetEvents(IKivEvents** events) override {
    if (!events) return E_POINTER;
    *events = nullptr;
    if (!events_) return E_OUTOFMEMORY;
    (void)GiveOut(static_cast<IKivEvents*>(events_.Get()), events);
    return events_->empty() ? S_FALSE : S_OK;
  }

  KivResult FindEvent(KivTime time, uint32_t mode, uint32_t range, int32_t* index) override {
    if (!index) return E_POINTER;
    *index = 0;
    if (mode > kFindEventNearest || range > 1) return E_INVALIDARG;
    if (!events_) return E_FAIL;
    const auto& list = events_->events();
    if (list.empty()) return S_FALSE;
    KivTime lo = list.front().time();
    KivTime hi = list.back().time();
    if (range == 1) {
      KivTime start = 0;
      KivTime end = 0;
      if (!selection_ || Failed(selection_->GetSelectionRange(&start, &end))) return E_FAIL;
      lo = std::max(lo, start);
      hi = std::min(hi, end);
    }
    return FindEventIndex(list.size(), [&list](size_t i) { return list[i].time(); }, time, mode, lo, hi, index);
  }

 private:
  ComPtr<CEvents<EventData>> events_;
  ComPtr<IKivSelectionRange> selection_;
};

}  // namespace velmar
