// IKivChannelWriter of a `.trn` outing: the channels come from the outing's
// channel factory, the store's channel list says what is stored already, and
// the step joins the cache's transaction.
//
// Client thread only.
#pragma once

#include "writeback/channel_writer_facet.h"

namespace velmar {

class CTarnOutingCache;

class CTarnChannelWriterBase : public CChannelWriterFacet {
 protected:
  ~CTarnChannelWriterBase() = default;
  virtual CTarnOutingCache* WriterCache() = 0;
  virtual IKivDataFactory* WriterChannels() = 0;

 private:
  KivResult WriteRequest(const WriteChannelsRequest& request) override;
};

}  // namespace velmar
