#include "settings_file.h"

#include <filesystem>

#include "host_error.h"

namespace velmar::cli {

namespace {

constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_TRANSACTED;

uint32_t ReadVersion(IKivStorage* storage) {
  ComPtr<IKivStream> stream;
  uint32_t version = 0;
  if (Succeeded(storage->OpenStream(u"Version", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, stream.Put()))) {
    (void)stream->Read(&version, sizeof version, nullptr);
  }
  return version;
}

}  // namespace

SettingsFile::SettingsFile(IKivVelmar* root, const std::string& path) : path_(path) {
  persist_ = QueryAs<IKivPersistStorage>(root);
  if (!persist_) Fail(path, "the root keeps no settings file");
  std::error_code error;
  const bool exists = std::filesystem::exists(path, error);
  if (!exists) {
    if (KivResult r = StgCreateDocfile(path, kMode, storage_.Put()); Failed(r)) Fail(path, "cannot be made", r);
    if (KivResult r = persist_->InitNew(storage_.Get()); Failed(r)) Fail(path, "cannot be laid out", r);
    Save();
    return;
  }
  if (KivResult r = StgOpenStorage(path, kMode, storage_.Put()); Failed(r)) {
    Fail(path, "is not a settings file", r);
  }
  storedVersion_ = ReadVersion(storage_.Get());
  if (KivResult r = persist_->Load(storage_.Get()); Failed(r)) Fail(path, "the settings could not be loaded", r);
}

SettingsFile::~SettingsFile() {
  if (persist_) (void)persist_->HandsOffStorage();
}

void SettingsFile::Save() {
  if (KivResult r = persist_->Save(storage_.Get(), KIV_TRUE); Failed(r)) Fail(path_, "could not be saved", r);
  if (KivResult r = storage_->Commit(STGC_DEFAULT); Failed(r)) Fail(path_, "could not be written", r);
  (void)persist_->SaveCompleted(nullptr);
  storedVersion_ = 6;
}

}  // namespace velmar::cli
