#include "sources/tarn/tarn_outing_cache.h"

#include <utility>

#include "jobs/job_thread.h"
#include "outing/cache/file_outing_cache.h"
#include "outing/cache/temp_file.h"
#include "sources/tarn/tarn_transactions.h"

namespace velmar {

CTarnOutingCache::CTarnOutingCache(std::u16string path, const Guid& outingId, TarnStoreFactoryMaker makeFactory)
    : Base(OutingType::kTarn, std::move(path), outingId),
      makeFactory_(std::move(makeFactory)),
      file_(MakeClient<CFileStateMachine>(makeFactory_)),
      outing_(MakeReader<CLoadOutingJobItem>()),
      lapMarkers_(MakeReader<CGetLapMarkerDataJobItem>()),
      channels_(MakeReader<CLoadChannelNamesJobItem>()),
      eventNames_(MakeReader<CGetEventNamesJobItem>()),
      constants_(MakeReader<CTarnGetConstantsJobItem>()),
      blobs_(MakeReader<CLoadBlobJobItem>()),
      statusDefinitions_(MakeReader<CStatusChannelDefinitionJobItem>()),
      mediaChannels_(MakeReader<CLoadMediaChannelNamesJobItem>()),
      create_(MakeClient<CreateMachine>(static_cast<ITarnCreateCallback*>(this), &DaeThread)),
      link_(std::make_shared<Link>(Link{this})),
      transaction_(MakeClient<CTransactionStateMachine>(static_cast<CTransactionBase*>(this))),
      fastLapMinimumTime_(kDefaultFastLapMinimumTime) {
  channelData_ = ComPtr<CChannelDataCache>(new CChannelDataCache(
      [link = link_](const CChannelKey& key) -> std::unique_ptr<CChannelDataFetch> {
        return link->cache ? link->cache->MakeChannelFetch(key) : nullptr;
      },
      DaeThread()));
  // The open first: the details read queued after it on the same thread runs
  // on the open file.
  (void)file_->Open(this->path());
  (void)outing_->Start();
}

CTarnOutingCache::~CTarnOutingCache() {
  // Machines first lose the cache as their client and cancel their jobs;
  // the file is closed last, on the store thread.
  link_->cache = nullptr;
  if (information_) information_->Orphan();
  transaction_.Reset();
  channelData_->Discard();
  eventData_.Clear();
  blobData_.Clear();
  mediaData_.Clear();
  create_.Reset();
  mediaChannels_.Reset();
  blobs_.Reset();
  constants_.Reset();
  eventNames_.Reset();
  channels_.Reset();
  lapMarkers_.Reset();
  outing_.Reset();
  file_.Reset();
}

template <class Job>
CTarnOutingCache::Reader<Job> CTarnOutingCache::MakeReader() {
  return MakeClient<CTarnReadStateMachine<Job>>(static_cast<ITarnReadClient<Job>*>(this), file_.Get(),
                                                MakeTarnJob<Job>());
}

template <class Job>
Job* CTarnOutingCache::ResultsOrStart(const Reader<Job>& reader) {
  if (Job* done = reader->results()) return done;
  (void)reader->Start();
  return nullptr;
}

// --- Outing -------------------------------------------------------------------

KivResult CTarnOutingCache::GetInformation(IKivPropertySet** information) {
  *information = nullptr;
  const bool lapsIn = LapData() != nullptr;  // starts the lap read when missing
  if (!information_) {
    (void)outing_->Start();
    return S_FALSE;
  }
  if (!lapsIn) return S_FALSE;
  *information = information_.Get();
  information_->AddRef();
  return S_OK;
}

void CTarnOutingCache::CloseData() {
  // The transaction's owner still edits what it read.
  if (owner()) return;
  ComPtr<CTarnOutingCache> keep(this);
  file_->Close();
  (void)file_->Open(path());
  lapMarkers_->Drop();
  ForEachClient([](ITarnOutingStateChanges& client) { client.OnLapMarkersReset(); });
  channels_->Reload();
  channelData_->DropAll();
  eventNames_->Reload();
  eventData_.DropAll();
  blobs_->Reload();
  blobData_.DropAll();
  constants_->Reload();
  mediaChannels_->Reload();
  mediaData_.DropAll();
  if (statusTree_ || statusDefinitions_->requested()) {  // built again for whoever asked
    statusTree_ = nullptr;
    statusDefinitions_->Drop();
    (void)statusDefinitions_->Start();
  }
  loaded_ = false;
  InvalidateCaption();
}

ComPtr<CStatusChannelDefinitions> CTarnOutingCache::StatusChannelDefinitions() {
  if (statusTree_) return statusTree_;
  statusDefinitions_->Drop();  // a read running is cancelled; its completion is not waited for
  (void)statusDefinitions_->Start();
  return nullptr;
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CStatusChannelDefinitionJobItem>& m, KivResult status) {
  if (Failed(status)) return;
  const CStatusChannelDefinitionJobItem* read = m.results();
  statusTree_ = StatusChannelDefinitionsFromBlob(read->blob(),
                                                 BuildStatusChannelMap(read->channels(), read->largest_quantity()));
  m.Drop();  // the tree is kept; the read's bytes go
  ForEachClient([](ITarnOutingStateChanges& client) { client.OnStatusChannelDefinitionsReady(); });
}

bool CTarnOutingCache::CreateDataSet() {
  if (!CanCreateDataSetIn(path())) return false;
  return create_->Create(path(), makeFactory_);
}

void CTarnOutingCache::OnCreated(bool success) {
  ComPtr<CTarnOutingCache> keep(this);
  if (success) {
    // The file is there now: read it as if it had been there from the start.
    // The open tried before the file existed may still be closing: the new
    // open then runs behind that close.
    const CFileStateMachine::State state = file_->state();
    if (state == CFileStateMachine::State::kClosed || state == CFileStateMachine::State::kClosing)
      (void)file_->Open(path());
    unknownVersion_ = false;
    (void)outing_->Start();
  }
  if (ITarnOutingStateChanges* last = LastClient()) {
    ComPtr<ITarnOutingStateChanges> client(last);
    client->OnCreatedNotify(success);
  }
}

std::u16string CTarnOutingCache::BuildCaption() {
  if (unknownVersion_) return std::u16string(kUnknownFileVersionCaption);
  return Base::BuildCaption();
}

void CTarnOutingCache::AnnounceLoaded() {
  ComPtr<CTarnOutingCache> keep(this);
  loaded_ = true;
  if (!lapMarkers_->results()) {
    (void)lapMarkers_->Start();
    return;
  }
  ForEachClient([](ITarnOutingStateChanges& client) { client.OnInformationChanged(); });
}

void CTarnOutingCache::RefreshAfterLapChange() {
  ComPtr<CTarnOutingCache> keep(this);
  UpdateFastLap();
  InvalidateCaption();
  if (!information_) return;
  AnnounceLoaded();
  // A write may have changed the outing record too (first lap number,
  // details): it is read again, the record in hand served meanwhile so the
  // laps keep their numbers.
  outing_->Reload();
  ForEachClient([](ITarnOutingStateChanges& client) { client.OnLapMarkersReset(); });
}

void CTarnOutingCache::UpdateFastLap() {
  if (!information_) return;
  const CGetLapMarkerDataJobItem* laps = lapMarkers_->results();
  if (!fastLapFilterEnabled_ || !laps) {
    information_->SetFastLap(fastLapFilterEnabled_, std::nullopt);
    return;
  }
  const TarnLapData& data = laps->data();
  information_->SetFastLap(true, FindFastLap(data.MarkerTimes(), data.span, fastLapMinimumTime_));
}

void CTarnOutingCache::SetFastLapFilter(bool enabled) {
  if (fastLapFilterEnabled_ == enabled) return;
  fastLapFilterEnabled_ = enabled;
  UpdateFastLap();
  InvalidateCaption();
}

void CTarnOutingCache::SetFastLapMinimumTime(KivTime minimum) {
  if (fastLapMinimumTime_ == minimum) return;
  fastLapMinimumTime_ = minimum;
  UpdateFastLap();
  InvalidateCaption();
}

// --- Lists ---------------------------------------------------------------------

const TarnLapData* CTarnOutingCache::LapData() {
  CGetLapMarkerDataJobItem* job = ResultsOrStart(lapMarkers_);
  return job ? &job->data() : nullptr;
}

const TarnChannelMap* CTarnOutingCache::ChannelList() {
  CLoadChannelNamesJobItem* job = ResultsOrStart(channels_);
  return job ? &job->channels() : nullptr;
}

const std::vector<TarnNamedItem>* CTarnOutingCache::EventNames() {
  CGetEventNamesJobItem* job = ResultsOrStart(eventNames_);
  return job ? &job->names() : nullptr;
}

const std::vector<TarnConstant>* CTarnOutingCache::Constants() {
  CTarnGetConstantsJobItem* job = ResultsOrStart(constants_);
  return job ? &job->constants() : nullptr;
}

const std::vector<TarnNamedItem>* CTarnOutingCache::BlobList() {
  CLoadBlobJobItem* job = ResultsOrStart(blobs_);
  return job ? &job->blobs() : nullptr;
}

const TarnMediaChannelMap* CTarnOutingCache::MediaChannelList() {
  CLoadMediaChannelNamesJobItem* job = ResultsOrStart(mediaChannels_);
  return job ? &job->channels() : nullptr;
}

// --- Item data ----------------------------------------------------------------

std::unique_ptr<CChannelDataFetch> CTarnOutingCache::MakeChannelFetch(const CChannelKey& key) {
  const CLoadChannelNamesJobItem* list = channels_->results();
  if (!list) {
    if (channels_->state() == CTarnReadStateMachine<CLoadChannelNamesJobItem>::State::kRunning) {
      return std::make_unique<CTarnWaitForListFetch>();
    }
    return nullptr;
  }
  auto it = list->channels().find(key.text());
  if (it == list->channels().end()) return nullptr;
  return std::make_unique<CTarnChannelDataFetch>(file_->Connection(), it->second);
}

template <class Job>
KivResult CTarnOutingCache::GetItemData(CTarnItemReads<Job>& reads, ITarnItemDataClient* client, uint64_t id,
                                        const Job** data) {
  if (!data) return E_POINTER;
  Job* job = nullptr;
  KivResult r = reads.Get(id, client, this, file_.Get(), MakeTarnJob<Job>(id), &job);
  *data = job;
  return r;
}

KivResult CTarnOutingCache::GetEventData(ITarnItemDataClient* client, uint64_t eventId,
                                         const CGetCachedEventsJobItem** data) {
  return GetItemData(eventData_, client, eventId, data);
}

KivResult CTarnOutingCache::GetBlobData(ITarnItemDataClient* client, uint64_t blobId,
                                        const CGetBlobDataJobItem** data) {
  return GetItemData(blobData_, client, blobId, data);
}

KivResult CTarnOutingCache::GetMediaChannelAccessData(ITarnItemDataClient* client, uint64_t channelId,
                                                      const CLoadMediaChannelAccessDataJobItem** data) {
  return GetItemData(mediaData_, client, channelId, data);
}

void CTarnOutingCache::ForgetClient(ITarnItemDataClient* client) {
  eventData_.Forget(client);
  blobData_.Forget(client);
  mediaData_.Forget(client);
}

// --- Reads ending ---------------------------------------------------------------

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CLoadOutingJobItem>& m, KivResult status) {
  ComPtr<CTarnOutingCache> keep(this);
  if (Failed(status)) {
    // The store can't read this file's format: the caption says so, and
    // there is no information to announce.
    if (status == E_BADFILEVERSION && !unknownVersion_) {
      unknownVersion_ = true;
      InvalidateCaption();
    }
    return;
  }
  unknownVersion_ = false;
  const bool stale = std::exchange(informationStale_, false);
  const bool same = !stale && information_ && information_->read()->properties() == m.results()->properties();
  if (information_) information_->Orphan();
  information_ = MakeKiv<CTarnOutingInformation>(ComPtr<CLoadOutingJobItem>(m.results()),
                                                 static_cast<ITarnInformationWriter*>(this));
  UpdateFastLap();
  if (same) return;  // read again after the laps, unchanged: nothing to tell
  InvalidateCaption();
  AnnounceLoaded();
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CGetLapMarkerDataJobItem>& m, KivResult status) {
  if (Failed(status)) return;
  ComPtr<CTarnOutingCache> keep(this);
  RefreshAfterLapChange();
  const CGetLapMarkerDataJobItem* laps = m.results();
  if (!laps) return;
  const TarnLapSpan& span = laps->data().span;
  ForEachClient([&](ITarnOutingStateChanges& client) { client.OnLapMarkersChanged(span.outingStart, span.outingEnd); });
  // After every load; a store that keeps no movement gives the outing's span.
  const KivTime first = span.movement ? span.movement->first : span.outingStart;
  const KivTime last = span.movement ? span.movement->second : span.outingEnd;
  ForEachClient([&](ITarnOutingStateChanges& client) { client.OnLapMarkersShifted(first, last); });
}

