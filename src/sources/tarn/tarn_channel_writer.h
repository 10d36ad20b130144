// IKivChannelWriter of a `.trn` outing: the channels come from the outing's
// channel factory, the store's channel list says what is stored already, and
// the step joins the cache's transaction.
//
// Client thread only.
#pragma once

#include "velmar/channel_writer.h"
#include "writeback/channel_writer.h"

namespace velmar {

class CTarnOutingCache;

class CTarnChannelWriterBase : public IKivChannelWriter3 {
 public:
  KivResult WriteChannels(KivTime start, KivTime end, const NameList* names) override;
  KivResult WriteChannelsResampled(KivTime start, KivTime end, const NameList* names, KivTime period) override;
  KivResult WriteChannelsThrough(KivTime start, KivTime end, const NameList* names, IKivUnknown* context) override;
  KivResult WriteChannelsResampledThrough(KivTime start, KivTime end, const NameList* names, KivTime period,
                                          IKivUnknown* context) override;

 protected:
  ~CTarnChannelWriterBase() = default;
  virtual CTarnOutingCache* WriterCache() = 0;
  virtual IKivDataFactory* WriterChannels() = 0;

 private:
  KivResult Write(const WriteChannelsRequest& request);
};

}  // namespace velmar
