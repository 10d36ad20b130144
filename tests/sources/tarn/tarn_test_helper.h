// Shared set-up for the tests of the `.trn` outing: a client thread with its
// dispatcher, a temp folder, and a data set with something of every kind.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <vector>

#include "support/settling_test.h"
#include "outing/channels/channel_data_cache.h"
#include "platform/async/job_engine.h"
#include "sources/tarn/tarn_connection.h"
#include "sources/tarn/tarn_data_set.h"
#include "support/temp_dir.h"
#include "velmar/tarn_store.h"

namespace velmar::testing {

inline constexpr KivTime kS = kTicksPerSecond;
using Lines = std::vector<std::string>;

class TarnTest : public SettlingTest {
 protected:
  void TearDown() override { EXPECT_TRUE(Settle()); }
  // Every job queued so far has run and come back on this thread.

  std::u16string PathOf(const std::string& name) const;
  // Writes `data` as `name` and gives its path.
  std::u16string Write(const TarnDataSet& data, const std::string& name = "outing.trn");

  TempDir dir_;
};

// A test of the file state machine: its close must run before the engine
// stops, or it never ends.
class TarnFileTest : public TarnTest {
 protected:
  void TearDown() override {
    file_.Reset();
    TarnTest::TearDown();
  }
  ClientRef<CFileStateMachine> file_ = MakeClient<CFileStateMachine>();
};

// A channel waiting for its samples, always asked for whole: what it was told.
struct ChannelClient : CChannelDataClient {
  explicit ChannelClient(IKivUnknown* id = nullptr) : identity(id) {}
  void OnData(bool ok, KivTime from, KivTime to) override {
    told.push_back(ok);
    EXPECT_EQ(from, kTimeMin);
    EXPECT_EQ(to, kTimeMax);
  }
  void OnDataDropped() override { ++dropped; }
  IKivUnknown* ClientIdentity() override { return identity; }
  std::vector<bool> told;
  int dropped = 0;
  IKivUnknown* identity;
};

// Holds the store thread with a job of its own until Open() (or the end of
// the test), so that jobs queued meanwhile wait behind it.
class StoreThreadGate {
 public:
  StoreThreadGate();
  ~StoreThreadGate() { Open(); }
  void Open();

 private:
  std::promise<void> gate_;
  bool open_ = false;
};

// The store opened on `path`, as another process would open it.
ComPtr<IKivTarnStore> OpenStore(const std::u16string& path);

// Makes store factories whose files go through the fault VFS.
TarnStoreFactoryMaker FaultyStoreMaker();

// Opens `path` with the store, hands `write` the write handle's interface
// `Writer` and commits: a write as another process would make it.
template <class Writer, class Write>
void WriteThroughStore(const std::u16string& path, Write&& write) {
  ComPtr<IKivTarnStore> store = OpenStore(path);
  ASSERT_TRUE(store);
  ComPtr<IKivTarnWriteHandle> handle;
  auto access = QueryAs<IKivTarnWriteAccess>(store.Get());
  ASSERT_EQ(access->GetWriteHandle(kDefaultWaitLimit, IKivTarnWriteHandle::iid, handle.PutVoid()), S_OK);
  auto writer = QueryAs<Writer>(handle.Get());
  ASSERT_TRUE(writer);
  write(*writer);
  EXPECT_EQ(handle->Commit(), S_OK);
}

// Sets the format version of a store file to `version`.
void SetFormatVersion(const std::u16string& path, int version);

// An outing from 0 to 100 s: "Speed" (km/h, periodic, 2 blocks) and "Gear"
// (aperiodic), event sets "Pit" (2) and "Flag" (1), a numeric and a text
// constant, one blob, three recorded lap markers, and its details.
TarnDataSet SampleDataSet();

}  // namespace velmar::testing
