#include "sources/tarn/tarn_channel_writer.h"

#include "sources/tarn/tarn_channel_write.h"
#include "sources/tarn/tarn_outing_cache.h"

namespace velmar {

KivResult CTarnChannelWriterBase::WriteRequest(const WriteChannelsRequest& request) {
  CTarnOutingCache* cache = WriterCache();
  OutingWriterCache<CTarnOutingCache, CWBTarnWriteChannelStateMachine> answers(
      cache, WriterChannels(), cache->channel_write_back(), [](CTarnOutingCache& c, const std::u16string& name) {
        const TarnChannelMap* stored = c.ChannelList();
        return stored && stored->count(name) != 0;
      });
  return velmar::WriteChannels(answers, request);
}

}  // namespace velmar
