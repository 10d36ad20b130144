#include <condition_variable>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include "jobs/job_thread.h"
#include "outing/memory_source.h"
#include "outing/factory/outing_type_table.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

struct DiskState {
  std::mutex mu;
  std::condition_variable cv;
  std::map<std::u16string, MemoryDataSet> dataSets;  // guarded by mu
  std::set<std::u16string> closedGates;              // guarded by mu
  std::map<std::u16string, int> waiting;             // guarded by mu: loads at a gate
  std::map<std::u16string, int> runs;                // guarded by mu
  std::set<std::u16string> refuseCancel;             // guarded by mu
  std::set<std::u16string> failCreate;               // guarded by mu
};

DiskState& Disk() {
  static DiskState* const disk = new DiskState();  // jobs may outlive the tests
  return *disk;
}

constinit CachedJobThread g_memoryThread(u"Memory_Thread");

}  // namespace

// --- MemoryDisk -------------------------------------------------------------

void MemoryDisk::Put(const std::u16string& path, MemoryDataSet data) {
  std::lock_guard lock(Disk().mu);
  Disk().dataSets[path] = std::move(data);
}

std::optional<MemoryDataSet> MemoryDisk::Read(const std::u16string& path) {
  std::lock_guard lock(Disk().mu);
  auto it = Disk().dataSets.find(path);
  if (it == Disk().dataSets.end()) return std::nullopt;
  return it->second;
}

void MemoryDisk::CloseGate(const std::u16string& path) {
  std::lock_guard lock(Disk().mu);
  Disk().closedGates.insert(path);
}

void MemoryDisk::OpenGate(const std::u16string& path) {
  {
    std::lock_guard lock(Disk().mu);
    Disk().closedGates.erase(path);
  }
  Disk().cv.notify_all();
}

bool MemoryDisk::WaitForLoadAtGate(const std::u16string& path, std::chrono::milliseconds timeout) {
  std::unique_lock lock(Disk().mu);
  return Disk().cv.wait_for(lock, timeout, [&] { return Disk().waiting[path] > 0; });
}

int MemoryDisk::LoadRuns(const std::u16string& path) {
  std::lock_guard lock(Disk().mu);
  return Disk().runs[path];
}

void MemoryDisk::RefuseCancel(const std::u16string& path) {
  std::lock_guard lock(Disk().mu);
  Disk().refuseCancel.insert(path);
}

void MemoryDisk::FailCreate(const std::u16string& path) {
  std::lock_guard lock(Disk().mu);
  Disk().failCreate.insert(path);
}

void MemoryDisk::EnterLoad(const std::u16string& path) {
  std::unique_lock lock(Disk().mu);
  ++Disk().runs[path];
  ++Disk().waiting[path];
  Disk().cv.notify_all();
  Disk().cv.wait(lock, [&] { return !Disk().closedGates.contains(path); });
  --Disk().waiting[path];
}

bool MemoryDisk::CancelRefused(const std::u16string& path) {
  std::lock_guard lock(Disk().mu);
  return Disk().refuseCancel.contains(path);
}

bool MemoryDisk::CreateFails(const std::u16string& path) {
  std::lock_guard lock(Disk().mu);
  return Disk().failCreate.contains(path);
}

// --- Jobs -------------------------------------------------------------------

std::atomic<int> CMemoryLoadJob::live_{0};

CMemoryLoadJob::CMemoryLoadJob(CStateMachineEx* owner, const std::u16string& path) : CJobItemEx(owner), path_(path) {
  ++live_;
}

CMemoryLoadJob::~CMemoryLoadJob() { --live_; }

int CMemoryLoadJob::CancelJob() { return MemoryDisk::CancelRefused(path_) ? 0 : 1; }

KivResult CMemoryLoadJob::Run() {
  MemoryDisk::EnterLoad(path_);
  std::optional<MemoryDataSet> read = MemoryDisk::Read(path_);
  if (!read) return STG_E_FILENOTFOUND;
  data_ = std::move(*read);
  return data_.result;
}

KivResult CMemoryCreateJob::Run() {
  if (MemoryDisk::CreateFails(path_)) return STG_E_ACCESSDENIED;
  std::ofstream file(WideToUtf8(path_), std::ios::binary | std::ios::trunc);
  if (!file) return STG_E_ACCESSDENIED;
  MemoryDisk::Put(path_, MemoryDataSet{S_FALSE, false, {}});
  return S_OK;
}

AsyncThread MemorySource::Thread() { return g_memoryThread.Get(); }

KivResult CMemoryInformation::GetProperties(PropertyList* properties) {
  if (!properties) return E_POINTER;
  properties->clear();
  return S_OK;
}

// --- Cache ------------------------------------------------------------------

