// Feeds compound-file bytes to the root's settings loader. Whatever the
// bytes, Load gives a code and never crashes; a file it takes must save
// again, and the saved file must load again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "velmar/classes.h"
#include "velmar/persist.h"
#include "velmar/storage.h"
#include "velmar/velmar.h"

namespace {

using namespace velmar;

constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_TRANSACTED;

void Check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "settings_fuzz: %s\n", what);
  std::abort();
}

// Loads `bytes` into a new root; the file's bytes after a save, or nothing.
bool LoadAndSave(const std::string& bytes, std::string* saved) {
  ComPtr<IKivVelmar> root;
  ComPtr<IKivStorage> storage;
  Check(Succeeded(KivCreateInstance(CLSID_KivVelmar, &root)), "no root");
  auto persist = QueryAs<IKivPersistStorage>(root.Get());
  bool taken = Succeeded(StgOpenMemoryStorage(bytes, kMode, storage.Put())) && Succeeded(persist->Load(storage.Get()));
  if (taken) {
    Check(Succeeded(persist->Save(storage.Get(), KIV_TRUE)), "a loaded file does not save");
    Check(Succeeded(StgSaveToBytes(storage.Get(), saved)), "no bytes");
  }
  (void)persist->HandsOffStorage();
  (void)root->Close();
  return taken;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string saved;
  if (!LoadAndSave(std::string(reinterpret_cast<const char*>(data), size), &saved)) return 0;
  std::string again;
  Check(LoadAndSave(saved, &again), "a saved file does not load again");
  return 0;
}
