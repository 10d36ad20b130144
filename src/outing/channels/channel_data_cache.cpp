#include "outing/channels/channel_data_cache.h"

#include <algorithm>
#include <new>
#include <utility>

namespace velmar {

CGetChannelDataCacheJobItem::CGetChannelDataCacheJobItem(CStateMachineEx* owner,
                                                         std::unique_ptr<CChannelDataFetch> fetch)
    : CJobItemEx(owner), fetch_(std::move(fetch)) {}

KivResult CGetChannelDataCacheJobItem::Run() {
  sections_.clear();
  return fetch_ ? fetch_->Fetch(&sections_) : E_FAIL;
}

CChannelDataCacheStateMachine::CChannelDataCacheStateMachine(CChannelKey key, ChannelFetchFactory factory,
                                                             AsyncThread thread)
    : key_(std::move(key)), factory_(std::move(factory)), thread_(thread) {}

CChannelDataCacheStateMachine::~CChannelDataCacheStateMachine() = default;

KivResult CChannelDataCacheStateMachine::Start() {
  if (state_ != State::kIdle) return S_FALSE;
  return QueueFetch();
}

KivResult CChannelDataCacheStateMachine::QueueFetch() {
  std::unique_ptr<CChannelDataFetch> fetch;
  try {
    if (factory_) fetch = factory_(key_);
    if (!fetch) return E_FAIL;
    job_ = MakeKiv<CGetChannelDataCacheJobItem>(this, std::move(fetch));
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  state_ = State::kRunning;
  const KivResult hr = Async_QueueNewJob(thread_, job_.Get());
  if (Failed(hr)) {
    state_ = State::kIdle;
    job_ = nullptr;
    return hr;
  }
  ++fetches_;
  return S_OK;
}

void CChannelDataCacheStateMachine::Stop() {
  if (state_ == State::kRunning && job_) (void)Async_CancelJob(thread_, job_.Get());
  state_ = State::kIdle;
  job_ = nullptr;
  sections_.reset();
}

void CChannelDataCacheStateMachine::Drop() {
  ComPtr<CStateMachineEx> keep(this);
  Stop();
  const std::vector<CChannelDataClient*> copy = clients_;
  for (CChannelDataClient* client : copy) {
    if (!HasClient(client)) continue;
    ComPtr<IKivUnknown> hold(client->ClientIdentity());
    client->OnDataDropped();
  }
}

void CChannelDataCacheStateMachine::JobCompleted(CJobItem* job) {
  if (!job || job != job_.Get() || state_ != State::kRunning) return;
  // Alive to the end of this call, whatever the clients do.
  ComPtr<CStateMachineEx> keep(this);
  ComPtr<CGetChannelDataCacheJobItem> done = std::move(job_);
  const KivResult status = done->status();
  if (Succeeded(status)) {
    try {
      sections_ = std::make_shared<const ChannelSections>(done->TakeSections());
    } catch (const std::bad_alloc&) {
      state_ = State::kIdle;
      TellClients(false);
      return;
    }
    state_ = State::kDone;
    TellClients(true);
    return;
  }
  state_ = State::kIdle;
  // The engine dropped the job: a fresh one at once, and nobody hears of it.
  if (status == E_JOB_DROPPED && Succeeded(QueueFetch())) return;
  TellClients(false);
}

void CChannelDataCacheStateMachine::AddClient(CChannelDataClient* client) {
  if (client && !HasClient(client)) clients_.push_back(client);
}

void CChannelDataCacheStateMachine::RemoveClient(CChannelDataClient* client) {
  std::erase(clients_, client);
}

bool CChannelDataCacheStateMachine::HasClient(CChannelDataClient* client) const {
  return std::find(clients_.begin(), clients_.end(), client) != clients_.end();
}

void CChannelDataCacheStateMachine::TellClients(bool ok) {
  const std::vector<CChannelDataClient*> copy = clients_;
  for (CChannelDataClient* client : copy) {
    if (!HasClient(client)) continue;  // left during the walk
    ComPtr<IKivUnknown> hold(client->ClientIdentity());
    client->OnData(ok, kTimeMin, kTimeMax);
  }
}

void CChannelDataCacheStateMachine::OnLastClientRelease() {
  clients_.clear();
  Stop();
}

CChannelDataCache::CChannelDataCache(ChannelFetchFactory factory, AsyncThread thread)
    : factory_(std::move(factory)), thread_(thread) {}

uint32_t CChannelDataCache::AddRef() { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }

uint32_t CChannelDataCache::Release() {
  const uint32_t n = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (n == 0) delete this;
  return n;
}

KivResult CChannelDataCache::GetChannelData(CChannelDataClient* client, const CChannelKey& key,
                                            std::shared_ptr<const ChannelSections>* sections) {
  if (!client || !sections) return E_POINTER;
  sections->reset();
  if (!key.valid()) return E_INVALIDARG;
  try {
    auto it = machines_.find(key.text());
    if (it == machines_.end()) {
      it = machines_.emplace(key.text(), MakeClient<CChannelDataCacheStateMachine>(key, factory_, thread_)).first;
    }
    CChannelDataCacheStateMachine& m = *it->second.Get();
    if (m.state() == CChannelDataCacheStateMachine::State::kDone && m.sections()) {
      *sections = m.sections();
      return S_OK;
    }
    m.AddClient(client);
    const KivResult hr = m.Start();
    return Failed(hr) ? hr : S_FALSE;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

void CChannelDataCache::RemoveClient(CChannelDataClient* client) {
  for (auto& [key, m] : machines_) m->RemoveClient(client);
}

void CChannelDataCache::Discard() {
  for (auto& [key, m] : machines_) m->Stop();
}

void CChannelDataCache::DropAll() {
  // A client told may ask again at once, which may add machines: map
  // iterators stay valid across an insertion.
  for (auto& [key, m] : machines_) m->Drop();
}

CChannelDataCacheStateMachine* CChannelDataCache::machine(const CChannelKey& key) const {
  auto it = machines_.find(key.text());
  return it == machines_.end() ? nullptr : it->second.Get();
}

}  // namespace velmar
