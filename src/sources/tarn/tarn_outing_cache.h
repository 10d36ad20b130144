// CTarnOutingCache: what every outing object on one `.trn` file shares.
//
// It holds the connection to the store (CFileStateMachine) and one read
// machine per list, each run on the store thread and answered from its
// finished job, plus one machine per item whose data a client asked for.
//
// Loading. The constructor opens the file and reads the details record;
// when that is in, the lap markers are read, and once both are in the
// outing is announced as loaded (OnInformationChanged on every outing
// object, then OnLapMarkersReset). Everything else waits for a client: a
// list is read the first time it is asked for (the getters below give null
// and start the read), an item's data the first time a client asks for it.
//
// CloseData reopens the file and reads again whatever had been asked for;
// item data is dropped and its clients told.
//
// Ownership: counted (the registry, each outing object, jobs in flight
// through their machines). The destructor lets every machine go, which
// cancels its job; store objects are released on the store thread.
//
// Client thread only.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "outing/channels/channel_data_cache.h"
#include "outing/cache/create_outing_state_machine.h"
#include "outing/cache/outing_cache.h"
#include "outing/cache/outing_cache_registry.h"
#include "sources/tarn/tarn_create_job.h"
#include "sources/tarn/tarn_item_reads.h"
#include "sources/tarn/tarn_outing_information.h"
#include "sources/tarn/tarn_outing_state_changes.h"
#include "sources/tarn/tarn_read_jobs.h"
#include "writeback/transaction_base.h"
#include "writeback/transaction_state_machine.h"

namespace velmar {

// The caption of a file whose format version the store doesn't know.
inline constexpr std::u16string_view kUnknownFileVersionCaption = u"Unknown File Version";

// What the create machine calls on the cache.
class ITarnCreateCallback {
 public:
  virtual void OnCreated(bool success) = 0;
  virtual uint32_t AddRef() = 0;
  virtual uint32_t Release() = 0;

 protected:
  ~ITarnCreateCallback() = default;
};

class CTarnOutingCache final : public COutingCacheBase<CTarnOutingCache, ITarnOutingStateChanges>,
                               public CTransactions<CTarnOutingCache>,
                               public ITarnCreateCallback,
                               public ITarnInformationWriter,
                               ITarnReadClient<CLoadOutingJobItem>,
                               ITarnReadClient<CGetLapMarkerDataJobItem>,
                               ITarnReadClient<CLoadChannelNamesJobItem>,
                               ITarnReadClient<CGetEventNamesJobItem>,
                               ITarnReadClient<CTarnGetConstantsJobItem>,
                               ITarnReadClient<CLoadBlobJobItem>,
                               ITarnReadClient<CLoadMediaChannelNamesJobItem>,
                               ITarnReadClient<CGetCachedEventsJobItem>,
                               ITarnReadClient<CGetBlobDataJobItem>,
                               ITarnReadClient<CLoadMediaChannelAccessDataJobItem>,
                               ITarnReadClient<CStatusChannelDefinitionJobItem> {
  using Base = COutingCacheBase<CTarnOutingCache, ITarnOutingStateChanges>;

 public:
  CTarnOutingCache(std::u16string path, const Guid& outingId,
                   TarnStoreFactoryMaker makeFactory = DefaultTarnStoreFactoryMaker());
  ~CTarnOutingCache() override;

  uint32_t AddRef() override { return COutingCacheStateChanges::AddRef(); }
  uint32_t Release() override { return COutingCacheStateChanges::Release(); }

  // --- Outing ---------------------------------------------------------------
  // `information` not null. S_OK with a reference once the details record
  // and the lap markers are in; otherwise starts whichever is missing, S_FALSE.
  KivResult GetInformation(IKivPropertySet** information);
  // Drops and reads again (see the top); nothing while a transaction has an owner.
  void CloseData();
  // Makes the data set at the path when it is missing; the outing that asked
  // (the last attached) hears OnCreatedNotify. False when the folder can't be
  // written or a creation ran already.
  bool CreateDataSet() override;
  // The outing was announced as loaded and not closed since.
  bool loaded() const { return loaded_; }
  bool unknown_version() const { return unknownVersion_; }
  // The result of the last open of the file; S_OK before it ends.
  KivResult open_result() const { return file_->open_result(); }

  // --- Fast-lap settings (the outing factory's) -------------------------------
  bool fast_lap_filter() const { return fastLapFilterEnabled_; }
  KivTime fast_lap_minimum_time() const { return fastLapMinimumTime_; }
  void SetFastLapFilter(bool enabled);
  void SetFastLapMinimumTime(KivTime minimum);

  // --- Lists: null while not read, and the read is started -----------------
  const TarnLapData* LapData();
  const TarnChannelMap* ChannelList();
  const std::vector<TarnNamedItem>* EventNames();
  const std::vector<TarnConstant>* Constants();
  // The constant list being delivered was read after a constant step: the
  // outings drop their fetched spreadsheet values before they merge it.
  bool constants_rewritten() const { return constantsRewritten_; }
  const std::vector<TarnNamedItem>* BlobList();
  // The blob list when it has been read; null otherwise, and no read starts.
  const std::vector<TarnNamedItem>* LoadedBlobList() const;
  const TarnMediaChannelMap* MediaChannelList();

  // --- Status channel definitions ----------------------------------------------
  // The tree once built (an empty one when the blob was refused). Otherwise
  // null: a read running is cancelled and one more started, and every outing
  // object hears OnStatusChannelDefinitionsReady when it is built. A file
  // without the blob fails the read and stays without a tree: every call
  // tries again.
  ComPtr<CStatusChannelDefinitions> StatusChannelDefinitions();

  // --- Write-back -------------------------------------------------------------
  // The one transaction of the file, shared by its outing objects.
  CTransactionStateMachine* transaction() const { return transaction_.Get(); }
  // What hears that a lap marker step wrote.
  CWriteBackStateChanges* lap_write_back() { return &lapWriteBack_; }
  // What hears that a channel step wrote.
  CWriteBackStateChanges* channel_write_back() { return &channelWriteBack_; }
  // What hears that an event step wrote.
  CWriteBackStateChanges* event_write_back() { return &eventWriteBack_; }
  // What hears that a constant, a blob or an information step wrote.
  CWriteBackStateChanges* constant_write_back() { return &constantWriteBack_; }
  CWriteBackStateChanges* blob_write_back() { return &blobWriteBack_; }
  CWriteBackStateChanges* information_write_back() { return &informationWriteBack_; }
  // ITarnInformationWriter: the information step; a new "First lap number"
  // makes the lap markers read again after the write.
  KivResult QueueInformation(PropertyList properties) override;
  // What hears that a media channel step wrote.
  CWriteBackStateChanges* media_write_back() { return &mediaWriteBack_; }

  // CTransactionBase: the store's write handle, on the store thread.
  ComPtr<CJobItem> MakeWriteAccessJob(CStateMachineEx* owner) override;
  ComPtr<CJobItem> MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) override;
  AsyncThread GetJobThread() override;
  void OnWriteLost() override;

