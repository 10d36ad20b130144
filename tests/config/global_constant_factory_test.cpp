#include "config/global_constant_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "outing/constants/constant_stream.h"
#include "support/got.h"
#include "support/scoped_sink.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint32_t kOpen = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

struct NameLog : CDataFactoryNotificationsReceiver {
  std::vector<std::string> seen;
  void OnItemsAdded(IKivDataFactory*, uint32_t kind, const NameList& names) override {
    EXPECT_EQ(kind, kDataKindConstants);
    seen.push_back("+" + std::to_string(names.size()));
  }
  void OnItemsRemoved(IKivDataFactory*, uint32_t kind, const NameList& names) override {
    EXPECT_EQ(kind, kDataKindConstants);
    seen.push_back("-" + std::to_string(names.size()));
  }
};

class GlobalConstantFactoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(factory_->AttachCache(cache_), S_OK);
    ASSERT_EQ(StgCreateMemoryStorage(storage_.Put()), S_OK);
    CGlobalConstantFactory::SetFatalStop([this](const std::u16string& message) { fatal_.push_back(message); });
  }
  void TearDown() override { CGlobalConstantFactory::SetFatalStop(nullptr); }

  // What the storage holds, read from a copy (the factory keeps its stream open).
  std::vector<ConstantRecord> Stored(IKivStorage* storage) {
    std::string bytes;
    EXPECT_EQ(StgSaveToBytes(storage, &bytes), S_OK);
    ComPtr<IKivStorage> copy;
    EXPECT_EQ(StgOpenMemoryStorage(bytes, kOpen, copy.Put()), S_OK);
    ComPtr<IKivStream> stream;
    EXPECT_EQ(copy->OpenStream(u"Constant Data", kOpen, stream.Put()), S_OK);
    std::vector<ConstantRecord> records;
    if (stream) {
      EXPECT_EQ(ReadConstantData(stream.Get(), &records), S_OK);
    }
    return records;
  }
  // A settings storage holding `records` as a factory of another session wrote them.
  ComPtr<IKivStorage> StorageWith(const std::vector<ConstantRecord>& records, uint32_t version = 1) {
    ComPtr<IKivStorage> storage;
    EXPECT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
    ComPtr<IKivStream> stream;
    EXPECT_EQ(storage->CreateStream(u"Version", kOpen, stream.Put()), S_OK);
    EXPECT_EQ(stream->Write(&version, sizeof version, nullptr), S_OK);
    EXPECT_EQ(storage->CreateStream(u"Constant Data", kOpen, stream.Put()), S_OK);
    EXPECT_EQ(WriteConstantData(stream.Get(), records), S_OK);
    return storage;
  }

  std::shared_ptr<CGlobalConstantsCache> cache_ = std::make_shared<CGlobalConstantsCache>();
  ComPtr<CGlobalConstantFactory> factory_ = MakeKiv<CGlobalConstantFactory>();
  ComPtr<IKivStorage> storage_;
  std::vector<std::u16string> fatal_;
};

TEST_F(GlobalConstantFactoryTest, FactoriesOnOneCacheShowTheSameNamesAndEachTellsItsClients) {
  auto second = MakeKiv<CGlobalConstantFactory>();
  ASSERT_EQ(second->AttachCache(cache_), S_OK);
  NameLog log;
  testing::ScopedSink<CDataFactoryNotificationsSink<>, IKivConstantFactory> sink(&log, second.Get());

  ASSERT_EQ(factory_->AddConstant(u"Ride Height", kSimpleConstant), S_OK);
  ASSERT_EQ(factory_->RemoveConstant(u"Ride Height"), S_OK);
  ASSERT_EQ(factory_->AddConstant(u"Rake", kSpreadsheetConstant), S_OK);
  EXPECT_THAT(testing::Got(second, &CGlobalConstantFactory::GetNames), ElementsAre(u"Rake"));
  EXPECT_THAT(log.seen, ElementsAre("+1", "-1", "+1"));

  ASSERT_EQ(second->AttachCache(nullptr), S_OK);
  ASSERT_EQ(cache_->Add(u"Toe", 0), S_OK);
  EXPECT_EQ(log.seen.size(), 3u) << "a factory that let go of the cache hears nothing";
}

