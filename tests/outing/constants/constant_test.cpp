#include "outing/constants/constant.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/global_constants_cache.h"
#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"
#include "support/data_listener.h"

namespace velmar {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

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

class ConstantTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(cache_->Add(u"Mass", kSimpleConstant), S_OK);
    ASSERT_EQ(cache_->Add(u"Ambient", kSpreadsheetConstant), S_OK);
  }
  void TearDown() override {
    listeners_.clear();
    EXPECT_TRUE(Async_RunUntilSettled(d_, 30s));
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

  Dispatcher d_;
  Dispatcher::ScopedCurrent current_{d_};
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
  std::u16string text;
  ASSERT_EQ(simple->GetText(&text), S_OK);
  EXPECT_TRUE(text.empty());
  ASSERT_EQ(sheet->GetText(&text), S_OK);
  EXPECT_EQ(text, u"|");
  ASSERT_EQ(simple->GetName(&text), S_OK);
  EXPECT_EQ(text, u"Mass");
  uint32_t status = 0;
  ASSERT_EQ(simple->GetStatus(&status), S_OK);
  EXPECT_EQ(status, 1u);
  ComPtr<IKivConstant> none;
  EXPECT_EQ(MakeConstant(cache_, u"Nothing", &none), E_INVALIDARG);
  // A null out makes the status 2.
  EXPECT_EQ(simple->GetValue(nullptr), E_POINTER);
  ASSERT_EQ(simple->GetStatus(&status), S_OK);
  EXPECT_EQ(status, 2u);
}

TEST_F(ConstantTest, TwoUnitEditsAndOneReleaseMakeOneCommit) {
  auto mass = Get<IKivSimpleConstant>(u"Mass");
  auto other = Get<IKivSimpleConstant>(u"Mass");
  auto& log = Listen(mass.Get());
  auto& otherLog = Listen(other.Get());
  ComPtr<IKivSimpleConstantWriter> writer;
  ASSERT_EQ(mass->GetWriter(writer.Put()), S_OK);
  ComPtr<IKivSimpleConstantWriter> same;
  ASSERT_EQ(mass->GetWriter(same.Put()), S_OK);
  EXPECT_EQ(writer.Get(), same.Get()) << "one writer per object";
  same = nullptr;
  ASSERT_EQ(writer->SetUnit(u"g"), S_OK);
  ASSERT_EQ(writer->SetUnit(u"kg"), S_OK);
  ASSERT_EQ(writer->SetValue(712), S_OK);
  EXPECT_THAT(log, IsEmpty()) << "nobody hears of an edit before the writer goes";
  std::u16string unit;
  ASSERT_EQ(other->GetUnit(&unit), S_OK);
  EXPECT_EQ(unit, u"kg") << "the entry changed at once";
  writer = nullptr;
  EXPECT_THAT(log, ElementsAre(StartsWith("changed")));
  EXPECT_THAT(otherLog, ElementsAre(StartsWith("changed")));
  double value = 0;
  ASSERT_EQ(other->GetValue(&value), S_OK);
  EXPECT_EQ(value, 712);
  ASSERT_EQ(mass->GetWriter(writer.Put()), S_OK);
  writer = nullptr;
  EXPECT_EQ(log.size(), 1u) << "a writer that changed nothing commits nothing";
}

