// A small file source for the tests of the outing frame: its "data sets"
// live in memory (MemoryDisk), its load job copies one on a real named
// worker thread ("Memory_Thread"), answering whatever result the test put
// there, and its create job writes an empty file on disk.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "jobs/job_item.h"
#include "outing/cache/file_outing.h"
#include "outing/cache/file_outing_cache.h"
#include "outing/factory/outing_data_factory.h"
#include "outing/cache/outing_on_cache.h"
#include "outing/cache/outing_state_changes.h"
#include "platform/async/job_engine.h"
#include "velmar/data_factory.h"
#include "velmar/property_set.h"

namespace velmar::testing {

inline constexpr Guid kMemoryTypeId = Guid::Literal("{5C91B6A2-5B1F-436E-821C-2430095F5463}");

// What one data set of the memory source holds.
struct MemoryDataSet {
  KivResult result = S_OK;  // what the load job answers
  bool information = true;  // the data set has an information block
  NameList channels;
};

// The data sets by path, with controls over the jobs that read them. Any thread.
class MemoryDisk {
 public:
  static void Put(const std::u16string& path, MemoryDataSet data);
  static std::optional<MemoryDataSet> Read(const std::u16string& path);

  // Loads of `path` wait on the worker, once started, until OpenGate.
  static void CloseGate(const std::u16string& path);
  static void OpenGate(const std::u16string& path);
  // Waits until a load of `path` waits at its gate; false on time-out.
  static bool WaitForLoadAtGate(const std::u16string& path, std::chrono::milliseconds timeout);
  // How many load jobs of `path` have started.
  static int LoadRuns(const std::u16string& path);

  // Load jobs of `path` refuse to be cancelled.
  static void RefuseCancel(const std::u16string& path);
  // Create jobs of `path` fail.
  static void FailCreate(const std::u16string& path);

  // Called by the jobs.
  static void EnterLoad(const std::u16string& path);
  static bool CancelRefused(const std::u16string& path);
  static bool CreateFails(const std::u16string& path);
};

class CMemoryLoadJob : public CJobItemEx {
 public:
  CMemoryLoadJob(CStateMachineEx* owner, const std::u16string& path);
  ~CMemoryLoadJob() override;
  int CancelJob() override;
  void WTCleanupAfterCancel() override { data_ = {}; }

  // The data read, on the client thread once completed.
  const MemoryDataSet& data() const { return data_; }
  static int live() { return live_; }

 protected:
  KivResult Run() override;

 private:
  const std::u16string path_;
  MemoryDataSet data_;
  static std::atomic<int> live_;
};

class CMemoryCreateJob : public CJobItemEx {
 public:
  CMemoryCreateJob(CStateMachineEx* owner, const std::u16string& path) : CJobItemEx(owner), path_(path) {}

 protected:
  // Writes an empty file at the path, and an empty data set (S_FALSE) on the disk.
  KivResult Run() override;

 private:
  const std::u16string path_;
};

struct MemorySource {
  using LoadJob = CMemoryLoadJob;
  using CreateJob = CMemoryCreateJob;
  static AsyncThread Thread();
};

// The information object of a memory data set: a property set with nothing in it.
class CMemoryInformation : public KivObject<IKivPropertySet> {
 public:
  KivResult GetProperty(const std::u16string&, Variant*) override { return E_INVALIDARG; }
  KivResult SetProperty(const std::u16string&, const Variant&) override { return E_FAIL; }
  KivResult Reserved() override { return E_NOTIMPL; }
  KivResult GetProperties(PropertyList* properties) override;
  KivResult SetProperties(const PropertyList&) override { return E_FAIL; }
  bool released = false;  // its cache replaced it
};

class CMemoryOutingCache final : public CFileOutingCache<CMemoryOutingCache, COutingStateChanges, MemorySource> {
 public:
  // The type is the row of `outingId` in the type table; text for any other id.
  CMemoryOutingCache(std::u16string path, const Guid& outingId);
  ~CMemoryOutingCache() override;

  // The loaded channel names; empty unless loaded.
  NameList ChannelNames() const;
  // What the cache's lap markers would do on their first read: take the
  // loaded lap list once the data is there.
  void ReadLapMarkers();

  static int live() { return live_; }
  int informations_made = 0;
  int informations_released = 0;
  int constants_merged = 0;

 protected:
  ComPtr<IKivPropertySet> MakeInformation(CMemoryLoadJob& job) override;
  void ReleaseInformation(IKivPropertySet& old) override;
  void MergeConstants(CMemoryLoadJob& job) override;

 private:
  static int live_;
};

// The channel factory of a memory outing: names from the loaded data set;
// items are never made.
class CMemoryChannelFactory : public COutingDataFactory<IKivChannel*, IKivChannelFactory> {
 public:
  KivResult GetItem(const std::u16string& name, IKivChannel** channel) override;
  void Bind(CMemoryOutingCache* cache) { cache_ = cache; }
  std::vector<std::u16string> dropped;  // names whose item DropItem let go

 protected:
  void FillNames() override;
  void DropItem(const std::u16string& name, IKivChannel*& item) override;

 private:
  CMemoryOutingCache* cache_ = nullptr;
};

// An outing of the memory source. It logs every call of its cache, and
// otherwise behaves as an outing must (notifications, factory names).
class CMemoryOuting final : public CFileOuting<CMemoryOutingCache, CMemoryChannelFactory> {
 public:
  CMemoryOuting(ComPtr<CMemoryOutingCache> cache, bool overrideProperties);
  ~CMemoryOuting() override;

  CMemoryChannelFactory& channels() { return *this; }

  void OnDataDiscarded() override;
  void OnInformationLoaded(bool informationChanged) override;
  void OnChannelsLoaded() override;
  void OnLapMarkersReset() override;
  void OnCreatedNotify(bool success) override;
  void OnInformationChanged() override;
  void OnWriterMessage(uint32_t level, const std::u16string& text) override;
  KivResult GetSelectionBinding(IKivUnknown** binding) override;

  // The cache's calls, in order: "discarded", "information:1", "channels",
  // "laps-reset", "created:1", "information-changed", "message:2:text".
  std::vector<std::string> calls;
  // Runs inside OnInformationLoaded, before the outing's own work.
  std::function<void()> onInformationLoaded;
  // What GetSelectionBinding gives.
  ComPtr<IKivUnknown> binding;
  static int live() { return live_; }

 protected:
  KivResult ApplyTimeOffset(KivTime offset) override;

 private:
  static int live_;
};

// A memory outing on `path`, on the path's shared cache.
[[nodiscard]] KivResult OpenMemoryOuting(const std::u16string& path, ComPtr<CMemoryOuting>* outing,
                                         const Guid& outingId = kMemoryTypeId, bool overrideProperties = false);

// A path no other test uses.
std::u16string UniqueMemoryPath();

}  // namespace velmar::testing
