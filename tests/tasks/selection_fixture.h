// A task in a memory storage with one new data selection, on the client
// thread of the test, with the text source registered: what a host's
// screen starts from.
#pragma once

#include <gtest/gtest.h>

#include <chrono>

#include "platform/async/dispatcher.h"
#include "support/got.h"
#include "platform/async/job_engine.h"
#include "support/settling_test.h"
#include "sources/text/text_outing_source.h"
#include "support/temp_dir.h"
#include "tasks/task.h"
#include "velmar/sample.h"
#include "velmar/text.h"

namespace velmar::testing {

class SelectionFixture : public SettlingTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Succeeded(RegisterTextOutingSource()));
    ASSERT_EQ(StgCreateMemoryStorage(storage_.Put()), S_OK);
    ASSERT_EQ(CreateTask(&task_), S_OK);
    ASSERT_EQ(task_->InitNew(storage_.Get()), S_OK);
    selection_ = AddSelection();
  }
  // One more selection at the end of the task's list.
  ComPtr<IKivDataSelection4> AddSelection() {
    DataSelectionList added;
    EXPECT_EQ(task_->Update(kTaskAddSelections, nullptr, 1, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added), S_OK);
    return added.empty() ? nullptr : added.front();
  }
  // The selection's outing set to `outing` (none: closed).
  static KivResult SetOuting(IKivDataSelection4* selection, IKivOuting* outing) {
    return selection->Update(kSelectionOuting, outing, nullptr, 0, 0, 0, KIV_FALSE);
  }
  static std::pair<KivTime, KivTime> Span(IKivDataSelection4* selection) {
    return {Got(selection, &IKivDataSelection::GetStartTime), Got(selection, &IKivDataSelection::GetEndTime)};
  }
  // The channel names of a factory whose list comes from a worker thread.
  NameList LoadedNames(IKivUnknown* factory) {
    NameList names;
    (void)QueryAs<IKivChannelFactory>(factory)->GetNames(&names);
    EXPECT_TRUE(Settle());
    EXPECT_EQ(QueryAs<IKivChannelFactory>(factory)->GetNames(&names), S_OK);
    return names;
  }
  void TearDown() override {
    selection_ = nullptr;
    task_ = nullptr;
    EXPECT_TRUE(Settle());
  }
  // A generated outing of `laps` laps at 10 Hz, opened.
  ComPtr<IKivOuting> Sample(const char* name, uint64_t seed, int laps = 1) {
    const std::u16string path = Utf8ToWide((dir_ / name).string());
    EXPECT_EQ(KivWriteSampleOuting(path, {laps, 10.0, seed}), S_OK);
    ComPtr<IKivOuting> outing;
    EXPECT_EQ(OpenTextOuting(path, false, &outing), S_OK);
    return outing;
  }

  TempDir dir_;
  ComPtr<IKivStorage> storage_;
  ComPtr<CTask> task_;
  ComPtr<IKivDataSelection4> selection_;
};

}  // namespace velmar::testing
