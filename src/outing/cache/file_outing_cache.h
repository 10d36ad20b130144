// The cache of a file source (text, MAT-file, spreadsheet...): a cache that
// loads its data set through a load machine, makes new data sets through a
// create machine, and discards and reloads on demand.
//
// CFileOutingCache<Cache, StateChanges, Source>, with Source giving
//   using LoadJob = ...;            // CJobItemEx, made as LoadJob(owner, path, extra...)
//   using CreateJob = ...;          // CJobItemEx, made as CreateJob(owner, path)
//   static AsyncThread Thread();    // the source's worker thread
// The concrete cache derives from it (CRTP) and overrides the hooks below to
// take what a finished load holds.
//
// Nothing is read until a client asks: every read of loaded data goes
// through EnsureLoaded, and a caller that gets false reports that nothing is
// there yet (KIV_E_PENDING, S_FALSE, an empty list...). A finished load's
// job item is readable (loaded()) while the load machine is Done.
//
// Client thread only.
#pragma once

#include <string>
#include <utility>

#include "jobs/state_machine.h"
#include "outing/cache/create_outing_state_machine.h"
#include "outing/cache/load_state_machine.h"
#include "outing/cache/outing_cache.h"
#include "outing/cache/temp_file.h"
#include "velmar/property_set.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// The outing factory's fast-lap minimum until it gives one: 5 seconds.
inline constexpr KivTime kDefaultFastLapMinimumTime = 5 * kTicksPerSecond;

// What the load and create machines call on a file cache.
template <class LoadJob>
class CFileOutingCacheStateChanges {
 public:
  virtual void OnCreated(bool success) = 0;
  virtual void OnLoaded(LoadJob& job) = 0;
  virtual void OnChannelsReady() = 0;
  virtual uint32_t AddRef() = 0;
  virtual uint32_t Release() = 0;

 protected:
  ~CFileOutingCacheStateChanges() = default;
};

