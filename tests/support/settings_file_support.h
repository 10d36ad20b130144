// A root made by class identity over a settings file held in memory, as a
// host holds one: the tests of the settings file start from it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "velmar/circuit_map.h"
#include "velmar/classes.h"
#include "velmar/persist.h"
#include "velmar/storage.h"
#include "velmar/velmar.h"

namespace velmar::testing {

struct SettingsRoot {
  ComPtr<IKivVelmar8> root;
  ComPtr<IKivPersistStorage> persist;
  ComPtr<IKivStorage> storage;

  // A new file, or one holding `bytes`.
  explicit SettingsRoot(std::string_view bytes = {}) {
    EXPECT_EQ(KivCreateInstance(CLSID_KivVelmar, IKivVelmar8::iid, root.PutVoid()), S_OK);
    persist = QueryAs<IKivPersistStorage>(root.Get());
    EXPECT_TRUE(persist);
    constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_TRANSACTED;
    EXPECT_EQ(bytes.empty() ? StgCreateMemoryStorage(storage.Put()) : StgOpenMemoryStorage(bytes, kMode, storage.Put()),
              S_OK);
  }
  ~SettingsRoot() {
    if (root) (void)root->Close();
  }
  SettingsRoot(const SettingsRoot&) = delete;
  SettingsRoot& operator=(const SettingsRoot&) = delete;

  std::string Bytes() const {
    std::string bytes;
    EXPECT_EQ(StgSaveToBytes(storage.Get(), &bytes), S_OK);
    return bytes;
  }
};

inline KivResult MakeMap(ComPtr<IKivCircuitMapData>* out) {
  ComPtr<IKivCircuitMapJson> json;
  if (KivResult r = KivCreateInstance(CLSID_KivCircuitMap, IKivCircuitMapJson::iid, json.PutVoid()); Failed(r)) {
    return r;
  }
  constexpr char kMap[] =
      R"({"name": "Halvane Park", "lap_length": 3900.0, "markers": [{"name": "S/F", "distance": 0.0},)"
      R"( {"name": "T1", "distance": 420.0}], "segments": [{"name": "Turn 1", "start": 0, "end": 1}]})";
  if (KivResult r = json->LoadJson(kMap, nullptr); Failed(r)) return r;
  *out = QueryAs<IKivCircuitMapData>(json.Get());
  return S_OK;
}

}  // namespace velmar::testing