  // --- Item data ---------------------------------------------------------------
  // The samples of the channels, by key, read on first demand (the channel
  // objects of every outing on the file share it).
  CChannelDataCache* channel_data() const { return channelData_.Get(); }
  // S_OK with the data when read; else S_FALSE, the read started, and
  // `client` told by OnItemDataReady.
  [[nodiscard]] KivResult GetEventData(ITarnItemDataClient* client, uint64_t eventId,
                                       const CGetCachedEventsJobItem** data);
  [[nodiscard]] KivResult GetBlobData(ITarnItemDataClient* client, uint64_t blobId,
                                      const CGetBlobDataJobItem** data);
  [[nodiscard]] KivResult GetMediaChannelAccessData(ITarnItemDataClient* client, uint64_t channelId,
                                                    const CLoadMediaChannelAccessDataJobItem** data);
  // The client is going: it waits for nothing any more.
  void ForgetClient(ITarnItemDataClient* client);

 protected:
  std::u16string BuildCaption() override;

 private:
  using CreateMachine = CCreateOutingStateMachine<ITarnCreateCallback, CTarnCreateOutingJobItem>;
  template <class Job>
  using Reader = ClientRef<CTarnReadStateMachine<Job>>;

  void OnCreated(bool success) override;
  void OnReadDone(CTarnReadStateMachine<CLoadOutingJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CGetLapMarkerDataJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CLoadChannelNamesJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CGetEventNamesJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CTarnGetConstantsJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CLoadBlobJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CLoadMediaChannelNamesJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CGetCachedEventsJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CGetBlobDataJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CLoadMediaChannelAccessDataJobItem>& m, KivResult status) override;
  void OnReadDone(CTarnReadStateMachine<CStatusChannelDefinitionJobItem>& m, KivResult status) override;

