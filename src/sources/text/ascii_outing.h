// CAsciiOuting: one client's outing object on a text data set. It lists the
// loaded channels, event sets and constants through its data factories,
// makes the channel objects that read the loaded columns, hands out the
// information object, and turns its cache's calls into the outing's
// notifications.
//
// Client thread only.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "outing/channels/channel_file.h"
#include "outing/channels/file_channel_factory.h"
#include "outing/events/events_factory.h"
#include "outing/cache/file_outing.h"
#include "outing/laps/list_lap_markers.h"
#include "outing/constants/loaded_constant_factory.h"
#include "outing/factory/outing_data_factory.h"
#include "sources/text/ascii_outing_cache.h"
#include "velmar/data_factory.h"
#include "velmar/outing.h"
#include "writeback/channel_writer_facet.h"
#include "writeback/constant_write_factory.h"
#include "writeback/events_writer_facet.h"
#include "writeback/transaction_facet.h"

namespace velmar {

// The event sets of a text outing: one per loaded set name, made from the
// load's events with the outing's time offset. While nothing is loaded the
// list is empty, the load is asked for, and GetEventSet gives KIV_E_PENDING.
class CAsciiEventsFactory : public COutingEventsFactoryBase<IKivEventsFactory> {
 public:
  KivResult GetItem(const std::u16string& name, IKivEventSet** set) override;
  // `timeOffset`: the outing's offset, which every new set starts with.
  void Bind(CAsciiOutingCache* cache, const KivTime* timeOffset) {
    cache_ = cache;
    timeOffset_ = timeOffset;
  }
  // Every set goes and one is made per loaded name; nothing while unloaded.
  NameChanges Reload();

 protected:
  void FillNames() override;

 private:
  CAsciiOutingCache* cache_ = nullptr;
  const KivTime* timeOffset_ = nullptr;
};

// The constants of a text outing: the loaded constants, simple ones with
// their number and the row's comment as their unit. Adds, removals and
// writers' commits rewrite the file's constant block at the commit.
class CAsciiConstantFactory : public CWritableConstantFactory<CLoadedConstantFactory<IKivConstantFactory2>> {
 public:
  // KIV_E_PENDING while loading (the load is asked for).
  KivResult GetItem(const std::u16string& name, IKivConstant** constant) override;
  void Bind(CAsciiOutingCache* cache) { cache_ = cache; }

 protected:
  bool LoadedRecords(std::vector<ConstantRecord>* records) override;
  CTransactionStateMachine* ConstantTransaction() override { return cache_ ? cache_->transaction() : nullptr; }
  CWriteBackStateChanges* ConstantReceiver() override { return cache_ ? cache_->data_write_back() : nullptr; }
  ComPtr<CWriteBackStateMachineBase> MakeConstantStep(ConstantWriteOp op, CWriteBackStateChanges* receiver,
                                                      ConstantWriteFields fields) override;

 private:
  CAsciiOutingCache* cache_ = nullptr;
};

// The channels of a text outing: one per loaded column name. A channel
// object is made on first demand, reads its column from the cache when a
// client first reads it, and stays until the data is discarded.
class CAsciiChannelFactory : public CFileChannelFactory<CAsciiOutingCache> {
 protected:
  // The unit text of the column's header.
  std::u16string UnitText(const std::u16string& name) override;
};

inline KivTime LapMarkerTime(const TextLapMarker& m) { return m.time; }
inline uint32_t LapMarkerNumber(const TextLapMarker& m) { return static_cast<uint32_t>(m.number); }
inline bool LapMarkerHalted(const TextLapMarker&) { return false; }

// The lap markers of a text outing: the load's "End of lap" times over the
// outing's span. A text file knows nothing of the car's movement.
struct TextLapData {
  LapSpan span;
  double distanceOrigin = 0.0;
  std::vector<TextLapMarker> markers;
};

class CAsciiOuting final : public CFileOuting<CAsciiOutingCache, CAsciiChannelFactory, CAsciiEventsFactory,
                                              CAsciiConstantFactory, CListLapMarkers<TextLapData>, CChannelWriterFacet,
                                              CEventsWriterFacet,
                                              CTransactionFacet> {
 public:
  CAsciiOuting(ComPtr<CAsciiOutingCache> cache, bool overrideProperties);
  ~CAsciiOuting() override;

  CAsciiChannelFactory& channels() { return *this; }
  CAsciiEventsFactory& event_sets() { return *this; }
  CAsciiConstantFactory& constants() { return *this; }

  // --- The cache's calls --------------------------------------------------
  // Channels, then event sets (and constants), leave the factories; each
  // factory tells the names that went once.
  void OnDataDiscarded() override;
  // The loaded channel names enter the channel factory and are told as added.
  void OnChannelsLoaded() override;
  // The markers are read again at the next call.
  void OnLapMarkersReset() override;

 protected:
  // Shifts the channels and event sets made so far; the offset is kept for
  // every channel and set made from now.
  KivResult ApplyTimeOffset(KivTime offset) override;
  // Every event set is made anew from the load (one removed, then one added
  // notification); the loaded constants are merged into the values.
  void ReloadEventSets() override;
  KivResult CloseOutingData() override {
    cache()->CloseData();
    return S_OK;
  }
  CTransactionStateMachine* TransactionMachine() override { return cache()->transaction(); }
  COutingStateChanges* TransactionOuting() override { return this; }
  // CChannelWriterFacet (ascii_channel_write.cpp); the outing reloads after a commit.
  KivResult WriteRequest(const WriteChannelsRequest& request) override;
  // CEventsWriterFacet (ascii_event_write.cpp).
  KivResult WithEventsCache(const std::function<KivResult(CEventsWriterCache&)>& call) override;

 private:
  void FireChanges(IKivDataFactory* factory, uint32_t kind, const NameChanges& changes);
  // Null (and the load asked for) while nothing is loaded.
  const TextLapData* LapMarkerData() override;

  std::optional<TextLapData> laps_;  // this object's copy of the current load's markers

  KivTime offset_ = 0;  // what channels and event sets made from now start with
};

// Opens a text outing on `path` (the file need not exist yet): the outing
// object on the path's shared cache, made with `outingId`. ops: the file
// system the cache's loads read through; null for the real one.
[[nodiscard]] KivResult OpenAsciiOuting(const std::u16string& path, bool overrideProperties,
                                        ComPtr<CAsciiOuting>* outing, const Guid& outingId = kTextOutingTypeId,
                                        TextFileOps* ops = nullptr);

}  // namespace velmar
