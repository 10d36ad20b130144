// A task in a memory storage with one new data selection, on the client
// thread of the test, with the text source registered: what a host's
// screen starts from.
#pragma once

#include <gtest/gtest.h>

#include <chrono>

#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"
#include "sources/text/text_outing_source.h"
#include "support/temp_dir.h"
#include "tasks/task.h"
#include "velmar/sample.h"
#include "velmar/text.h"

namespace velmar::testing {

class SelectionFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Succeeded(RegisterTextOutingSource()));
    ASSERT_EQ(StgCreateMemoryStorage(storage_.Put()), S_OK);
    ASSERT_EQ(CreateTask(&task_), S_OK);
    ASSERT_EQ(task_->InitNew(storage_.Get()), S_OK);
    DataSelectionList added;
    ASSERT_EQ(task_->Update(kTaskAddSelections, nullptr, 1, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added), S_OK);
    selection_ = added.front();
  }
  void TearDown() override {
    selection_ = nullptr;
    task_ = nullptr;
    EXPECT_TRUE(Settle());
  }
  bool Settle() { return Async_RunUntilSettled(dispatcher_, std::chrono::seconds(30)); }
  // A generated outing of `laps` laps at 10 Hz, opened.
  ComPtr<IKivOuting> Sample(const char* name, uint64_t seed, int laps = 1) {
    const std::u16string path = Utf8ToWide((dir_ / name).string());
    EXPECT_EQ(KivWriteSampleOuting(path, {laps, 10.0, seed}), S_OK);
    ComPtr<IKivOuting> outing;
    EXPECT_EQ(OpenTextOuting(path, false, &outing), S_OK);
    return outing;
  }

  Dispatcher dispatcher_;
  Dispatcher::ScopedCurrent current_{dispatcher_};
  TempDir dir_;
  ComPtr<IKivStorage> storage_;
  ComPtr<CTask> task_;
  ComPtr<IKivDataSelection4> selection_;
};

}  // namespace velmar::testing
