#include "config/global_constant_factory.h"

#include "core/fatal_stop.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>

#include "outing/constants/constant.h"
#include "outing/constants/constant_stream.h"
#include "sources/spreadsheet/workbook_application.h"
#include "velmar/text.h"
#include "velmar/velmar.h"

namespace velmar {

namespace {

constexpr char16_t kVersionStream[] = u"Version";
constexpr char16_t kDataStream[] = u"Constant Data";
constexpr uint32_t kStorageVersion = 1;
constexpr uint32_t kOpenMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

constexpr char16_t kRemoveFailed[] =
    u"Kivara has encountered a non-recoverable situation while trying to remove Constant data\n and needs to exit.";
constexpr char16_t kChangeFailed[] =
    u"Kivara has encountered a non-recoverable situation while trying to change Constant data\n and needs to exit.";
constexpr char16_t kAddFailed[] =
    u"Kivara has encountered a non-recoverable situation while trying to add Constant data\n and needs to exit.";

KivResult WriteVersion(IKivStorage* storage) {
  ComPtr<IKivStream> stream;
  KivResult r = storage->CreateStream(kVersionStream, kOpenMode | STGM_CREATE, stream.Put());
  const uint32_t version = kStorageVersion;
  if (Succeeded(r)) r = stream->Write(&version, sizeof version, nullptr);
  return r;
}

KivResult ReadVersion(IKivStorage* storage) {
  ComPtr<IKivStream> stream;
  KivResult r = storage->OpenStream(kVersionStream, kOpenMode, stream.Put());
  uint32_t version = 0;
  uint32_t read = 0;
  if (Succeeded(r)) r = stream->Read(&version, sizeof version, &read);
  if (Failed(r) || read != sizeof version || version != kStorageVersion) return E_FAIL;
  return S_OK;
}

// The records of those names, in map order.
std::vector<ConstantRecord> RecordsNamed(const CGlobalConstantsCache& cache, const ConstantNames& names) {
  const std::set<std::u16string> wanted(names.begin(), names.end());
  std::vector<ConstantRecord> records;
  for (ConstantRecord& record : cache.Records()) {
    if (wanted.contains(record.name)) records.push_back(std::move(record));
  }
  return records;
}

}  // namespace

void CGlobalConstantFactory::SetFatalStop(FatalStop stop) { SetFatalStopRoutine(std::move(stop)); }

CGlobalConstantFactory::~CGlobalConstantFactory() {
  if (cache_) cache_->RemoveOwner(this);
}

KivResult CGlobalConstantFactory::GetNames(NameList* names) {
  if (!names) return E_POINTER;
  *names = cache_ ? cache_->GetNames() : NameList{};
  return S_OK;
}

KivResult CGlobalConstantFactory::GetParent(IKivUnknown** parent) {
  if (!parent) return E_POINTER;
  *parent = nullptr;
  if (!parent_) return E_UNEXPECTED;
  return parent_.CopyTo(parent);
}

KivResult CGlobalConstantFactory::SetParent(IKivUnknown* parent) {
  if (static_cast<bool>(parent_) == (parent != nullptr)) return E_INVALIDARG;
  parent_ = parent;
  return S_OK;
}

KivResult CGlobalConstantFactory::GetRoot(IKivUnknown** root) {
  if (!root) return E_POINTER;
  *root = nullptr;
  if (root_) return root_.CopyTo(root);
  if (rootBackReference_) return GiveOut<IKivUnknown>(rootBackReference_, root);
  return E_UNEXPECTED;
}

KivResult CGlobalConstantFactory::SetRoot(IKivUnknown* root) {
  if (root_) return E_UNEXPECTED;
  root_ = root;
  return S_OK;
}

KivResult CGlobalConstantFactory::GetIcon(int32_t, int32_t, IKivUnknown** picture) {
  if (!picture) return E_POINTER;
  *picture = nullptr;
  return E_NOTIMPL;  // pictures are the host's drawing face
}

KivResult CGlobalConstantFactory::GetItem(const std::u16string& name, IKivConstant** constant) {
  if (!constant) return E_POINTER;
  *constant = nullptr;
  if (name.empty() || !cache_ || !cache_->Find(name)) return E_INVALIDARG;
  return FindOrMakeConstant(cache_, name, &objects_[name], constant);
}

KivResult CGlobalConstantFactory::AddConstant(const std::u16string& name, uint32_t kind) {
  if (!cache_) return E_FAIL;
  return cache_->Add(name, kind);
}

KivResult CGlobalConstantFactory::RemoveConstant(const std::u16string& name) {
  if (!cache_) return E_INVALIDARG;
  return cache_->Remove(name);
}

KivResult CGlobalConstantFactory::SetRootBackReference(IKivVelmar* root) {
  rootBackReference_ = root;
  return S_OK;
}

KivResult CGlobalConstantFactory::AttachCache(std::shared_ptr<CGlobalConstantsCache> cache) {
  if (cache_) cache_->RemoveOwner(this);
  objects_.clear();
  cache_ = std::move(cache);
  if (cache_) {
    cache_->AddOwner(this);
    InstallWorkbookApplication();  // spreadsheet constants read their workbooks
  }
  return S_OK;
}

KivResult CGlobalConstantFactory::ReloadSpreadsheetConstants() {
  if (!cache_) return S_FALSE;
  return cache_->ForgetRetrievedValues() > 0 ? S_OK : S_FALSE;
}

// --- Persistence ----------------------------------------------------------

KivResult CGlobalConstantFactory::OpenStreams(IKivStorage* storage) {
  ComPtr<IKivStream> data;
  const KivResult r = storage->OpenStream(kDataStream, kOpenMode, data.Put());
  if (Failed(r)) return r;
  storage_ = storage;
  data_ = std::move(data);
  return S_OK;
}

KivResult CGlobalConstantFactory::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivGlobalConstantFactory;
  return S_OK;
}

