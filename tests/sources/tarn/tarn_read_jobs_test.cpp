#include "sources/tarn/tarn_read_jobs.h"

#include <gtest/gtest.h>

#include <atomic>

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_read_state_machine.h"
#include "tarn_test_helper.h"

namespace velmar::testing {
namespace {

template <class Job>
struct Recorder : ITarnReadClient<Job> {
  void OnReadDone(CTarnReadStateMachine<Job>& machine, KivResult result) override {
    ++(Succeeded(result) ? done : failed);
    status = result;
    (void)machine;
  }
  int done = 0;
  int failed = 0;
  KivResult status = S_OK;
};

// One read, run to its end; the machine keeps the finished job.
template <class Job>
struct Read {
  Recorder<Job> recorder;
  ClientRef<CTarnReadStateMachine<Job>> machine;
  Job* job() const { return machine->results(); }
};

class TarnReadJobsTest : public TarnFileTest {
 protected:
  void OpenFile(const std::u16string& path) {
    ASSERT_EQ(file_->Open(path), S_OK);
    ASSERT_TRUE(Settle());
  }

  template <class Job>
  std::unique_ptr<Read<Job>> Start() {
    auto read = std::make_unique<Read<Job>>();
    read->machine = MakeClient<CTarnReadStateMachine<Job>>(&read->recorder, file_.Get(), MakeTarnJob<Job>());
    EXPECT_EQ(read->machine->Start(), S_OK);
    return read;
  }
  // One read, run to its end.
  template <class Job>
  std::unique_ptr<Read<Job>> Run() {
    auto read = Start<Job>();
    EXPECT_TRUE(Settle());
    EXPECT_EQ(read->recorder.done + read->recorder.failed, 1);
    return read;
  }

  TarnChannelEntry Channel(const std::u16string& key) {
    auto list = Run<CLoadChannelNamesJobItem>();
    EXPECT_TRUE(list->job());
    return list->job() ? list->job()->channels().at(key) : TarnChannelEntry{};
  }

  // A channel's sections as the outing's channel data cache reads them.
  ChannelSections Fetch(const TarnChannelEntry& channel) {
    ChannelClient client;
    ComPtr<COpenFileJobItem> connection = file_->Connection();
    ComPtr<CChannelDataCache> cache(new CChannelDataCache(
        [&](const CChannelKey&) { return std::make_unique<CTarnChannelDataFetch>(connection, channel); },
        DaeThread()));
    std::shared_ptr<const ChannelSections> sections;
    CChannelKey key(u"any", 0);
    EXPECT_EQ(cache->GetChannelData(&client, key, &sections), S_FALSE);
    EXPECT_TRUE(Settle());
    EXPECT_EQ(client.told, std::vector<bool>{true});
    EXPECT_EQ(cache->GetChannelData(&client, key, &sections), S_OK);
    cache->RemoveClient(&client);
    return sections ? *sections : ChannelSections{};
  }
};

TEST_F(TarnReadJobsTest, AChannelWithoutSamplesReadsAsNoSections) {
  TarnDataSet data = SampleDataSet();
  data.channels[1].blocks.clear();
  OpenFile(Write(data));
  EXPECT_TRUE(Fetch(Channel(u"[0]Gear")).empty());
}

TEST_F(TarnReadJobsTest, AFetchWithoutAnOpenFileFails) {
  ChannelSections sections;
  CTarnChannelDataFetch fetch(nullptr, {1, 7});
  EXPECT_EQ(fetch.Fetch(&sections), E_FAIL);
}

TEST_F(TarnReadJobsTest, AMarkerOutsideTheOutingFailsTheLapRead) {
  TarnDataSet data = SampleDataSet();
  data.lapMarkers.push_back({150 * kS, 0.0, true});
  OpenFile(Write(data));
  auto laps = Run<CGetLapMarkerDataJobItem>();
  EXPECT_EQ(laps->recorder.failed, 1);
  EXPECT_FALSE(laps->job());
}

TEST_F(TarnReadJobsTest, EveryReadFailsWithoutAnOpenFile) {
  OpenFile(PathOf("missing.trn"));
  auto outing = Run<CLoadOutingJobItem>();
  auto channels = Run<CLoadChannelNamesJobItem>();
  auto laps = Run<CGetLapMarkerDataJobItem>();
  auto constants = Run<CTarnGetConstantsJobItem>();
  EXPECT_EQ(outing->recorder.failed + channels->recorder.failed + laps->recorder.failed + constants->recorder.failed, 4);
  EXPECT_EQ(outing->recorder.status, E_FAIL) << "a job that finds no interface";
}

TEST_F(TarnReadJobsTest, AReadQueuedWhileOpeningRunsAfterTheOpen) {
  std::u16string path = Write(SampleDataSet());
  std::unique_ptr<Read<CTarnGetConstantsJobItem>> read;
  {
    StoreThreadGate gate;
    ASSERT_EQ(file_->Open(path), S_OK);
    read = Start<CTarnGetConstantsJobItem>();
  }
  ASSERT_TRUE(Settle());
  ASSERT_TRUE(read->job());
  EXPECT_EQ(read->job()->constants().size(), 2u);
}

using State = CStateMachine::State;

// A read that counts its runs and gives what it is told.
class CountingJob final : public CJobItemEx {
 public:
  CountingJob(CStateMachineEx* owner, std::atomic<int>* runs, std::atomic<KivResult>* result)
      : CJobItemEx(owner), runs_(runs), result_(result) {}
  int serial = 0;