template <class Cache, class StateChanges, class Source>
class CFileOutingCache : public COutingCacheBase<Cache, StateChanges>,
                         public CFileOutingCacheStateChanges<typename Source::LoadJob> {
  using Base = COutingCacheBase<Cache, StateChanges>;

 public:
  using LoadJob = typename Source::LoadJob;
  using Callback = CFileOutingCacheStateChanges<LoadJob>;
  using LoadMachine = COutingLoadStateMachine<Callback, LoadJob>;
  using CreateMachine = CCreateOutingStateMachine<Callback, typename Source::CreateJob>;

  // One count for both faces of the cache.
  uint32_t AddRef() override { return COutingCacheStateChanges::AddRef(); }
  uint32_t Release() override { return COutingCacheStateChanges::Release(); }

  // True when the data is loaded; otherwise the load is started (or runs
  // already) and the caller reports that nothing is there yet.
  bool EnsureLoaded() { return load_->EnsureLoaded(); }
  // The finished load's job item; null unless loaded.
  LoadJob* loaded() const { return load_->loaded(); }
  LoadMachine& load_machine() const { return *load_.Get(); }
  CreateMachine& create_machine() const { return *create_.Get(); }
  // Set by a discard, cleared by the next load.
  bool closed() const { return closed_; }
  IKivPropertySet* information() const { return information_.Get(); }
  // The cache holds the loaded lap list (its lap markers took it).
  bool holds_lap_list() const { return lapListHeld_; }

  // The outing factory's fast-lap settings, as this cache last took them.
  bool fast_lap_filter() const { return fastLapFilter_; }
  KivTime fast_lap_minimum_time() const { return fastLapMinimumTime_; }
  // A changed value makes the fast lap (and so the caption) be worked out
  // again; the value held already changes nothing.
  void SetFastLapFilter(bool enabled) {
    if (std::exchange(fastLapFilter_, enabled) != enabled) OnFastLapSettingsChanged();
  }
  void SetFastLapMinimumTime(KivTime minimum) {
    if (std::exchange(fastLapMinimumTime_, minimum) != minimum) OnFastLapSettingsChanged();
  }

  // `information` must not be null. S_OK with a reference when loaded and
  // not closed; otherwise asks for the load and gives S_FALSE with null.
  KivResult GetInformation(IKivPropertySet** information) {
    *information = nullptr;
    if (information_ && !closed_) return information_.CopyTo(information);
    (void)EnsureLoaded();
    return S_FALSE;
  }

  // CloseData: every attached outing lets go of its data, and the next read
  // loads the file again. A second discard before that does nothing.
  void Discard() {
    if (closed_) return;
    ComPtr<Cache> keep(this->Self());
    closed_ = true;
    this->ForEachClient([](StateChanges& client) { client.OnDataDiscarded(); });
    load_->Stop();
    OnCaptionInvalid();
  }

  // The caption is stale. Where the cache holds a lap list (from before, or
  // because the data is loaded now), the clients hear OnInformationChanged;
  // otherwise the load is asked for and nobody hears anything yet.
  void OnCaptionInvalid() {
    ComPtr<Cache> keep(this->Self());
    this->InvalidateCaption();
    if (!lapListHeld_) {
      if (!EnsureLoaded()) return;
      lapListHeld_ = true;
    }
    this->ForEachClient([](StateChanges& client) { client.OnInformationChanged(); });
  }

  // Tests the folder, then queues the creation. False when the folder cannot
  // be written or a creation ran or runs already.
  bool CreateDataSet() override {
    if (!CanCreateDataSetIn(this->path())) return false;
    return create_->Create(this->path());
  }

  // Merely looking at the caption brings the outing in.
  std::u16string GetCaption() override {
    if (!information_ || closed_) (void)EnsureLoaded();
    return Base::GetCaption();
  }

  // --- The machines' calls ------------------------------------------------
  // Only the outing that asked for the creation (the last attached) hears it.
  void OnCreated(bool success) override {
    ComPtr<Cache> keep(this->Self());
    if (StateChanges* last = this->LastClient()) {
      ComPtr<StateChanges> client(last);
      client->OnCreatedNotify(success);
    }
  }

  void OnLoaded(LoadJob& job) override {
    ComPtr<Cache> keep(this->Self());
    closed_ = false;
    bool informationChanged = false;
    if (ComPtr<IKivPropertySet> made = MakeInformation(job)) {
      this->InvalidateCaption();
      if (information_) ReleaseInformation(*information_);
      information_ = std::move(made);
      informationChanged = true;
    }
    MergeConstants(job);
    this->ForEachClient([&](StateChanges& client) { client.OnInformationLoaded(informationChanged); });
  }

  void OnChannelsReady() override {
    ComPtr<Cache> keep(this->Self());
    closed_ = false;
    this->ForEachClient([](StateChanges& client) {
      client.OnChannelsLoaded();
      client.OnLapMarkersReset();
    });
  }

 protected:
  template <class... LoadJobArgs>
  CFileOutingCache(OutingType type, std::u16string path, const Guid& outingId, LoadJobArgs&&... loadJobArgs)
      : Base(type, std::move(path), outingId),
        load_(MakeClient<LoadMachine>(static_cast<Callback*>(this), this->path(), &Source::Thread,
                                      std::forward<LoadJobArgs>(loadJobArgs)...)),
        create_(MakeClient<CreateMachine>(static_cast<Callback*>(this), &Source::Thread)) {}
  ~CFileOutingCache() override = default;

  // --- Hooks --------------------------------------------------------------
  // The information object of a finished load, bound to this cache and to
  // the load's information block; null when the data set has none.
  virtual ComPtr<IKivPropertySet> MakeInformation(LoadJob& job) {
    (void)job;
    return nullptr;
  }
  // `old` is being replaced: clear its back reference to this cache.
  virtual void ReleaseInformation(IKivPropertySet& old) { (void)old; }
  // The constants of a finished load join the constants cache.
  virtual void MergeConstants(LoadJob& job) { (void)job; }

  // The fast-lap settings changed: the information object forgets its fast
  // lap (the source's override), and the caption is stale.
  virtual void OnFastLapSettingsChanged() { this->InvalidateCaption(); }

  // The cache's lap markers took the loaded lap list.
  void NoteLapListHeld() { lapListHeld_ = true; }

 private:
  ClientRef<LoadMachine> load_;
  ClientRef<CreateMachine> create_;
  ComPtr<IKivPropertySet> information_;
  bool closed_ = false;
  bool lapListHeld_ = false;
  bool fastLapFilter_ = false;
  KivTime fastLapMinimumTime_ = kDefaultFastLapMinimumTime;
};

}  // namespace velmar
