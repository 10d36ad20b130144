#include "outing/cache/file_outing.h"

#include <gtest/gtest.h>

#include <chrono>

#include "outing/memory_source.h"
#include "platform/async/dispatcher.h"

namespace velmar::testing {
namespace {

using namespace std::chrono_literals;

class FileOutingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    MemoryDisk::Put(path_, MemoryDataSet{S_OK, true, {u"Speed"}});
    ASSERT_EQ(OpenMemoryOuting(path_, &outing_), S_OK);
  }
  void TearDown() override {
    outing_ = nullptr;
    EXPECT_TRUE(Settle());
  }
  bool Settle() { return Async_RunUntilSettled(d_, 30s); }
  KivResult Information(ComPtr<IKivPropertySet>* out) { return outing_->GetOutingInformation(out->Put()); }

  Dispatcher d_;
  Dispatcher::ScopedCurrent current_{d_};
  const std::u16string path_ = UniqueMemoryPath();
  ComPtr<CMemoryOuting> outing_;
};

TEST_F(FileOutingTest, InformationComesOnceLoadedAndGoesWithCloseData) {
  ComPtr<IKivPropertySet> information;
  EXPECT_EQ(Information(&information), S_FALSE) << "the first demand starts the load";
  EXPECT_FALSE(information);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(Information(&information), S_OK);
  ASSERT_TRUE(information);

  EXPECT_EQ(outing_->CloseData(), S_OK);
  ComPtr<IKivPropertySet> closed;
  EXPECT_EQ(Information(&closed), S_FALSE) << "a closed cache gives nothing until read again";
  EXPECT_FALSE(closed);
  ASSERT_TRUE(Settle());
  ComPtr<IKivPropertySet> reloaded;
  ASSERT_EQ(Information(&reloaded), S_OK);
  EXPECT_NE(reloaded, information) << "the new load made a new information object";
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 2);
}

TEST_F(FileOutingTest, CloseDataAnswersSOkAlsoWhenThereIsNothingToClose) {
  EXPECT_EQ(outing_->CloseData(), S_OK);
  EXPECT_EQ(outing_->CloseData(), S_OK);
  EXPECT_TRUE(outing_->cache()->closed());
}

}  // namespace
}  // namespace velmar::testing
