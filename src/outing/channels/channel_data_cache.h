// Per-channel fetching of a native store's data: one state machine per
// channel key, each running one fetch job at a time on the source's worker
// thread, and the channels waiting for it.
//
// A source plugs in its own read as a CChannelDataFetch, made per fetch by
// the factory given to the cache; the fetch runs on the worker and fills the
// sections. The machine:
//   0 idle     nothing held (never fetched, failed, or stopped)
//   1 running  a fetch job is queued or running
//   2 done     the sections are held
// On a job result of E_JOB_DROPPED (0x80000008: the engine dropped the job)
// it queues a fresh job at once and tells nobody. Another failure: idle, the
// job dropped, every client told OnData(false, ...). Success: done, every
// client told OnData(true, ...). Clients stay in the set once told: a drop of
// the data after a reload tells them too (OnDataDropped). Clients are told
// over a copy of the set; a client that leaves meanwhile is not called.
//
// Client thread only, except the fetch itself.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jobs/job_item.h"
#include "jobs/state_machine.h"
#include "velmar/channel_key.h"
#include "outing/channels/channel_sections.h"
#include "platform/async/job_engine.h"

namespace velmar {

// A channel waiting for its data.
class CChannelDataClient {
 public:
  // The fetch ended: `ok` with the data there, else it failed. (from, to) is
  // the range that changed: the whole range.
  virtual void OnData(bool ok, KivTime from, KivTime to) = 0;
  // The data it was given is gone (the outing was reloaded): read again.
  virtual void OnDataDropped() = 0;
  // The client's identity, held across each call.
  virtual IKivUnknown* ClientIdentity() = 0;

 protected:
  ~CChannelDataClient() = default;
};

// One read of one channel's sections, run on the source's worker thread.
class CChannelDataFetch {
 public:
  virtual ~CChannelDataFetch() = default;
  // Fills `sections`. 0 or above is success; E_JOB_DROPPED asks for a new
  // try; any other negative code is a failure.
  [[nodiscard]] virtual KivResult Fetch(ChannelSections* sections) = 0;
};

// Makes the fetch of a channel (client thread): what it needs to read is
// copied into it, since the worker must not touch client objects.
using ChannelFetchFactory = std::function<std::unique_ptr<CChannelDataFetch>(const CChannelKey& key)>;

class CChannelDataCacheStateMachine;

// Runs one fetch on the worker and keeps its sections.
class CGetChannelDataCacheJobItem final : public CJobItemEx {
 public:
  CGetChannelDataCacheJobItem(CStateMachineEx* owner, std::unique_ptr<CChannelDataFetch> fetch);
  void WTCleanupAfterCancel() override { sections_.clear(); }
  // Client thread, once completed.
  ChannelSections TakeSections() { return std::move(sections_); }

 protected:
  KivResult Run() override;

 private:
  std::unique_ptr<CChannelDataFetch> fetch_;
  ChannelSections sections_;
};

class CChannelDataCacheStateMachine final : public CStateMachineEx {
 public:
  enum class State : int32_t { kIdle = 0, kRunning = 1, kDone = 2 };

  CChannelDataCacheStateMachine(CChannelKey key, ChannelFetchFactory factory, AsyncThread thread);

  // Idle: queues a fetch and runs; otherwise nothing. The engine's refusal
  // (or a factory that makes no fetch: E_FAIL) leaves it idle.
  [[nodiscard]] KivResult Start();
  // Cancels a running fetch and drops what is held: idle.
  void Stop();
  // Stop, then every client hears OnDataDropped.
  void Drop();

  State state() const { return state_; }
  // The sections once done; null otherwise.
  std::shared_ptr<const ChannelSections> sections() const { return sections_; }

  // Enters a client once; clients are told in the order they came.
  void AddClient(CChannelDataClient* client);
  void RemoveClient(CChannelDataClient* client);
  bool HasClient(CChannelDataClient* client) const;
  size_t client_count() const { return clients_.size(); }
  // How many fetch jobs were queued in all.
  int fetches() const { return fetches_; }

  void JobCompleted(CJobItem* job) override;
  void OnLastClientRelease() override;

 private:
  ~CChannelDataCacheStateMachine() override;
  [[nodiscard]] KivResult QueueFetch();
  void TellClients(bool ok);

  const CChannelKey key_;
  ChannelFetchFactory factory_;
  AsyncThread thread_;
  State state_ = State::kIdle;
  ComPtr<CGetChannelDataCacheJobItem> job_;
  std::shared_ptr<const ChannelSections> sections_;
  std::vector<CChannelDataClient*> clients_;
  int fetches_ = 0;
};

// The machines of one outing, by channel key. Counted: the outing cache and
// each channel on it hold it.
class CChannelDataCache {
 public:
  CChannelDataCache(ChannelFetchFactory factory, AsyncThread thread);
  CChannelDataCache(const CChannelDataCache&) = delete;
  CChannelDataCache& operator=(const CChannelDataCache&) = delete;

  uint32_t AddRef();
  uint32_t Release();

  // S_OK with the sections when the key's machine is done. S_FALSE when not
  // yet: the machine is made or restarted and `client` waits on it. A
  // failure to start comes back as it stands. E_POINTER for a null client
  // or out; E_INVALIDARG for an invalid key.
  [[nodiscard]] KivResult GetChannelData(CChannelDataClient* client, const CChannelKey& key,
                                         std::shared_ptr<const ChannelSections>* sections);
  // The client waits on no machine any more.
  void RemoveClient(CChannelDataClient* client);
  // Stops every machine: held sections go, the next read fetches again.
  // Nobody is told: for the cache's own end.
  void Discard();
  // Drops every machine's data and tells its clients: after a reload.
  void DropAll();

  // The machine of `key`; null when none was made.
  CChannelDataCacheStateMachine* machine(const CChannelKey& key) const;

 private:
  ~CChannelDataCache() = default;

  ChannelFetchFactory factory_;
  AsyncThread thread_;
  std::map<std::u16string, ClientRef<CChannelDataCacheStateMachine>> machines_;
  std::atomic<uint32_t> refs_{0};
};

}  // namespace velmar
