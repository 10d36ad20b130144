// IKivChannelWriter on an outing object: the four forms meet in one
// request, which a source answers over its cache (OutingWriterCache).
//
// Client thread only.
#pragma once

#include "velmar/channel_writer.h"
#include "writeback/channel_writer.h"
#include "writeback/transaction_state_machine.h"

namespace velmar {

class CChannelWriterFacet : public IKivChannelWriter3 {
 public:
  KivResult WriteChannels(KivTime start, KivTime end, const NameList* names) override {
    return WriteRequest({start, end, names, 0, false, nullptr});
  }
  KivResult WriteChannelsResampled(KivTime start, KivTime end, const NameList* names, KivTime period) override {
    return WriteRequest({start, end, names, period, true, nullptr});
  }
  KivResult WriteChannelsThrough(KivTime start, KivTime end, const NameList* names, IKivUnknown* context) override {
    return WriteRequest({start, end, names, 0, false, context});
  }
  KivResult WriteChannelsResampledThrough(KivTime start, KivTime end, const NameList* names, KivTime period,
                                          IKivUnknown* context) override {
    return WriteRequest({start, end, names, period, true, context});
  }

 protected:
  ~CChannelWriterFacet() = default;
  virtual KivResult WriteRequest(const WriteChannelsRequest& request) = 0;
};

// The factory a client of the outing reads through: the data selection the
// outing is bound to (its host and add-in sources beside the outing's own
// items) when it has one, else the outing's own factory.
template <class Factory>
ComPtr<Factory> ClientFactory(IKivDataFactory* own) {
  ComPtr<IKivUnknown> parent;
  if (own && Succeeded(own->GetParent(parent.Put())) && parent) {
    if (auto seen = parent.As<Factory>()) return seen;
  }
  return QueryAs<Factory>(own);
}

// Queues `step` in the transaction of an outing cache; E_FAIL without one.
template <class Cache>
KivResult AddToCacheTransaction(Cache* cache, ComPtr<CWriteBackStateMachineBase> step) {
  CTransactionStateMachine* transaction = cache->transaction();
  return transaction ? transaction->AddWriteBackStep(std::move(step)) : E_FAIL;
}

// The answers every outing cache gives alike: channels from the outing's
// channel factory (through its data selection), messages to every outing on the cache, steps into its
// transaction. `Step` is the source's channel step; `stored` tells whether
// the cache's list has a name; `limit` caps the channels of one write (0: none).
template <class Cache, class Step>
class OutingWriterCache final : public CChannelWriterCache {
 public:
  using StoredTest = bool (*)(Cache& cache, const std::u16string& name);
  OutingWriterCache(Cache* cache, IKivDataFactory* channels, CWriteBackStateChanges* receiver, StoredTest stored,
                    uint32_t limit = 0)
      : cache_(cache), channels_(channels), receiver_(receiver), stored_(stored), limit_(limit) {}

  uint32_t GetChannelLimit() override { return limit_; }
  bool HasStoredChannel(const std::u16string& name) override { return stored_(*cache_, name); }
  KivResult GetExportChannel(const std::u16string& name, ComPtr<IKivChannel>* channel) override {
    auto factory = ClientFactory<IKivChannelFactory>(channels_);
    return factory ? factory->GetItem(name, channel->Put()) : E_FAIL;
  }
  KivResult GetExportScaling(const std::u16string& name, IKivUnknown* context, ExportScaling* scaling) override {
    return ExportScalingOf(name, context, channels_, scaling);
  }
  void PostWriterMessage(uint32_t level, const std::u16string& text) override { cache_->PostMessage(level, text); }
  ComPtr<CWriteBackChannelStateMachineBase> NewChannelStep() override { return MakeKiv<Step>(receiver_); }
  KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) override {
    return AddToCacheTransaction(cache_, std::move(step));
  }

 private:
  Cache* cache_;
  IKivDataFactory* channels_;
  CWriteBackStateChanges* receiver_;
  StoredTest stored_;
  uint32_t limit_;
};

}  // namespace velmar