  template <class Job>
  Reader<Job> MakeReader();
  // The results of a list machine; starts it when there are none.
  template <class Job>
  Job* ResultsOrStart(const Reader<Job>& reader);
  // The read of one channel's samples, for the channel data cache.
  std::unique_ptr<CChannelDataFetch> MakeChannelFetch(const CChannelKey& key);
  // GetEventData and its kin: the item `id`'s read in `reads`.
  template <class Job>
  KivResult GetItemData(CTarnItemReads<Job>& reads, ITarnItemDataClient* client, uint64_t id, const Job** data);
  template <class Job>
  void TellItemClients(const CTarnItemReads<Job>& reads, const CTarnReadStateMachine<Job>& machine,
                       KivResult status);

  // Marks the outing loaded and, with the lap markers in, tells every outing
  // object; without them, asks for them.
  void AnnounceLoaded();
  // The lap markers changed (read, or dropped): fast lap, caption, clients.
  void RefreshAfterLapChange();
  // The fast lap as the settings and the lap markers say, to the information.
  void UpdateFastLap();

  // The lap markers after a write: dropped, every outing told, read again.
  void ReloadLapMarkersAfterWrite();
  // The channel list after a write: read again, and every outing told.
  void ReloadChannelsAfterWrite();
  // The event set names after a write: read again, and every outing told.
  void ReloadEventsAfterWrite();
  // The constant list after a write: read again when it had been read
  // (each outing merges it, so the entries are as stored again).
  void ReloadConstantsAfterWrite();
  // The blob list after a write: read again, and every blob's content dropped.
  void ReloadBlobsAfterWrite();
  // The details record after a write: read again and announced, after the
  // lap markers when the first lap number changed.
  void ReloadInformationAfterWrite();
  // The media channels and their clips after a write: read again, and every
  // outing told.
  void ReloadMediaAfterWrite();
  // Runs one of the reloads above after a successful step.
  class CReloadAfterWrite final : public CWriteBackStateChanges {
   public:
    CReloadAfterWrite(CTarnOutingCache* cache, void (CTarnOutingCache::*reload)()) : cache_(cache), reload_(reload) {}
    void ReloadAfterWrite() override { (cache_->*reload_)(); }

   private:
    CTarnOutingCache* cache_;
    void (CTarnOutingCache::*reload_)();
  };

  const TarnStoreFactoryMaker makeFactory_;
  ClientRef<CFileStateMachine> file_;  // before the readers: they use it until they go
  Reader<CLoadOutingJobItem> outing_;
  Reader<CGetLapMarkerDataJobItem> lapMarkers_;
  Reader<CLoadChannelNamesJobItem> channels_;
  Reader<CGetEventNamesJobItem> eventNames_;
  Reader<CTarnGetConstantsJobItem> constants_;
  Reader<CLoadBlobJobItem> blobs_;
  Reader<CStatusChannelDefinitionJobItem> statusDefinitions_;
  ComPtr<CStatusChannelDefinitions> statusTree_;
  Reader<CLoadMediaChannelNamesJobItem> mediaChannels_;
  ClientRef<CreateMachine> create_;
  // What a fetch made after the cache went finds: nothing.
  struct Link {
    CTarnOutingCache* cache;
  };
  std::shared_ptr<Link> link_;
  ComPtr<CChannelDataCache> channelData_;
  CTarnItemReads<CGetCachedEventsJobItem> eventData_;
  CTarnItemReads<CGetBlobDataJobItem> blobData_;
  CTarnItemReads<CLoadMediaChannelAccessDataJobItem> mediaData_;

  ClientRef<CTransactionStateMachine> transaction_;
  CReloadAfterWrite lapWriteBack_{this, &CTarnOutingCache::ReloadLapMarkersAfterWrite};
  CReloadAfterWrite channelWriteBack_{this, &CTarnOutingCache::ReloadChannelsAfterWrite};
  CReloadAfterWrite eventWriteBack_{this, &CTarnOutingCache::ReloadEventsAfterWrite};
  CReloadAfterWrite constantWriteBack_{this, &CTarnOutingCache::ReloadConstantsAfterWrite};
  CReloadAfterWrite blobWriteBack_{this, &CTarnOutingCache::ReloadBlobsAfterWrite};
  CReloadAfterWrite informationWriteBack_{this, &CTarnOutingCache::ReloadInformationAfterWrite};
  bool constantsRewritten_ = false;  // the constant read running follows a write
  bool firstLapChanged_ = false;   // a queued step sets a new first lap number
  bool informationStale_ = false;  // the next details read is announced, changed or not
  CReloadAfterWrite mediaWriteBack_{this, &CTarnOutingCache::ReloadMediaAfterWrite};

  ComPtr<CTarnOutingInformation> information_;
  bool loaded_ = false;
  bool unknownVersion_ = false;
  bool fastLapFilterEnabled_ = false;
  KivTime fastLapMinimumTime_;
};

}  // namespace velmar
