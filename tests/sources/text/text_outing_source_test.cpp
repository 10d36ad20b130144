#include "sources/text/text_outing_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ascii_outing_fixture.h"
#include "outing/cache/outing_source.h"
#include "sources/text/text_writer.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TextOutingSourceTest : public AsciiOutingFixture {
 protected:
  void TearDown() override {
    outing_ = nullptr;
    AsciiOutingFixture::TearDown();
  }
  static uint32_t TypeOf(IKivOuting* outing) {
    uint32_t type = 99;
    EXPECT_EQ(outing->GetOutingType(&type), S_OK);
    return type;
  }
  static NameList ChannelNames(IKivOuting* outing) {
    NameList names;
    EXPECT_EQ(QueryAs<IKivChannelFactory>(outing)->GetNames(&names), S_OK);
    return names;
  }

  ComPtr<IKivOuting> outing_;
};

TEST_F(TextOutingSourceTest, RegistrationIsKeptOnce) {
  ASSERT_TRUE(Succeeded(RegisterTextOutingSource()));
  EXPECT_EQ(RegisterTextOutingSource(), S_FALSE);
  EXPECT_NE(FindOutingSource(OutingType::kText), nullptr);
}

TEST_F(TextOutingSourceTest, AGeneratedSampleOpensThroughTheFactoryAndLoads) {
  const std::u16string path = PathOf("factory.txt");
  WriteSample(path);
  ASSERT_EQ(OpenTextOuting(path, false, &outing_), S_OK);
  EXPECT_EQ(TypeOf(outing_.Get()), 3u);
  EXPECT_THAT(ChannelNames(outing_.Get()), IsEmpty());
  ASSERT_TRUE(Settle());  // what it then tells, in order, is the text outing's own test
  EXPECT_EQ(ChannelNames(outing_.Get()).size(), SampleFastColumns().size() + SampleSlowColumns().size());
}

TEST_F(TextOutingSourceTest, AMissingFileGivesAnEmptyOutingUnlessCreated) {
  const std::u16string path = PathOf("absent.txt");
  ASSERT_EQ(OpenTextOuting(path, false, &outing_), S_FALSE);
  EXPECT_EQ(TypeOf(outing_.Get()), 0u);
  outing_ = nullptr;

  ASSERT_EQ(OpenTextOuting(path, true, &outing_), S_OK);
  EXPECT_EQ(TypeOf(outing_.Get()), 3u);
  OutingListener heard(outing_.Get());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(heard.log, ElementsAre("Created:-1"));
  EXPECT_EQ(ReadWhole(TextFilePath(path)), NewFileBytes());
  EXPECT_EQ(OpenTextOuting(path, false, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