TEST_F(GlobalConstantFactoryTest, AddAndRemoveRefuseBadArguments) {
  ASSERT_EQ(factory_->AddConstant(u"Mass", kSimpleConstant), S_OK);
  EXPECT_EQ(factory_->AddConstant(u"Mass", kSimpleConstant), E_INVALIDARG);
  EXPECT_EQ(factory_->AddConstant(u"", kSimpleConstant), E_INVALIDARG);
  EXPECT_EQ(factory_->AddConstant(u"Other", 2), E_INVALIDARG);
  EXPECT_EQ(factory_->RemoveConstant(u"Nothing"), E_INVALIDARG);
  ComPtr<IKivConstant> constant;
  EXPECT_EQ(factory_->GetItem(u"", constant.Put()), E_INVALIDARG);
  EXPECT_EQ(factory_->GetItem(u"Other", constant.Put()), E_INVALIDARG);
  EXPECT_EQ(factory_->GetItem(u"Mass", nullptr), E_POINTER);
  ASSERT_EQ(factory_->GetItem(u"Mass", constant.Put()), S_OK);
  EXPECT_TRUE(constant.As<IKivSimpleConstant>());
  ComPtr<IKivConstant> again;
  ASSERT_EQ(factory_->GetItem(u"Mass", again.Put()), S_OK);
  EXPECT_EQ(again.Get(), constant.Get()) << "the live object is given again";
  EXPECT_EQ(factory_->ReloadSpreadsheetConstants(), S_FALSE);
}

TEST_F(GlobalConstantFactoryTest, EveryChangeIsWrittenToTheStorageAtOnce) {
  ASSERT_EQ(factory_->InitNew(storage_.Get()), S_OK);
  EXPECT_THAT(Stored(storage_.Get()), IsEmpty());
  ASSERT_EQ(factory_->AddConstant(u"Mass", kSimpleConstant), S_OK);
  ASSERT_EQ(factory_->AddConstant(u"Ambient", kSpreadsheetConstant), S_OK);
  EXPECT_THAT(Stored(storage_.Get()), ElementsAre(ConstantRecord{u"Mass", 0, u"", u""},
                                                  ConstantRecord{u"Ambient", 0, u"", u"|"}))
      << "an add is appended";
  ComPtr<IKivConstant> constant;
  ASSERT_EQ(factory_->GetItem(u"Mass", constant.Put()), S_OK);
  {
    ComPtr<IKivSimpleConstantWriter> writer;
    ASSERT_EQ(constant.As<IKivSimpleConstant>()->GetWriter(writer.Put()), S_OK);
    ASSERT_EQ(writer->SetValue(640), S_OK);
    ASSERT_EQ(writer->SetUnit(u"kg"), S_OK);
  }
  ASSERT_EQ(factory_->RemoveConstant(u"Ambient"), S_OK);
  EXPECT_THAT(Stored(storage_.Get()), ElementsAre(ConstantRecord{u"Mass", 640, u"kg", u""}));
  EXPECT_THAT(fatal_, IsEmpty());
}

TEST_F(GlobalConstantFactoryTest, StreamsRoundTripThroughASecondSession) {
  ASSERT_EQ(factory_->InitNew(storage_.Get()), S_OK);
  ASSERT_EQ(factory_->AddConstant(u"Mass", kSimpleConstant), S_OK);
  ASSERT_EQ(factory_->AddConstant(u"Ambient", kSpreadsheetConstant), S_OK);
  ASSERT_EQ(factory_->Save(storage_.Get(), true), S_OK);
  std::string bytes;
  ASSERT_EQ(StgSaveToBytes(storage_.Get(), &bytes), S_OK);
  ASSERT_EQ(factory_->HandsOffStorage(), S_OK);

  auto cache = std::make_shared<CGlobalConstantsCache>();
  auto later = MakeKiv<CGlobalConstantFactory>();
  ASSERT_EQ(later->AttachCache(cache), S_OK);
  ComPtr<IKivStorage> reopened;
  ASSERT_EQ(StgOpenMemoryStorage(bytes, kOpen, reopened.Put()), S_OK);
  ASSERT_EQ(later->Load(reopened.Get()), S_OK);
  EXPECT_THAT(cache->GetNames(), ElementsAre(u"Ambient", u"Mass"));
  EXPECT_EQ(cache->Find(u"Ambient")->text, u"|");
  EXPECT_EQ(later->Load(reopened.Get()), E_UNEXPECTED) << "a second attach";
  EXPECT_EQ(later->InitNew(nullptr), E_POINTER);
}

