// The fixture of the text outing tests: a temporary folder for data sets,
// a dispatcher that delivers job completions on the test thread, and
// listeners on the outings opened.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "faulty_text_file_ops.h"
#include "outing/cache/outing_cache_registry.h"
#include "support/outing_listener.h"
#include "support/settling_test.h"
#include "platform/async/job_engine.h"
#include "sources/text/ascii_outing.h"
#include "sources/text/sample_generator.h"
#include "support/temp_dir.h"
#include "velmar/text.h"
#include "velmar/transaction.h"
#include "writeback/write_back_step.h"

namespace velmar::testing {

using State = CStateMachine::State;

class AsciiOutingFixture : public SettlingTest {
 protected:
  void TearDown() override {
    listeners_.clear();
    a_ = b_ = nullptr;
    EXPECT_TRUE(Settle());
    EXPECT_EQ(COutingCacheRegistry<CAsciiOutingCache>::Instance().size(), 0u) << "every cache left its registry";
  }

  std::u16string PathOf(const std::string& name) { return Utf8ToWide((dir_ / name).string()); }
  void WriteSample(const std::u16string& path, int laps = 2) {
    SampleOptions options;
    options.laps = laps;
    options.rate = 10;
    ASSERT_TRUE(WriteSampleFile(TextFilePath(path), GenerateSampleOuting(options)).ok());
  }
  ComPtr<CAsciiOuting> Open(const std::u16string& path) {
    ComPtr<CAsciiOuting> outing;
    EXPECT_EQ(OpenAsciiOuting(path, false, &outing), S_OK);
    return outing;
  }
  OutingListener& Listen(CAsciiOuting* outing) {
    listeners_.push_back(std::make_unique<OutingListener>(static_cast<IKivOuting*>(outing)));
    EXPECT_TRUE(listeners_.back()->connected());
    return *listeners_.back();
  }
  template <class Factory>
  static NameList Names(Factory& factory) {
    NameList names;
    EXPECT_EQ(factory.GetNames(&names), S_OK);
    return names;
  }
  // Opens the sample at `path` and loads it.
  void OpenLoaded(const std::u16string& path) {
    WriteSample(path);
    a_ = Open(path);
    (void)Names(a_->channels());
    ASSERT_TRUE(Settle());
    ASSERT_EQ(a_->cache()->load_machine().state(), State::kDone);
  }

  // Runs `edit` in one transaction of a_ and settles; the texts of the
  // "TransactionMessage:" notifications, or with `all` every "Transaction" line.
  std::vector<std::string> Commit(const std::function<void()>& edit, bool all = false) {
    OutingListener& heard = Listen(a_.Get());
    auto txn = QueryAs<IKivTransaction>(static_cast<IKivOuting*>(a_.Get()));
    EXPECT_EQ(txn->Begin(), S_OK);
    edit();
    EXPECT_EQ(txn->Commit(), S_OK);
    EXPECT_TRUE(Settle());
    const std::string prefix = all ? "Transaction" : "TransactionMessage:";
    std::vector<std::string> log;
    for (const std::string& line : heard.log) {
      if (line.rfind(prefix, 0) == 0) log.push_back(all ? line : line.substr(prefix.size()));
    }
    return log;
  }
  KivResult AddStep(ComPtr<CWriteBackStateMachineBase> step) {
    return a_->cache()->transaction()->AddWriteBackStep(std::move(step));
  }

  TempDir dir_;
  ComPtr<CAsciiOuting> a_, b_;
  std::vector<std::unique_ptr<OutingListener>> listeners_;
};

}  // namespace velmar::testing
