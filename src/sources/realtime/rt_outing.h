// CRTOuting: an outing object on a live "rt://" address or host list (type
// 4), over CRTOutingCore. Its cache, CRTOutingCache, holds only the path
// and the type; the connection, its state and the data are the object's.
//
// What it offers today: caption and connection state, its channels (read on
// demand, one change per read), status channel definitions, history mode
// (IKivRealtimeOuting), lap markers (IKivLapMarkers), the refusing
// transaction (IKivTransaction) and the outing's notifications (information,
// channel lists, lap markers, reloads, the transaction message), and its
// information object (details and the server's pairs), its event sets (what
// is pending read on demand), its constants and its blobs.
//
// Client thread only.
#pragma once

#include <memory>

#include "outing/cache/outing_cache.h"
#include "outing/cache/outing_on_cache.h"
#include "sources/realtime/rt_blob.h"
#include "sources/realtime/rt_channel.h"
#include "sources/realtime/rt_constants.h"
#include "sources/realtime/rt_event_set.h"
#include "sources/realtime/rt_lap_markers.h"
#include "sources/realtime/rt_outing_core.h"
#include "velmar/time_regions.h"
#include "velmar/transaction.h"

namespace velmar {

class CRTOutingCache final : public COutingCacheBase<CRTOutingCache, COutingStateChanges> {
 public:
  CRTOutingCache(std::u16string path, const Guid& outingId)
      : COutingCacheBase(OutingType::kRealTime, std::move(path), outingId) {}
  // A live address makes no data set.
  bool CreateDataSet() override { return false; }
  // The fast-lap settings of the factory, kept for the information.
  void SetFastLapFilter(bool enabled) { fastLapFilter_ = enabled; }
  void SetFastLapMinimumTime(KivTime minimum) { fastLapMinimumTime_ = minimum; }
  bool fast_lap_filter() const { return fastLapFilter_; }
  KivTime fast_lap_minimum_time() const { return fastLapMinimumTime_; }

 private:
  bool fastLapFilter_ = false;
  KivTime fastLapMinimumTime_ = 0;
};

class CRTOuting final
    : public COutingOnCache<CRTOutingCache, CRTOutingChannelFactory, CRTOutingEventsFactory,
                            CRTOutingConstantFactory, CRTOutingBlobFactory, CRTLapMarkers, IKivRealtimeOuting,
                            IKivTransaction> {
 public:
  CRTOuting(ComPtr<CRTOutingCache> cache, bool overrideProperties);
  ~CRTOuting() override;

  // IKivRealtimeOuting
  KivResult GetHistoryMode(KivBool* keepAll) override { return core_->GetHistoryMode(keepAll); }
  KivResult SetHistoryMode(KivBool keepAll) override { return core_->SetHistoryMode(keepAll); }
  // IKivTransaction: nothing can be written.
  KivResult Begin() override { return S_OK; }
  KivResult Commit() override { return core_->CommitTransaction(); }
  KivResult Rollback() override { return core_->RollbackTransaction(); }

  CRTOutingCore& core() { return *core_; }

 protected:
  KivResult OutingInformation(IKivPropertySet** information) override;
  KivResult CloseOutingData() override;
  std::u16string OutingCaption() override { return core_->GetCaption(); }
  KivResult ApplyTimeOffset(KivTime) override { return E_FAIL; }
  KivResult StatusChannelDefinitions(IKivStatusChannelDefinitions** definitions) override;
  CRTOutingCore& LiveCore() override { return *core_; }
  // The markers and ranges as the core has them now; null while no range
  // has been told.
  const RtLapData* LapMarkerData() override;

 private:
  // The core's events as this outing's notifications.
  class Events final : public IRtOutingEvents {
   public:
    explicit Events(CRTOuting* outing) : outing_(outing) {}
    void OnInformationChanged() override { outing_->OnInformationChanged(); }
    void OnLapMarkersReset() override { outing_->OnLapMarkersReset(); }
    void OnLapMarkersChanged(KivTime start, KivTime end) override { outing_->OnLapMarkersChanged(start, end); }
    void OnLapMarkersShifted(KivTime first, KivTime last) override { outing_->OnLapMarkersShifted(first, last); }
    void OnDataClosed() override { outing_->Reloaded(); }
    void OnTransactionMessage(const std::u16string& text) override { outing_->OnTransactionStatus(text); }
    void OnChannelDataChanged(const std::u16string& channel, KivTime from, KivTime to) override {
      outing_->OnLiveData(channel, from, to);
    }
    void OnChannelsRemoved(const std::vector<std::u16string>& names) override { outing_->ChannelsGone(names); }
    void OnChannelsAdded(const std::vector<std::u16string>& names) override { outing_->ChannelsCame(names); }
    void OnEventDataChanged(const std::u16string& set, KivTime from, KivTime to) override {
      outing_->OnLiveEvents(set, from, to);
    }
    void OnFirstChannelRecords(const std::vector<rt::WireChannel>& records) override {
      outing_->FeedChannelProperties(records);
    }
    void OnFirstEventNames(const std::vector<std::u16string>& names) override { outing_->FeedEventProperties(names); }
    void OnFastLapUnknown(KivTime span) override {
      if (outing_->cache()->fast_lap_filter() && span >= outing_->cache()->fast_lap_minimum_time()) {
        outing_->OnInformationChanged();
      }
    }

   private:
    CRTOuting* outing_;
  };

  // Everything was read again: the constants merge the new list, then the
  // clients hear of the reload.
  void Reloaded();
  void ChannelsGone(const NameList& names);
  void ChannelsCame(const NameList& names);
  ComPtr<IKivRealTimeSettings3> RootSettings();
  ComPtr<IKivVelmar> Root();
  void FeedChannelProperties(const std::vector<rt::WireChannel>& records);
  void FeedEventProperties(const std::vector<std::u16string>& names);
  IKivDataFactory* channel_factory() { return static_cast<CRTOutingChannelFactory*>(this)->AsDataFactory(); }

  Events events_{this};
  RtLapData lapData_;
  std::unique_ptr<CRTOutingCore> core_;
};

// Registers the live source with the outing factory (type 4). Call once at
// start-up, before the first outing of the type is asked for.
[[nodiscard]] KivResult RegisterRealtimeOutingSource();

}  // namespace velmar