int CMemoryOutingCache::live_ = 0;

namespace {

// A type GUID of the table makes a cache of that row; any other, a text cache.
OutingType TypeOfId(const Guid& outingId) {
  const OutingTypeRow& row = FindOutingTypeRow(outingId);
  return row.known() ? row.type : OutingType::kText;
}

}  // namespace

CMemoryOutingCache::CMemoryOutingCache(std::u16string path, const Guid& outingId)
    : CFileOutingCache(TypeOfId(outingId), std::move(path), outingId) {
  ++live_;
}

CMemoryOutingCache::~CMemoryOutingCache() { --live_; }

NameList CMemoryOutingCache::ChannelNames() const {
  const CMemoryLoadJob* job = loaded();
  return job ? job->data().channels : NameList{};
}

void CMemoryOutingCache::ReadLapMarkers() {
  if (EnsureLoaded()) NoteLapListHeld();
}

ComPtr<IKivPropertySet> CMemoryOutingCache::MakeInformation(CMemoryLoadJob& job) {
  if (!job.data().information) return nullptr;
  ++informations_made;
  return MakeKiv<CMemoryInformation>();
}

void CMemoryOutingCache::ReleaseInformation(IKivPropertySet& old) {
  ++informations_released;
  static_cast<CMemoryInformation&>(old).released = true;
}

void CMemoryOutingCache::MergeConstants(CMemoryLoadJob&) { ++constants_merged; }

// --- Channel factory --------------------------------------------------------

KivResult CMemoryChannelFactory::GetItem(const std::u16string& name, IKivChannel** channel) {
  if (!channel) return E_POINTER;
  *channel = nullptr;
  return items().contains(name) ? E_NOTIMPL : E_INVALIDARG;
}

void CMemoryChannelFactory::FillNames() {
  if (cache_ && cache_->EnsureLoaded()) AddNames(cache_->ChannelNames());
}

void CMemoryChannelFactory::DropItem(const std::u16string& name, IKivChannel*&) { dropped.push_back(name); }

// --- Outing -----------------------------------------------------------------

int CMemoryOuting::live_ = 0;

CMemoryOuting::CMemoryOuting(ComPtr<CMemoryOutingCache> cache, bool overrideProperties)
    : CFileOuting(std::move(cache), overrideProperties) {
  channels().Bind(this->cache());
  ++live_;
}

CMemoryOuting::~CMemoryOuting() {
  DetachFromCache();
  --live_;
}

void CMemoryOuting::OnDataDiscarded() {
  calls.push_back("discarded");
  FireItemsRemoved(channels().AsDataFactory(), kDataKindChannels, channels().RemoveAllItems());
}

void CMemoryOuting::OnInformationLoaded(bool informationChanged) {
  calls.push_back(informationChanged ? "information:1" : "information:0");
  if (onInformationLoaded) onInformationLoaded();
  CFileOuting::OnInformationLoaded(informationChanged);
}

void CMemoryOuting::OnChannelsLoaded() {
  calls.push_back("channels");
  FireItemsAdded(channels().AsDataFactory(), kDataKindChannels, channels().AddNames(cache()->ChannelNames()));
}

void CMemoryOuting::OnLapMarkersReset() {
  calls.push_back("laps-reset");
  CFileOuting::OnLapMarkersReset();
}

void CMemoryOuting::OnCreatedNotify(bool success) {
  calls.push_back(success ? "created:1" : "created:0");
  CFileOuting::OnCreatedNotify(success);
}

void CMemoryOuting::OnInformationChanged() {
  calls.push_back("information-changed");
  CFileOuting::OnInformationChanged();
}

void CMemoryOuting::OnWriterMessage(uint32_t level, const std::u16string& text) {
  calls.push_back("message:" + std::to_string(level) + ":" + WideToUtf8(text));
  CFileOuting::OnWriterMessage(level, text);
}

KivResult CMemoryOuting::GetSelectionBinding(IKivUnknown** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!binding) return S_FALSE;
  return binding.CopyTo(out);
}

KivResult CMemoryOuting::ApplyTimeOffset(KivTime offset) {
  set_time_offset(offset);
  return S_OK;
}

KivResult OpenMemoryOuting(const std::u16string& path, ComPtr<CMemoryOuting>* outing, const Guid& outingId,
                           bool overrideProperties) {
  return OpenOutingOnCache<CMemoryOuting>(
      path, overrideProperties, [&] { return MakeKiv<CMemoryOutingCache>(path, outingId); }, outing);
}

std::u16string UniqueMemoryPath() {
  static std::atomic<int> n{0};
  return u"/memory/data set " + Utf8ToWide(std::to_string(++n)) + u".mem";
}

}  // namespace velmar::testing
