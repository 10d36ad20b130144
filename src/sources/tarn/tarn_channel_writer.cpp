#include "sources/tarn/tarn_channel_writer.h"

#include "sources/tarn/tarn_channel_write.h"
#include "sources/tarn/tarn_outing_cache.h"
#include "writeback/channel_writer.h"
#include "writeback/transaction_state_machine.h"

namespace velmar {

namespace {

class TarnWriterCache final : public CChannelWriterCache {
 public:
  TarnWriterCache(CTarnOutingCache* cache, IKivDataFactory* channels) : cache_(cache), channels_(channels) {}

  bool HasStoredChannel(const std::u16string& name) override {
    const TarnChannelMap* stored = cache_->ChannelList();
    return stored && stored->count(name) != 0;
  }
  KivResult GetExportChannel(const std::u16string& name, ComPtr<IKivChannel>* channel) override {
    auto factory = QueryAs<IKivChannelFactory>(channels_);
    if (!factory) return E_FAIL;
    return factory->GetItem(name, channel->Put());
  }
  void PostWriterMessage(uint32_t level, const std::u16string& text) override { cache_->PostMessage(level, text); }
  ComPtr<CWriteBackChannelStateMachineBase> NewChannelStep() override {
    return MakeKiv<CWBTarnWriteChannelStateMachine>(cache_->channel_write_back());
  }
  KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) override {
    CTransactionStateMachine* transaction = cache_->transaction();
    return transaction ? transaction->AddWriteBackStep(std::move(step)) : E_FAIL;
  }

 private:
  CTarnOutingCache* cache_;
  IKivDataFactory* channels_;
};

}  // namespace

KivResult CTarnChannelWriterBase::WriteChannels(KivTime start, KivTime end, const NameList* names) {
  return Write({start, end, names, 0, false, nullptr});
}

KivResult CTarnChannelWriterBase::WriteChannelsResampled(KivTime start, KivTime end, const NameList* names,
                                                         KivTime period) {
  return Write({start, end, names, period, true, nullptr});
}

KivResult CTarnChannelWriterBase::WriteChannelsThrough(KivTime start, KivTime end, const NameList* names,
                                                       IKivUnknown* context) {
  return Write({start, end, names, 0, false, context});
}

KivResult CTarnChannelWriterBase::WriteChannelsResampledThrough(KivTime start, KivTime end, const NameList* names,
                                                                KivTime period, IKivUnknown* context) {
  return Write({start, end, names, period, true, context});
}

KivResult CTarnChannelWriterBase::Write(const WriteChannelsRequest& request) {
  TarnWriterCache cache(WriterCache(), WriterChannels());
  return velmar::WriteChannels(cache, request);
}

}  // namespace velmar
