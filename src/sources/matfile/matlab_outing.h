// CMatlabOuting: one client's outing object on a MAT-file. It lists the
// loaded channel variables through its channel factory and makes the
// channel objects that read them; a MAT-file has no events or constants, and
// no lap markers beyond the outing's span. Channels are written through
// IKivChannelWriter and a transaction.
//
// Client thread only.
#pragma once

#include <string>

#include "outing/cache/empty_facets.h"
#include "outing/cache/file_outing.h"
#include "outing/channels/file_channel_factory.h"
#include "outing/laps/list_lap_markers.h"
#include "sources/matfile/matlab_outing_cache.h"
#include "velmar/data_factory.h"
#include "velmar/outing.h"
#include "writeback/channel_writer_facet.h"
#include "writeback/transaction_facet.h"

namespace velmar {

// The channels of a MAT-file outing: one per loaded channel variable; a
// variable carries no unit.
using CMatlabChannelFactory = CFileChannelFactory<CMatlabOutingCache>;

// No markers: the lap list is only the outing's span.
struct MatlabLapData {
  struct Marker {};
  LapSpan span;
  double distanceOrigin = 0.0;
  std::vector<Marker> markers;
};
inline KivTime LapMarkerTime(const MatlabLapData::Marker&) { return 0; }
inline uint32_t LapMarkerNumber(const MatlabLapData::Marker&) { return 0; }
inline bool LapMarkerHalted(const MatlabLapData::Marker&) { return false; }

class CMatlabOuting final
    : public CFileOuting<CMatlabOutingCache, CMatlabChannelFactory, CEmptyEventsFactory, CEmptyConstantFactory,
                         CListLapMarkers<MatlabLapData>, CChannelWriterFacet, CTransactionFacet> {
 public:
  CMatlabOuting(ComPtr<CMatlabOutingCache> cache, bool overrideProperties);
  ~CMatlabOuting() override;

  CMatlabChannelFactory& channels() { return *this; }

  void OnDataDiscarded() override;
  void OnChannelsLoaded() override;
  void OnLapMarkersReset() override;

 protected:
  KivResult ApplyTimeOffset(KivTime offset) override;
  KivResult CloseOutingData() override {
    cache()->CloseData();
    return S_OK;
  }
  CTransactionStateMachine* TransactionMachine() override { return cache()->transaction(); }
  COutingStateChanges* TransactionOuting() override { return this; }
  // CChannelWriterFacet (matlab_channel_write.cpp); the outing reloads after a commit.
  KivResult WriteRequest(const WriteChannelsRequest& request) override;

 private:
  const MatlabLapData* LapMarkerData() override;

  std::optional<MatlabLapData> laps_;
  KivTime offset_ = 0;
};

// Registers the MAT-file source for OutingType::kMatFile with the outing
// factory, unless it is registered already (S_FALSE).
[[nodiscard]] KivResult RegisterMatlabOutingSource();

}  // namespace velmar
