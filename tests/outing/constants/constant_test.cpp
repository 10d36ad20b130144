#include "outing/constants/constant.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/global_constants_cache.h"
#include "outing/constants/constant_stream.h"
#include "platform/async/job_engine.h"
#include "support/got.h"
#include "support/data_listener.h"
#include "support/fixtures.h"
#include "support/settling_test.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using testing::Got;

class FixedSpreadsheet final : public CSpreadsheetApplication {
 public:
  explicit FixedSpreadsheet(KivResult result) : result_(result) {}
  KivResult ReadConstant(const std::u16string&, const ConstantElements&, const std::u16string&, double* value) override {
    *value = 12.5;
    return result_;
  }

 private:
  KivResult result_;
};

class ConstantTest : public testing::SettlingTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(cache_->Add(u"Mass", kSimpleConstant), S_OK);
    ASSERT_EQ(cache_->Add(u"Ambient", kSpreadsheetConstant), S_OK);
  }
  void TearDown() override {
    listeners_.clear();
    EXPECT_TRUE(Settle());
    SetSpreadsheetApplication(nullptr);
  }
  template <class T>
  ComPtr<T> Get(const std::u16string& name) {
    ComPtr<IKivConstant> constant;
    EXPECT_EQ(MakeConstant(cache_, name, &constant), S_OK);
    return constant.As<T>();
  }
  // What `constant` tells, "changed" without its times.
  std::vector<std::string>& Listen(IKivConstant* constant) {
    logs_.push_back(std::make_unique<std::vector<std::string>>());
    listeners_.push_back(std::make_unique<testing::CDataListener>(logs_.back().get()));
    EXPECT_TRUE(listeners_.back()->Connect(constant, /*internal=*/false));
    return *logs_.back();
  }

  std::shared_ptr<CGlobalConstantsCache> cache_ = std::make_shared<CGlobalConstantsCache>();
  std::vector<std::unique_ptr<std::vector<std::string>>> logs_;
  std::vector<std::unique_ptr<testing::CDataListener>> listeners_;
};

TEST_F(ConstantTest, EachKindGivesItsOwnInterface) {
  auto simple = Get<IKivSimpleConstant>(u"Mass");
  ASSERT_TRUE(simple);
  EXPECT_FALSE(simple.As<IKivExcelConstant>());
  auto sheet = Get<IKivExcelConstant>(u"Ambient");
  ASSERT_TRUE(sheet);
  EXPECT_EQ(Got(simple, &IKivConstant::GetText), u"");
  EXPECT_EQ(Got(sheet, &IKivConstant::GetText), u"|");
  EXPECT_EQ(Got(simple, &IKivConstant::GetName), u"Mass");
  EXPECT_EQ(Got(simple, &IKivConstant::GetStatus), 1u);
  ComPtr<IKivConstant> none;
  EXPECT_EQ(MakeConstant(cache_, u"Nothing", &none), E_INVALIDARG);
  // A null out makes the status 2.
  EXPECT_EQ(simple->GetValue(nullptr), E_POINTER);
  EXPECT_EQ(Got(simple, &IKivConstant::GetStatus), 2u);
}

TEST_F(ConstantTest, TwoUnitEditsAndOneReleaseMakeOneCommit) {
  auto mass = Get<IKivSimpleConstant>(u"Mass");
  auto other = Get<IKivSimpleConstant>(u"Mass");
  auto& log = Listen(mass.Get());
  auto& otherLog = Listen(other.Get());
  auto writer = Got(mass, &IKivSimpleConstant::GetWriter);
  EXPECT_EQ(Got(mass, &IKivSimpleConstant::GetWriter), writer) << "one writer per object";
  ASSERT_EQ(writer->SetUnit(u"g"), S_OK);
  ASSERT_EQ(writer->SetUnit(u"kg"), S_OK);
  ASSERT_EQ(writer->SetValue(712), S_OK);
  EXPECT_THAT(log, IsEmpty()) << "nobody hears of an edit before the writer goes";
  EXPECT_EQ(Got(other, &IKivSimpleConstant::GetUnit), u"kg") << "the entry changed at once";
  writer = nullptr;
  EXPECT_THAT(log, ElementsAre(StartsWith("changed")));
  EXPECT_THAT(otherLog, ElementsAre(StartsWith("changed")));
  EXPECT_EQ(Got(other, &IKivConstant::GetValue), 712);
  writer = Got(mass, &IKivSimpleConstant::GetWriter);
  writer = nullptr;
  EXPECT_EQ(log.size(), 1u) << "a writer that changed nothing commits nothing";
}