TEST_F(GlobalConstantFactoryTest, ALoadReplacesTheSetWithoutWritingAndTellsClients) {
  ASSERT_EQ(cache_->Add(u"Old", 0), S_OK);
  NameLog log;
  testing::ScopedSink<CDataFactoryNotificationsSink<>, IKivConstantFactory> sink(&log, factory_.Get());
  auto storage = StorageWith({ConstantRecord{u"Mass", 700, u"kg", u""}, ConstantRecord{u"Ambient", 5, u"", u"|a.xlsx|A1"}});
  ASSERT_EQ(factory_->Load(storage.Get()), S_OK);
  EXPECT_THAT(cache_->GetNames(), ElementsAre(u"Ambient", u"Mass"));
  EXPECT_EQ(cache_->Find(u"Mass")->value, 700);
  EXPECT_EQ(cache_->Find(u"Ambient")->value, 0) << "a spreadsheet value comes from its workbook";
  EXPECT_THAT(log.seen, ElementsAre("-1", "+2"));
  EXPECT_EQ(Stored(storage.Get()).size(), 2u);
}

TEST_F(GlobalConstantFactoryTest, ABadStorageFailsTheLoadAndLeavesTheSet) {
  ASSERT_EQ(cache_->Add(u"Kept", 0), S_OK);
  auto twice = StorageWith({ConstantRecord{u"Mass", 1, u"", u""}, ConstantRecord{u"Mass", 2, u"", u""}});
  EXPECT_EQ(factory_->Load(twice.Get()), E_FAIL) << "a name stored twice";
  auto newer = StorageWith({}, 2);
  EXPECT_EQ(factory_->Load(newer.Get()), E_FAIL) << "an unknown version";
  ComPtr<IKivStorage> empty;
  ASSERT_EQ(StgCreateMemoryStorage(empty.Put()), S_OK);
  EXPECT_EQ(factory_->Load(empty.Get()), E_FAIL);
  EXPECT_THAT(cache_->GetNames(), ElementsAre(u"Kept"));
  auto good = StorageWith({});
  EXPECT_EQ(factory_->Load(good.Get()), S_OK) << "a failed load holds no storage";
}

TEST_F(GlobalConstantFactoryTest, AStorageThatCannotBeWrittenEndsTheProcess) {
  ASSERT_EQ(factory_->InitNew(storage_.Get()), S_OK);
  ASSERT_EQ(factory_->AddConstant(u"Mass", kSimpleConstant), S_OK);
  ASSERT_EQ(storage_->DestroyElement(u"Constant Data"), S_OK);  // the open stream now refuses
  ASSERT_EQ(factory_->AddConstant(u"Drag", kSimpleConstant), S_OK);
  ASSERT_EQ(factory_->RemoveConstant(u"Mass"), S_OK);
  const std::u16string trying = u"Kivara has encountered a non-recoverable situation while trying to ";
  EXPECT_THAT(fatal_, ElementsAre(trying + u"add Constant data\n and needs to exit.",
                                  trying + u"remove Constant data\n and needs to exit."));
}

TEST_F(GlobalConstantFactoryTest, RootAndParentFollowTheFrameRules) {
  auto someone = MakeKiv<CGlobalConstantFactory>();
  ComPtr<IKivUnknown> out;
  EXPECT_EQ(factory_->GetRoot(out.Put()), E_UNEXPECTED);
  EXPECT_EQ(factory_->GetParent(out.Put()), E_UNEXPECTED);
  EXPECT_EQ(factory_->SetParent(nullptr), E_INVALIDARG);
  EXPECT_EQ(factory_->SetParent(someone->PrimaryUnknown()), S_OK);
  EXPECT_EQ(factory_->SetParent(someone->PrimaryUnknown()), E_INVALIDARG);
  EXPECT_EQ(factory_->SetParent(nullptr), S_OK);
  EXPECT_EQ(factory_->SetRoot(someone->PrimaryUnknown()), S_OK);
  EXPECT_EQ(factory_->SetRoot(someone->PrimaryUnknown()), E_UNEXPECTED) << "once only";
  EXPECT_EQ(testing::Got(factory_, &CGlobalConstantFactory::GetRoot).Get(), someone->PrimaryUnknown());
}

}  // namespace
}  // namespace velmar
