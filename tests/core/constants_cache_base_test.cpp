#include "core/constants_cache_base.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "support/settling_test.h"

namespace velmar {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TestCache final : public CConstantsCacheBase {
 public:
  using CConstantsCacheBase::Insert;
};

// A constant object as the cache sees it: logs what it is told.
class Attached final : public CConstantBase {
 public:
  explicit Attached(std::vector<std::string>* log, std::string tag) : log_(log), tag_(std::move(tag)) {}
  IKivUnknown* GetConstantObject() override { return nullptr; }
  void OnConstantRemoved() override { log_->push_back(tag_ + ".removed"); }
  void SetConstantStatus(DataStatus status) override {
    log_->push_back(tag_ + ".status" + std::to_string(static_cast<int>(status)));
  }
  void DetachConstant() override {}

 private:
  std::vector<std::string>* log_;
  std::string tag_;
};

class Owner final : public CConstantsCacheOwner {
 public:
  explicit Owner(std::vector<std::string>* log) : log_(log) {}
  void OnConstantsRemoved(const ConstantNames& names) override { Log("removed", names); }
  void OnConstantsChanged(const ConstantNames& names) override { Log("changed", names); }
  void OnConstantsAdded(const ConstantNames& names) override { Log("added", names); }

 private:
  void Log(const std::string& what, const ConstantNames& names) {
    std::string line = "owner." + what;
    for (const auto& name : names) line += " " + std::string(name.begin(), name.end());
    log_->push_back(line);
  }
  std::vector<std::string>* log_;
};

// A spreadsheet application whose answer a test sets, and which can hold a
// read until the test lets it go.
class FakeSpreadsheet final : public CSpreadsheetApplication {
 public:
  KivResult ReadConstant(const std::u16string& file, const ConstantElements&, const std::u16string&,
                         double* value) override {
    std::unique_lock lock(mu_);
    ++reads_;
    lastFile_ = file;
    cv_.notify_all();
    cv_.wait(lock, [&] { return open_; });
    *value = answer_;
    return result_;
  }
  void Answer(KivResult result, double value) { std::lock_guard lock(mu_); result_ = result; answer_ = value; }
  void Hold() { std::lock_guard lock(mu_); open_ = false; }
  void Release() {
    std::lock_guard lock(mu_);
    open_ = true;
    cv_.notify_all();
  }
  bool WaitForRead(int count) {
    std::unique_lock lock(mu_);
    return cv_.wait_for(lock, 30s, [&] { return reads_ >= count; });
  }
  int reads() { std::lock_guard lock(mu_); return reads_; }
  std::u16string lastFile() { std::lock_guard lock(mu_); return lastFile_; }

