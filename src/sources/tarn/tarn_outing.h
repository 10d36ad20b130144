// CTarnOuting: a client's outing object on a `.trn` file. Everything it
// knows comes from its cache (tarn_outing_cache.h), which all outing objects
// on the file share; it turns what the cache tells it into the outing's
// notifications and keeps its own factories' name lists.
//
// Client thread only.
#pragma once

#include <vector>

#include "outing/cache/outing_on_cache.h"
#include "sources/tarn/tarn_blob_write.h"
#include "sources/tarn/tarn_channel_writer.h"
#include "sources/tarn/tarn_lap_marker_writer.h"
#include "sources/tarn/tarn_lap_markers.h"
#include "sources/tarn/tarn_media_editor.h"
#include "sources/tarn/tarn_outing_cache.h"
#include "sources/tarn/tarn_outing_factories.h"
#include "writeback/events_writer_facet.h"
#include "writeback/transaction_facet.h"

namespace velmar {

class CTarnOuting final
    : public COutingOnCache<CTarnOutingCache, CTarnOutingChannelFactory, CTarnOutingEventsFactory,
                            CTarnOutingConstantFactory, CTarnOutingBlobFactory, CTarnMediaChannelFactory,
                            CTarnLapMarkers, CLapMarkerWriterBase, CTarnChannelWriterBase, CMediaChannelEditorBase,
                            CEventsWriterFacet, CTransactionFacet, CTarnBlobWriterFacet> {
 public:
  CTarnOuting(ComPtr<CTarnOutingCache> cache, bool overrideProperties)
      : COutingOnCache(std::move(cache), overrideProperties) {}
  ~CTarnOuting() override;

  // --- The cache's calls ----------------------------------------------------
  void OnDataDiscarded() override;
  void OnChannelListRead(const TarnChannelMap& channels) override;
  void OnEventNamesRead(const std::vector<TarnNamedItem>& names) override;
  void OnConstantsRead(const std::vector<TarnConstant>& constants) override;
  void OnBlobListRead(const std::vector<TarnNamedItem>& blobs) override;
  void OnMediaChannelListRead(const TarnMediaChannelMap& channels) override;
  void OnStatusChannelDefinitionsReady() override;

  IKivDataFactory* channel_factory() { return static_cast<CTarnOutingChannelFactory*>(this)->AsDataFactory(); }
  IKivDataFactory* events_factory() { return static_cast<CTarnOutingEventsFactory*>(this)->AsDataFactory(); }
  IKivDataFactory* constant_factory() { return static_cast<CTarnOutingConstantFactory*>(this)->AsDataFactory(); }
  IKivDataFactory* blob_factory() { return static_cast<CTarnOutingBlobFactory*>(this)->AsDataFactory(); }
  IKivDataFactory* media_channel_factory() { return static_cast<CTarnMediaChannelFactory*>(this)->AsDataFactory(); }

 protected:
  KivResult OutingInformation(IKivPropertySet** information) override;
  KivResult CloseOutingData() override;
  KivResult ApplyTimeOffset(KivTime offset) override;
  // The tree with a reference once built; else E_FAIL, its read started.
  KivResult StatusChannelDefinitions(IKivStatusChannelDefinitions** definitions) override;
  const TarnLapData* LapMarkerData() override { return cache()->LapData(); }
  const TarnChannelMap* CacheChannelList() override { return cache()->ChannelList(); }
  ComPtr<CChannelDataCache> CacheChannelData() override { return cache()->channel_data(); }
  KivTime ChannelTimeOffset() override { return time_offset(); }
  // What event sets, blobs and media channels read through.
  ComPtr<CTarnOutingCache> ItemCache() override { return ComPtr<CTarnOutingCache>(cache()); }
  KivTime EventTimeOffset() override { return time_offset(); }
  KivTime MediaTimeOffset() override { return time_offset(); }
  const std::vector<TarnConstant>* CacheConstants() override { return cache()->Constants(); }
  CTarnOutingCache* WriterCache() override { return cache(); }
  IKivDataFactory* WriterChannels() override { return channel_factory(); }
  CTarnOutingCache* MediaEditCache() override { return cache(); }
  CTransactionStateMachine* TransactionMachine() override { return cache()->transaction(); }
  COutingStateChanges* TransactionOuting() override { return this; }
  CTransactionStateMachine* ConstantTransaction() override { return cache()->transaction(); }
  CWriteBackStateChanges* ConstantReceiver() override { return cache()->constant_write_back(); }
  CTarnOutingCache* BlobWriterCache() override { return cache(); }
  KivResult WithEventsCache(const std::function<KivResult(CEventsWriterCache&)>& call) override;

 private:
  // Fires what a reload did to a factory's list, of data kind `kind`.
  void FireChanges(IKivDataFactory* factory, uint32_t kind, const NameChanges& changes);
};

// Registers the `.trn` source with the outing factory (type 1). Call once at
// start-up, before the first outing of the type is asked for.
[[nodiscard]] KivResult RegisterTarnOutingSource();

}  // namespace velmar
