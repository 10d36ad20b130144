// IKivEventsWriter on an outing object: the three calls go to one routine
// each, which a source answers over its cache (OutingEventsWriterCache).
//
// Client thread only.
#pragma once

#include <functional>

#include "velmar/events_writer.h"
#include "writeback/channel_writer_facet.h"
#include "writeback/events_writer.h"

namespace velmar {

class CEventsWriterFacet : public IKivEventsWriter {
 public:
  KivResult WriteEvents(KivTime start, KivTime end, const NameList* names) override {
    return WithEventsCache([&](CEventsWriterCache& c) { return velmar::WriteEvents(c, start, end, names); });
  }
  KivResult WriteEvent(const KivNewEvent& event) override {
    return WithEventsCache([&](CEventsWriterCache& c) { return velmar::WriteEvent(c, event); });
  }
  KivResult RemoveEvents(const NameList* names, const std::vector<KivTime>* times) override {
    return WithEventsCache([&](CEventsWriterCache& c) { return velmar::RemoveEvents(c, names, times); });
  }

 protected:
  ~CEventsWriterFacet() = default;
  // Runs `call` over the source's answers.
  virtual KivResult WithEventsCache(const std::function<KivResult(CEventsWriterCache&)>& call) = 0;
};

// The answers every outing cache gives alike: event sets from the outing's
// events factory (through its data selection), the outing's own sets for
// the checks, messages to every outing on the cache, steps into its
// transaction. `WriteStep` and `RemoveStep` are the source's steps.
template <class Cache, class WriteStep, class RemoveStep>
class OutingEventsWriterCache final : public CEventsWriterCache {
 public:
  OutingEventsWriterCache(Cache* cache, IKivDataFactory* events, CWriteBackStateChanges* receiver)
      : cache_(cache), events_(events), receiver_(receiver) {}

  KivResult GetExportEventSet(const std::u16string& name, ComPtr<IKivEventSet>* set) override {
    auto factory = ClientFactory<IKivEventsFactory>(events_);
    return factory ? factory->GetItem(name, set->Put()) : E_FAIL;
  }
  KivResult FindStoredEvent(const std::u16string& name, KivTime time) override {
    return FindEventIn(QueryAs<IKivEventsFactory>(events_).Get(), name, time);
  }
  void PostWriterMessage(uint32_t level, const std::u16string& text) override { cache_->PostMessage(level, text); }
  ComPtr<CWriteBackEventsStateMachineBase> NewEventsStep(KivTime start, KivTime end) override {
    return MakeKiv<WriteStep>(receiver_, start, end);
  }
  ComPtr<CWriteBackStateMachineBase> NewRemoveStep(std::vector<CExportEvent> events) override {
    return MakeKiv<RemoveStep>(receiver_, std::move(events));
  }
  KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) override {
    return AddToCacheTransaction(cache_, std::move(step));
  }

 private:
  Cache* cache_;
  IKivDataFactory* events_;
  CWriteBackStateChanges* receiver_;
};

}  // namespace velmar