 private:
  std::mutex mu_;
  std::condition_variable cv_;
  bool open_ = true;
  int reads_ = 0;
  KivResult result_ = S_OK;
  double answer_ = 0;
  std::u16string lastFile_;
};

class ConstantsCacheTest : public testing::SettlingTest {
 protected:
  void SetUp() override {
    app_ = std::make_shared<FakeSpreadsheet>();
    SetSpreadsheetApplication(app_);
    cache_.AddOwner(&owner_);
  }
  void TearDown() override {
    app_->Release();
    EXPECT_TRUE(Settle());
    SetSpreadsheetApplication(nullptr);
  }
  int64_t Add(const std::u16string& name, double value, const std::u16string& text = {}) {
    return cache_.Insert(ConstantRecord{name, value, u"m", text}).id;
  }
  std::vector<std::string> log_;
  TestCache cache_;
  Owner owner_{&log_};
  Attached a_{&log_, "a"};
  Attached b_{&log_, "b"};
  std::shared_ptr<FakeSpreadsheet> app_;
};

TEST_F(ConstantsCacheTest, SimpleValuesAreReadAndEditedThroughTheCacheAndTheCommitTellsEveryAttachedObject) {
  const int64_t id = Add(u"Mass", 640);
  double value = 0;
  ASSERT_EQ(cache_.GetValue(&a_, id, &value), S_OK);
  EXPECT_EQ(value, 640);
  ASSERT_TRUE(cache_.Attach(&b_, id));
  ASSERT_EQ(cache_.SetValue(&a_, id, 655), S_OK);
  ASSERT_EQ(cache_.SetUnit(&a_, id, u"kg"), S_OK);
  EXPECT_THAT(log_, IsEmpty()) << "an edit is not told before its commit";
  ASSERT_EQ(cache_.CommitConstant(&a_, id), S_OK);
  EXPECT_THAT(log_, ElementsAre("owner.changed Mass", "a.status1", "b.status1"));
  EXPECT_EQ(cache_.Find(u"Mass")->value, 655);
  EXPECT_EQ(cache_.Find(u"Mass")->unit, u"kg");
}

TEST_F(ConstantsCacheTest, UnknownIdsAndWrongKindsAreRefused) {
  const int64_t simple = Add(u"Mass", 1);
  const int64_t sheet = Add(u"Ambient", 0, u"|w.xlsx|A1");
  double value = 0;
  std::u16string text;
  uint32_t index = 0;
  EXPECT_EQ(cache_.GetValue(&a_, 999, &value), E_FAIL);
  EXPECT_EQ(cache_.SetValue(&a_, sheet, 3), E_FAIL) << "a spreadsheet constant has no value to set";
  EXPECT_EQ(cache_.GetFile(&a_, simple, &text), E_FAIL) << "a simple constant has no workbook";
  EXPECT_EQ(cache_.AddElement(&a_, simple, &index), E_FAIL);
  EXPECT_EQ(cache_.RemoveElement(&a_, sheet, 0), DISP_E_BADINDEX);
  EXPECT_EQ(cache_.GetElementName(&a_, sheet, 0, &text), DISP_E_BADINDEX);
  EXPECT_EQ(cache_.GetValue(&a_, simple, nullptr), E_POINTER);
}

TEST_F(ConstantsCacheTest, DefinitionEditsShowInTheTextAndACommitWritesThem) {
  const int64_t id = Add(u"Ambient", 0, u"|w.xlsx|A1");
  uint32_t index = 9;
  ASSERT_EQ(cache_.AddElement(&a_, id, &index), S_OK);
  EXPECT_EQ(index, 0u);
  ASSERT_EQ(cache_.SetElementName(&a_, id, 0, u"Setup"), S_OK);
  ASSERT_EQ(cache_.AddElement(&a_, id, &index), S_OK);
  ASSERT_EQ(cache_.SetElementKind(&a_, id, 1, ConstantElement::kSetRange), S_OK);
  ASSERT_EQ(cache_.SetElementName(&a_, id, 1, u"Gain"), S_OK);
  std::u16string text;
  EXPECT_EQ(cache_.GetText(&a_, id, &text), E_FAIL) << "a range step without a value can't be written";
  ASSERT_EQ(cache_.SetElementValue(&a_, id, 1, u"2"), S_OK);
  ASSERT_EQ(cache_.SetTarget(&a_, id, u"Setup!C3"), S_OK);
  ASSERT_EQ(cache_.GetText(&a_, id, &text), S_OK);
  EXPECT_EQ(text, u"|w.xlsx|Setup|$Gain=2|Setup!C3");
  ASSERT_EQ(cache_.CommitConstant(&a_, id), S_OK);
  EXPECT_EQ(cache_.Find(u"Ambient")->text, u"|w.xlsx|Setup|$Gain=2|Setup!C3");
}

TEST_F(ConstantsCacheTest, ASpreadsheetValueIsFetchedOnceInTheBackground) {
  app_->Answer(S_OK, 21.5);
  app_->Hold();
  const int64_t id = Add(u"Ambient", 0, u"|w.xlsx|Sheet1|B2");
  double value = -1;
  EXPECT_EQ(cache_.GetValue(&a_, id, &value), KIV_E_PENDING);
  ASSERT_TRUE(app_->WaitForRead(1));
  EXPECT_EQ(cache_.GetValue(&b_, id, &value), KIV_E_PENDING) << "a second read while fetching starts nothing";
  app_->Release();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(app_->reads(), 1);
  EXPECT_EQ(app_->lastFile(), u"w.xlsx");
  EXPECT_THAT(log_, ElementsAre("a.status1", "b.status1"));
  ASSERT_EQ(cache_.GetValue(&a_, id, &value), S_OK);
  EXPECT_EQ(value, 21.5);
  EXPECT_EQ(app_->reads(), 1) << "the value stays until a commit";
  ASSERT_EQ(cache_.CommitConstant(&a_, id), S_OK);
  EXPECT_EQ(cache_.GetValue(&a_, id, &value), KIV_E_PENDING) << "a commit fetches it again";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(app_->reads(), 2);
}

TEST_F(ConstantsCacheTest, AWorkbookThatCannotBeReadGivesStatus2AndValue0) {
  app_->Answer(E_FAIL, 99);
  const int64_t id = Add(u"Ambient", 0, u"|missing.xlsx|A1");
  const int64_t none = Add(u"Nothing", 0, u"|<none>|A1");
  double value = -1;
  EXPECT_EQ(cache_.GetValue(&a_, id, &value), KIV_E_PENDING);
  EXPECT_EQ(cache_.GetValue(&b_, none, &value), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a.status2", "b.status2"));
  ASSERT_EQ(cache_.GetValue(&a_, id, &value), S_OK);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(app_->reads(), 1) << "<none> never reaches the application";
}

TEST_F(ConstantsCacheTest, RemovingAConstantWhileItsValueIsFetchedCancelsQuietly) {
  app_->Hold();
  const int64_t id = Add(u"Ambient", 0, u"|w.xlsx|A1");
  double value = 0;
  EXPECT_EQ(cache_.GetValue(&a_, id, &value), KIV_E_PENDING);
  ASSERT_TRUE(app_->WaitForRead(1));
  cache_.Merge({});
  app_->Release();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a.removed", "owner.removed Ambient"));
}

TEST_F(ConstantsCacheTest, AMergeTellsAttachedObjectsEvenWhenNothingChanged) {
  const int64_t mass = Add(u"Mass", 640);
  const int64_t drag = Add(u"Drag", 0.3);
  ASSERT_TRUE(cache_.Attach(&a_, mass));
  ASSERT_TRUE(cache_.Attach(&b_, drag));
  cache_.Merge({ConstantRecord{u"Mass", 640, u"m", {}}, ConstantRecord{u"Toe", 0.1, u"deg", {}},
                ConstantRecord{u"Toe", 0.2, u"rad", {}}});
  EXPECT_THAT(log_, ElementsAre("a.status1", "b.removed", "owner.removed Drag", "owner.added Toe"));
  EXPECT_THAT(cache_.GetNames(), ElementsAre(u"Mass", u"Toe"));
  EXPECT_EQ(cache_.Find(u"Toe")->value, 0.1) << "the first of a name stands";
  EXPECT_EQ(cache_.Find(u"Toe")->unit, u"deg");
  EXPECT_EQ(cache_.Find(u"Mass")->id, mass) << "a kept entry keeps its id";
}

TEST_F(ConstantsCacheTest, AMergeTakesNewValuesUnitsAndTexts) {
  app_->Answer(S_OK, 5);
  const int64_t id = Add(u"Gain", 2);
  const int64_t sheet = Add(u"Ambient", 0, u"|w.xlsx|A1");
  double value = 0;
  EXPECT_EQ(cache_.GetValue(&a_, sheet, &value), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  cache_.Merge({ConstantRecord{u"Gain", 3, u"", {}}, ConstantRecord{u"Ambient", 7, u"m", u"|w.xlsx|B1"}});
  ASSERT_EQ(cache_.GetValue(&a_, id, &value), S_OK);
  EXPECT_EQ(value, 3);
  EXPECT_TRUE(cache_.Find(u"Gain")->unit.empty());
  EXPECT_EQ(cache_.GetValue(&a_, sheet, &value), KIV_E_PENDING) << "a changed definition is fetched again";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(app_->reads(), 2);
}

TEST_F(ConstantsCacheTest, DetachedObjectsHearNothingMoreAndForgottenValuesAreFetchedAgain) {
  const int64_t id = Add(u"Mass", 1);
  ASSERT_TRUE(cache_.Attach(&a_, id));
  ASSERT_TRUE(cache_.Attach(&b_, id));
  ASSERT_EQ(cache_.DetachConstant(&a_, id), S_OK);
  cache_.NotifyConstantChanged(DataStatus::kAvailable, id);
  EXPECT_THAT(log_, ElementsAre("b.status1"));
  EXPECT_THAT(cache_.AttachedTo(id), ElementsAre(&b_));
  // Forgetting fetched values fetches them again.
  const int64_t sheet = Add(u"Ambient", 0, u"|w.xlsx|A1");
  EXPECT_EQ(cache_.ForgetRetrievedValues(), 0u);
  double value = 0;
  EXPECT_EQ(cache_.GetValue(&a_, sheet, &value), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  log_.clear();
  EXPECT_EQ(cache_.ForgetRetrievedValues(), 1u);
  EXPECT_THAT(log_, ElementsAre("a.status1"));
  EXPECT_EQ(cache_.GetValue(&a_, sheet, &value), KIV_E_PENDING);
}

}  // namespace
}  // namespace velmar