 protected:
  KivResult Run() override {
    ++*runs_;
    return result_->load();
  }

 private:
  std::atomic<int>* runs_;
  std::atomic<KivResult>* result_;
};

using Machine = CTarnReadStateMachine<CountingJob>;

class TarnReadStateMachineTest : public TarnTest, public ITarnReadClient<CountingJob> {
 protected:
  void OnReadDone(Machine& machine, KivResult status) override {
    const bool succeeded = Succeeded(status);
    heard.push_back(succeeded);
    if (!succeeded) {
      EXPECT_EQ(status, result.load());
    }
    EXPECT_EQ(machine.state(), succeeded ? State::kDone : State::kIdle) << "the state is the new one";
  }

  Machine::MakeJob Maker() {
    return [this](CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection) {
      EXPECT_FALSE(connection) << "no file was opened";
      ++made;
      auto job = MakeKiv<CountingJob>(owner, &runs, &result);
      job->serial = made;
      return job;
    };
  }

  std::atomic<int> runs{0};
  std::atomic<KivResult> result{S_OK};
  int made = 0;
  std::vector<bool> heard;
  ClientRef<CFileStateMachine> file_ = MakeClient<CFileStateMachine>();
  ClientRef<Machine> machine_ = MakeClient<Machine>(this, file_.Get(), Maker());
};

TEST_F(TarnReadStateMachineTest, StartReadsOnceAndKeepsTheJobWithTheDataUntilADrop) {
  EXPECT_FALSE(machine_->requested());
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_EQ(machine_->Start(), S_OK);
  EXPECT_TRUE(machine_->requested());
  EXPECT_EQ(machine_->state(), State::kRunning);
  EXPECT_EQ(machine_->results(), nullptr) << "nothing to read while running";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(heard, std::vector<bool>{true});
  ASSERT_NE(machine_->results(), nullptr);
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(runs, 1) << "done data is not read again";
  machine_->Drop();
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_EQ(machine_->results(), nullptr) << "a drop lets go of the data";
}

TEST_F(TarnReadStateMachineTest, AFailedReadGoesBackToIdleAndTheNextStartTriesAgain) {
  result = E_FAIL;
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(heard, std::vector<bool>{false});
  EXPECT_EQ(machine_->results(), nullptr);
  result = S_OK;
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(heard, (std::vector<bool>{false, true}));
  EXPECT_EQ(made, 2);
}

TEST_F(TarnReadStateMachineTest, ReloadRereadsOnlyWhatWasAskedFor) {
  machine_->Reload();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(made, 0) << "never asked for: nothing to reload";
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_TRUE(Settle());
  machine_->Reload();
  EXPECT_EQ(machine_->state(), State::kRunning);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(made, 2);
  EXPECT_EQ(machine_->results()->serial, 2) << "the new job holds the data";
}

TEST_F(TarnReadStateMachineTest, AReadEndingAfterTheLastClientWentReachesNobody) {
  {
    StoreThreadGate gate;
    ASSERT_EQ(machine_->Start(), S_OK);
    machine_.Reset();
  }
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(heard.empty());
}

}  // namespace
}  // namespace velmar::testing
