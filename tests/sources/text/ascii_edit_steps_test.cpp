#include "ascii_outing_fixture.h"
#include "sources/text/text_file_ops.h"
#include "velmar/constants.h"
#include "velmar/transaction.h"

namespace velmar::testing {
namespace {

using Lines = std::vector<std::string>;

class AsciiEditTest : public AsciiOutingFixture {
 protected:
  void SetUp() override {
    path_ = PathOf("outing.txt");
    OpenLoaded(path_);
  }
  // A fresh outing on a fresh cache, loaded.
  void Reopen() {
    listeners_.clear();
    a_ = nullptr;
    ASSERT_TRUE(Settle());
    a_ = Open(path_);
    (void)Names(a_->channels());
    ASSERT_TRUE(Settle());
  }
  IKivOuting* outing() const { return static_cast<IKivOuting*>(a_.Get()); }
  bool HasConstant(const std::u16string& name) {
    const NameList names = Names(a_->constants());
    return std::find(names.begin(), names.end(), name) != names.end();
  }
  std::u16string path_;
};

TEST_F(AsciiEditTest, ConstantsRoundTripThroughFreshOpens) {
  auto factory = QueryAs<IKivConstantFactory2>(outing());
  ASSERT_TRUE(factory);
  EXPECT_EQ(factory->AddConstant(std::u16string(256, u'n'), kSimpleConstant), E_INVALIDARG);
  EXPECT_EQ(Commit([&] {
              EXPECT_EQ(factory->AddConstant(u"Toe", kSimpleConstant), S_OK);
              EXPECT_EQ(factory->AddConstant(u"Toe", kSimpleConstant), S_OK);
              EXPECT_EQ(factory->RemoveConstant(u"Nothing"), E_INVALIDARG);
            }),
            Lines{"Failed to add constant \"Toe\" -  duplicate constant found"});
  factory = nullptr;
  Reopen();
  ASSERT_TRUE(HasConstant(u"Toe"));

  ComPtr<IKivConstant> toe;
  ASSERT_EQ(a_->constants().GetItem(u"Toe", toe.Put()), S_OK);
  EXPECT_EQ(Commit([&] {
              ComPtr<IKivSimpleConstantWriter> writer;
              ASSERT_EQ(QueryAs<IKivSimpleConstant>(toe.Get())->GetWriter(writer.Put()), S_OK);
              EXPECT_EQ(writer->SetValue(1.25), S_OK);
              EXPECT_EQ(writer->SetUnit(u"deg"), S_OK);
            }),
            Lines{});
  toe = nullptr;
  Reopen();
  ASSERT_EQ(a_->constants().GetItem(u"Toe", toe.Put()), S_OK);
  double value = 0;
  std::u16string unit;
  ASSERT_TRUE(toe->GetValue(&value) == S_OK && QueryAs<IKivSimpleConstant>(toe.Get())->GetUnit(&unit) == S_OK);
  EXPECT_EQ(std::pair(value, unit), std::pair(1.25, std::u16string(u"deg")));
  toe = nullptr;

  EXPECT_EQ(Commit([&] { EXPECT_EQ(QueryAs<IKivConstantFactory2>(outing())->RemoveConstant(u"Toe"), S_OK); }),
            Lines{});
  Reopen();
  EXPECT_FALSE(HasConstant(u"Toe"));
}

TEST_F(AsciiEditTest, InformationIsRewrittenAndTheLapsCountFromTheNewFirstLap) {
  ComPtr<IKivPropertySet> info;
  ASSERT_EQ(outing()->GetOutingInformation(info.Put()), S_OK);
  EXPECT_EQ(info->SetProperty(u"Driver name", Variant::Text(u"Jo")), KIV_E_TXN_NOT_OPEN);
  EXPECT_EQ(Commit([&] {
              EXPECT_EQ(info->SetProperties({{u"Driver name", Variant::Text(u"Jo")},
                                             {u"First lap number", Variant::I32(5)}}),
                        S_OK);
            }),
            Lines{});
  info = nullptr;
  Reopen();
  ASSERT_EQ(outing()->GetOutingInformation(info.Put()), S_OK);
  Variant driver;
  ASSERT_EQ(info->GetProperty(u"Driver name", &driver), S_OK);
  EXPECT_EQ(driver, Variant::Text(u"Jo"));
  auto markers = QueryAs<IKivLapMarkers>(outing());
  uint32_t first = 0;
  EXPECT_EQ(markers->GetLapMarkerNumber(1, &first), S_OK);
  EXPECT_EQ(first, 5u);
}

TEST_F(AsciiEditTest, AFailedRewriteKeepsTheFileAndGivesTheFailureText) {
  FaultyTextFileOps ops;
  listeners_.clear();
  a_ = nullptr;
  ASSERT_TRUE(Settle());
  const std::string before = ReadWhole(TextFilePath(path_));
  a_ = MakeKiv<CAsciiOuting>(MakeKiv<CAsciiOutingCache>(path_, Guid(), &ops), false);
  (void)Names(a_->constants());
  ASSERT_TRUE(Settle());
  ops.fault = FaultyTextFileOps::Fault::kRename;
  EXPECT_EQ(Commit([&] {
              EXPECT_EQ(QueryAs<IKivConstantFactory2>(outing())->AddConstant(u"Toe", kSimpleConstant), S_OK);
            }),
            Lines{"Failed to add constant \"Toe\""});
  EXPECT_EQ(ReadWhole(TextFilePath(path_)), before);
}

}  // namespace
}  // namespace velmar::testing