TEST_F(ConstantTest, ASpreadsheetWriterEditsTheDefinitionAndRefusesEmptyNames) {
  auto sheet = Get<IKivExcelConstant>(u"Ambient");
  ComPtr<IKivExcelConstantWriter> writer;
  ASSERT_EQ(sheet->GetWriter(writer.Put()), S_OK);
  EXPECT_EQ(writer->SetFile(u""), E_FAIL);
  EXPECT_EQ(writer->SetTarget(u""), E_FAIL);
  EXPECT_EQ(writer->GetFile(nullptr), E_POINTER);
  ASSERT_EQ(writer->SetFile(u"setup.xlsx"), S_OK);
  ASSERT_EQ(writer->SetTarget(u"Car!B7"), S_OK);
  ComPtr<IKivExcelConstantElements> elements;
  ASSERT_EQ(writer->GetElements(elements.Put()), S_OK);
  ComPtr<IKivExcelConstantElements> sameList;
  ASSERT_EQ(writer->GetElements(sameList.Put()), S_OK);
  EXPECT_EQ(elements.Get(), sameList.Get());
  ComPtr<IKivExcelConstantElement> step;
  ASSERT_EQ(elements->AddElement(step.Put()), S_OK);
  int32_t kind = -1;
  ASSERT_EQ(step->GetKind(&kind), S_OK);
  EXPECT_EQ(kind, kStepSelectSheet);
  EXPECT_EQ(step->SetValue(u"1"), E_INVALIDARG) << "only a range step has a value";
  ASSERT_EQ(step->SetKind(kStepSetRange), S_OK);
  ASSERT_EQ(step->SetName(u"Gain"), S_OK);
  ASSERT_EQ(step->SetValue(u"1.5"), S_OK);
  uint32_t count = 0;
  ASSERT_EQ(elements->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1u);
  ComPtr<IKivExcelConstantElement> missing;
  EXPECT_EQ(elements->GetItem(0, missing.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(elements->GetItem(2, missing.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(elements->RemoveElement(2), DISP_E_BADINDEX);
  step = nullptr;
  elements = sameList = nullptr;
  writer = nullptr;
  EXPECT_EQ(cache_->Find(u"Ambient")->text, u"|setup.xlsx|$Gain=1.5|Car!B7");
  ComPtr<IKivSimpleConstantWriter> none;
  auto simple = Get<IKivSimpleConstant>(u"Mass");
  ASSERT_EQ(simple->GetWriter(none.Put()), S_OK);
  EXPECT_EQ(none->SetValue(1), S_OK);
}

TEST_F(ConstantTest, ASpreadsheetValueArrivesWithAChangeAndAFailureGivesStatus2) {
  SetSpreadsheetApplication(std::make_shared<FixedSpreadsheet>(S_OK));
  auto sheet = Get<IKivExcelConstant>(u"Ambient");
  auto& log = Listen(sheet.Get());
  {
    ComPtr<IKivExcelConstantWriter> writer;
    ASSERT_EQ(sheet->GetWriter(writer.Put()), S_OK);
    ASSERT_EQ(writer->SetFile(u"w.xlsx"), S_OK);
    ASSERT_EQ(writer->SetTarget(u"A1"), S_OK);
  }
  log.clear();
  double value = -1;
  EXPECT_EQ(sheet->GetValue(&value), KIV_E_PENDING);
  EXPECT_THAT(log, IsEmpty()) << "a pending constant stays silent";
  ASSERT_TRUE(Async_RunUntilSettled(d_, 30s));
  EXPECT_THAT(log, ElementsAre(StartsWith("changed")));
  ASSERT_EQ(sheet->GetValue(&value), S_OK);
  EXPECT_EQ(value, 12.5);

  SetSpreadsheetApplication(std::make_shared<FixedSpreadsheet>(E_FAIL));
  {
    ComPtr<IKivExcelConstantWriter> writer;
    ASSERT_EQ(sheet->GetWriter(writer.Put()), S_OK);
    ASSERT_EQ(writer->SetTarget(u"Sheet9!A1"), S_OK);
  }
  log.clear();
  EXPECT_EQ(sheet->GetValue(&value), KIV_E_PENDING);
  ASSERT_TRUE(Async_RunUntilSettled(d_, 30s));
  EXPECT_THAT(log, ElementsAre(StartsWith("changed"), "failed"));
  uint32_t status = 0;
  ASSERT_EQ(sheet->GetStatus(&status), S_OK);
  EXPECT_EQ(status, 2u);
  ASSERT_EQ(sheet->GetValue(&value), S_OK);
  EXPECT_EQ(value, 0);
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

}  // namespace
}  // namespace velmar