TEST_F(ConstantTest, ASpreadsheetWriterEditsTheDefinitionAndRefusesEmptyNames) {
  auto sheet = Get<IKivExcelConstant>(u"Ambient");
  auto writer = Got(sheet, &IKivExcelConstant::GetWriter);
  EXPECT_EQ(writer->SetFile(u""), E_FAIL);
  EXPECT_EQ(writer->SetTarget(u""), E_FAIL);
  EXPECT_EQ(writer->GetFile(nullptr), E_POINTER);
  ASSERT_EQ(writer->SetFile(u"setup.xlsx"), S_OK);
  ASSERT_EQ(writer->SetTarget(u"Car!B7"), S_OK);
  auto elements = Got(writer, &IKivExcelConstantWriter::GetElements);
  EXPECT_EQ(Got(writer, &IKivExcelConstantWriter::GetElements), elements);
  ComPtr<IKivExcelConstantElement> step;
  ASSERT_EQ(elements->AddElement(step.Put()), S_OK);
  EXPECT_EQ(Got(step, &IKivExcelConstantElement::GetKind), kStepSelectSheet);
  EXPECT_EQ(step->SetValue(u"1"), E_INVALIDARG) << "only a range step has a value";
  ASSERT_EQ(step->SetKind(kStepSetRange), S_OK);
  ASSERT_EQ(step->SetName(u"Gain"), S_OK);
  ASSERT_EQ(step->SetValue(u"1.5"), S_OK);
  EXPECT_EQ(Got(elements, &IKivExcelConstantElements::GetCount), 1u);
  ComPtr<IKivExcelConstantElement> missing;
  EXPECT_EQ(elements->GetItem(0, missing.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(elements->GetItem(2, missing.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(elements->RemoveElement(2), DISP_E_BADINDEX);
  step = nullptr;
  elements = nullptr;
  writer = nullptr;
  EXPECT_EQ(cache_->Find(u"Ambient")->text, u"|setup.xlsx|$Gain=1.5|Car!B7");
  EXPECT_EQ(Got(Get<IKivSimpleConstant>(u"Mass"), &IKivSimpleConstant::GetWriter)->SetValue(1), S_OK);
}

TEST_F(ConstantTest, ASpreadsheetValueArrivesWithAChangeAndAFailureGivesStatus2) {
  SetSpreadsheetApplication(std::make_shared<FixedSpreadsheet>(S_OK));
  auto sheet = Get<IKivExcelConstant>(u"Ambient");
  auto& log = Listen(sheet.Get());
  {
    auto writer = Got(sheet, &IKivExcelConstant::GetWriter);
    ASSERT_EQ(writer->SetFile(u"w.xlsx"), S_OK);
    ASSERT_EQ(writer->SetTarget(u"A1"), S_OK);
  }
  log.clear();
  double value = -1;
  EXPECT_EQ(sheet->GetValue(&value), KIV_E_PENDING);
  EXPECT_THAT(log, IsEmpty()) << "a pending constant stays silent";
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log, ElementsAre(StartsWith("changed")));
  EXPECT_EQ(Got(sheet, &IKivConstant::GetValue), 12.5);

  SetSpreadsheetApplication(std::make_shared<FixedSpreadsheet>(E_FAIL));
  ASSERT_EQ(Got(sheet, &IKivExcelConstant::GetWriter)->SetTarget(u"Sheet9!A1"), S_OK);  // commits as the writer goes
  log.clear();
  EXPECT_EQ(sheet->GetValue(&value), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log, ElementsAre(StartsWith("changed"), "failed"));
  EXPECT_EQ(Got(sheet, &IKivConstant::GetStatus), 2u);
  EXPECT_EQ(Got(sheet, &IKivConstant::GetValue), 0);
}

TEST_F(ConstantTest, ARemovedConstantTellsItsClientsAndReadsFail) {
  auto mass = Get<IKivSimpleConstant>(u"Mass");
  auto& log = Listen(mass.Get());
  ASSERT_EQ(cache_->Remove(u"Mass"), S_OK);
  EXPECT_THAT(log, ElementsAre("removed"));
  double value = 0;
  EXPECT_EQ(mass->GetValue(&value), E_FAIL);
}

TEST_F(ConstantTest, TheFactoryLookupGivesTheLiveObjectAgain) {
  CConstantBase* slot = nullptr;
  ComPtr<IKivConstant> first, second;
  ASSERT_EQ(FindOrMakeConstant(cache_, u"Mass", &slot, first.Put()), S_OK);
  ASSERT_EQ(FindOrMakeConstant(cache_, u"Mass", &slot, second.Put()), S_OK);
  EXPECT_EQ(first.Get(), second.Get());
  first = second = nullptr;
  ASSERT_EQ(FindOrMakeConstant(cache_, u"Mass", &slot, first.Put()), S_OK) << "a gone object is made anew";
  EXPECT_EQ(FindOrMakeConstant(cache_, u"", &slot, second.Put()), E_INVALIDARG);
  EXPECT_EQ(FindOrMakeConstant(cache_, u"Mass", &slot, nullptr), E_POINTER);
}

class ConstantStreamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(StgCreateMemoryStorage(storage_.Put()), S_OK);
    ASSERT_EQ(storage_->CreateStream(u"Constant Data", STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE,
                                     stream_.Put()),
              S_OK);
  }
  std::string Bytes() {
    StatStg stat;
    EXPECT_EQ(stream_->Stat(&stat), S_OK);
    std::string bytes(stat.size, '\0');
    EXPECT_EQ(stream_->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
    uint32_t read = 0;
    EXPECT_EQ(stream_->Read(bytes.data(), static_cast<uint32_t>(bytes.size()), &read), S_OK);
    return bytes;
  }
  void Put(const std::string& bytes) {
    ASSERT_EQ(stream_->SetSize(0), S_OK);
    ASSERT_EQ(stream_->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
    ASSERT_EQ(stream_->Write(bytes.data(), static_cast<uint32_t>(bytes.size()), nullptr), S_OK);
    ASSERT_EQ(stream_->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
  }

  ComPtr<IKivStorage> storage_;
  ComPtr<IKivStream> stream_;
};

const ConstantRecord kMass{u"Mass", 640.5, u"kg", u""};
const ConstantRecord kAmbient{u"Ambient", 0, u"degC", u"|w.xlsx|A1"};

TEST_F(ConstantStreamTest, RecordsRoundTripAndAppendRaisesTheCountAndKeepsWhatWasThere) {
  std::vector<ConstantRecord> read;
  ASSERT_EQ(WriteConstantData(stream_.Get(), {kMass, kAmbient}), S_OK);
  ASSERT_EQ(ReadConstantData(stream_.Get(), &read), S_OK);
  EXPECT_THAT(read, ElementsAre(kMass, kAmbient));
  ASSERT_EQ(WriteConstantData(stream_.Get(), {kAmbient}), S_OK);
  ASSERT_EQ(AppendConstantData(stream_.Get(), {kMass, kAmbient}), S_OK);
  ASSERT_EQ(ReadConstantData(stream_.Get(), &read), S_OK);
  EXPECT_THAT(read, ElementsAre(kAmbient, kMass, kAmbient));
  ASSERT_EQ(WriteConstantData(stream_.Get(), {}), S_OK);
  EXPECT_EQ(Bytes().size(), 12u) << "a rewrite cuts the stream first";
}

std::string FromHex(const nlohmann::json& hex) {
  std::string digits, bytes;
  for (char c : hex.get<std::string>()) {
    if (c != ' ') digits += c;
  }
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

std::vector<ConstantRecord> RecordsOf(const nlohmann::json& list) {
  std::vector<ConstantRecord> records;
  for (const auto& r : list) {
    records.push_back({Utf8ToWide(r[0].get<std::string>()), r[1].get<double>(), Utf8ToWide(r[2].get<std::string>()),
                       Utf8ToWide(r[3].get<std::string>())});
  }
  return records;
}

// Records and the bytes they make; bytes and what reading them answers.
TEST_F(ConstantStreamTest, EachFixtureLayout) {
  const auto table = testing::Fixture("outing/constant_streams.json");
  for (const auto& c : table["writes"]) {
    ASSERT_EQ(WriteConstantData(stream_.Get(), RecordsOf(c["records"])), S_OK);
    EXPECT_EQ(Bytes(), FromHex(c["bytes"])) << c;
  }
  for (const auto& c : table["reads"]) {
    Put(FromHex(c["bytes"]));
    std::vector<ConstantRecord> read;
    EXPECT_EQ(ResultName(ReadConstantData(stream_.Get(), &read)), c["result"].get<std::string>()) << c;
    if (c.contains("records")) {
      EXPECT_EQ(read, RecordsOf(c["records"])) << c;
    }
  }
}

}  // namespace
}  // namespace velmar