// --- Write-back -------------------------------------------------------------------

ComPtr<CJobItem> CTarnOutingCache::MakeWriteAccessJob(CStateMachineEx* owner) {
  return MakeKiv<CTarnOutingTransactionJobItem>(owner, file_->Connection());
}

ComPtr<CJobItem> CTarnOutingCache::MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) {
  return MakeKiv<CTarnOutingCloseJob>(
      owner, ComPtr<CTarnOutingTransactionJobItem>(static_cast<CTarnOutingTransactionJobItem*>(writeAccess)));
}

AsyncThread CTarnOutingCache::GetJobThread() { return DaeThread(); }

void CTarnOutingCache::OnWriteLost() { CloseData(); }

void CTarnOutingCache::ReloadLapMarkersAfterWrite() {
  lapMarkers_->Drop();
  RefreshAfterLapChange();
}

void CTarnOutingCache::ReloadChannelsAfterWrite() {
  channels_->Drop();
  (void)ChannelList();
}

void CTarnOutingCache::ReloadEventsAfterWrite() {
  eventNames_->Drop();
  (void)EventNames();
}

void CTarnOutingCache::ReloadMediaAfterWrite() {
  mediaData_.DropAll();
  mediaChannels_->Drop();
  (void)MediaChannelList();
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CLoadChannelNamesJobItem>& m, KivResult status) {
  if (Failed(status)) return;  // idle again: the next request reads again
  const TarnChannelMap& channels = m.results()->channels();
  ForEachClient([&](ITarnOutingStateChanges& client) { client.OnChannelListRead(channels); });
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CGetEventNamesJobItem>& m, KivResult status) {
  if (Failed(status)) return;
  const std::vector<TarnNamedItem>& names = m.results()->names();
  ForEachClient([&](ITarnOutingStateChanges& client) { client.OnEventNamesRead(names); });
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CTarnGetConstantsJobItem>& m, KivResult status) {
  if (Failed(status)) return;
  const std::vector<TarnConstant>& constants = m.results()->constants();
  ForEachClient([&](ITarnOutingStateChanges& client) { client.OnConstantsRead(constants); });
  constantsRewritten_ = false;
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CLoadBlobJobItem>& m, KivResult status) {
  if (Failed(status)) return;
  const std::vector<TarnNamedItem>& blobs = m.results()->blobs();
  ForEachClient([&](ITarnOutingStateChanges& client) { client.OnBlobListRead(blobs); });
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CLoadMediaChannelNamesJobItem>& m, KivResult status) {
  if (Failed(status)) return;
  const TarnMediaChannelMap& channels = m.results()->channels();
  ForEachClient([&](ITarnOutingStateChanges& client) { client.OnMediaChannelListRead(channels); });
}

template <class Job>
void CTarnOutingCache::TellItemClients(const CTarnItemReads<Job>& reads, const CTarnReadStateMachine<Job>& machine,
                                       KivResult status) {
  ComPtr<CTarnOutingCache> keep(this);
  for (ITarnItemDataClient* client : reads.ClientsOf(machine)) {
    // One told before may have gone and taken another with it.
    if (reads.IsEntered(client)) client->OnItemDataReady(Succeeded(status), kTimeMin, kTimeMax);
  }
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CGetCachedEventsJobItem>& m, KivResult status) {
  TellItemClients(eventData_, m, status);
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CGetBlobDataJobItem>& m, KivResult status) {
  TellItemClients(blobData_, m, status);
}

void CTarnOutingCache::OnReadDone(CTarnReadStateMachine<CLoadMediaChannelAccessDataJobItem>& m, KivResult status) {
  TellItemClients(mediaData_, m, status);
}

}  // namespace velmar