KivResult CGlobalConstantFactory::InitNewStorage(IKivStorage* storage) {
  KivResult r = WriteVersion(storage);
  ComPtr<IKivStream> data;
  if (Succeeded(r)) r = storage->CreateStream(kDataStream, kOpenMode | STGM_CREATE, data.Put());
  if (Succeeded(r)) r = WriteConstantData(data.Get(), {});
  if (Failed(r)) return r;
  storage_ = storage;
  data_ = std::move(data);
  return S_OK;
}

KivResult CGlobalConstantFactory::LoadStorage(IKivStorage* storage) {
  if (Failed(ReadVersion(storage))) return E_FAIL;
  if (const KivResult r = OpenStreams(storage); Failed(r)) return r;
  std::vector<ConstantRecord> records;
  std::set<std::u16string> names;
  bool duplicate = false;
  const KivResult r = ReadConstantData(data_.Get(), &records);
  for (const ConstantRecord& record : records) duplicate = duplicate || !names.insert(record.name).second;
  if (Failed(r) || duplicate) {
    (void)HandsOffStorage();
    return E_FAIL;
  }
  if (cache_) {
    loading_ = true;
    cache_->Merge(records);
    loading_ = false;
  }
  return S_OK;
}

KivResult CGlobalConstantFactory::Save(IKivStorage* storage, KivBool sameAsLoadFlag) {
  const bool sameAsLoad = FromKivBool(sameAsLoadFlag);
  if (sameAsLoad || !storage || storage == storage_.Get()) {
    if (!data_) return E_UNEXPECTED;
    const KivResult r = WriteConstantData(data_.Get(), cache_ ? cache_->Records() : std::vector<ConstantRecord>{});
    return Failed(r) ? r : data_->Commit(STGC_DEFAULT);
  }
  KivResult r = WriteVersion(storage);
  ComPtr<IKivStream> data;
  if (Succeeded(r)) r = storage->CreateStream(kDataStream, kOpenMode | STGM_CREATE, data.Put());
  if (Succeeded(r)) r = WriteConstantData(data.Get(), cache_ ? cache_->Records() : std::vector<ConstantRecord>{});
  return r;
}

KivResult CGlobalConstantFactory::SaveCompleted(IKivStorage* storage) {
  if (!storage) return S_OK;
  ComPtr<IKivStorage> keep(storage);
  (void)HandsOffStorage();
  return OpenStreams(storage);
}

KivResult CGlobalConstantFactory::HandsOffStorage() {
  data_ = nullptr;
  storage_ = nullptr;
  return S_OK;
}

KivResult CGlobalConstantFactory::Commit() {
  KivResult r = data_->Commit(STGC_DEFAULT);
  if (Succeeded(r)) r = storage_->Commit(STGC_DEFAULT);
  return r;
}

void CGlobalConstantFactory::WriteThrough(bool append, const ConstantNames& names, const char16_t* failure) {
  if (loading_ || !data_ || !cache_) return;
  KivResult r = append ? AppendConstantData(data_.Get(), RecordsNamed(*cache_, names))
                       : WriteConstantData(data_.Get(), cache_->Records());
  if (Succeeded(r)) r = Commit();
  if (Succeeded(r)) return;
  velmar::FatalStop(failure);
}

// --- The cache's owner ----------------------------------------------------

void CGlobalConstantFactory::OnConstantsRemoved(const ConstantNames& names) {
  ComPtr<CGlobalConstantFactory> self(this);
  for (const std::u16string& name : names) objects_.erase(name);
  WriteThrough(false, names, kRemoveFailed);
  (void)FireNotification(&IKivDataFactoryNotifications::OnItemsRemoved, Self(), kDataKindConstants, names);
}

void CGlobalConstantFactory::OnConstantsChanged(const ConstantNames& names) {
  WriteThrough(false, names, kChangeFailed);
}

void CGlobalConstantFactory::OnConstantsAdded(const ConstantNames& names) {
  ComPtr<CGlobalConstantFactory> self(this);
  WriteThrough(true, names, kAddFailed);
  (void)FireNotification(&IKivDataFactoryNotifications::OnItemsAdded, Self(), kDataKindConstants, names);
}

}  // namespace velmar
