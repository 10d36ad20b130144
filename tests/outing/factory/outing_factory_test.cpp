#include "outing/factory/outing_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "outing/cache/outing_cache_registry.h"
#include "outing/cache/outing_source.h"
#include "outing/factory/outing_type_table.h"
#include "outing/factory/text_array.h"
#include "support/got.h"
#include "outing/laps/fast_lap_registry.h"
#include "outing/memory_source.h"
#include "platform/registry/registry_file.h"
#include "support/faulty_file_ops.h"
#include "support/outing_listener.h"
#include "support/settling_test.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::Each;
using ::testing::IsEmpty;

using MemorySourceOf = COutingSource<CMemoryOuting>;

uint32_t TypeOf(IKivOuting* outing) { return Got(outing, &IKivOuting::GetOutingType); }
std::u16string IdOf(IKivOuting* outing) { return Got(QueryAs<IKivOuting2>(outing), &IKivOuting2::GetOutingId); }
std::u16string PathOf(IKivOuting* outing) { return Got(outing, &IKivOuting::GetFileName); }
bool OverrideOf(IKivOuting* outing) {
  return FromKivBool(Got(QueryAs<IKivOuting4>(outing), &IKivOuting4::GetOverrideProperties));
}

CMemoryOuting* AsMemory(IKivOuting* outing) { return static_cast<CMemoryOuting*>(outing); }

class OutingFactoryTest : public SettlingTest {
 protected:
  void TearDown() override {
    factory_ = nullptr;
    EXPECT_TRUE(Settle());
  }

  // A data set that exists on disk (and in memory, for its load).
  std::u16string Existing(const std::string& name) {
    std::ofstream(dir_ / name) << "data";
    const std::u16string path = Utf8ToWide((dir_ / name).string());
    MemoryDisk::Put(path, MemoryDataSet{S_OK, true, {u"Speed"}});
    return path;
  }
  std::u16string Missing(const std::string& name) const { return Utf8ToWide((dir_ / name).string()); }

  KivResult CreateEx(bool create, const Guid& type, const std::vector<std::u16string>& paths, OutingList* outings,
                     bool overrideProperties = false) {
    const Variant array = MakeTextArray(paths);
    return factory_->CreateEx(ToKivBool(create), ToKivBool(overrideProperties), type.ToWide(), &array, outings);
  }

  TempDir dir_;
  FaultyFileOps registryOps_;
  ScopedHiveOverride hive_{RegHive::kCurrentUser, std::make_shared<RegistryFile>(dir_ / "user.json", registryOps_)};
  ClassRegistry classes_;
  COutingFactoryAddIns addIns_{classes_};
  ScopedOutingSource text_{OutingType::kText, std::make_shared<MemorySourceOf>()};
  ComPtr<COutingFactory> factory_ = MakeKiv<COutingFactory>(addIns_);
};

// --- Opening paths -------------------------------------------------------------

TEST_F(OutingFactoryTest, AnExistingPathGivesARealOutingWhoseCacheLastsWhileItsOutingsDo) {
  const std::u16string path = Existing("run.txt");
  OutingList first, second;
  ASSERT_EQ(CreateEx(false, kTextOutingTypeId, {path}, &first), S_OK);
  ASSERT_EQ(CreateEx(false, kTextOutingTypeId, {path}, &second), S_OK);
  ASSERT_EQ(first.size(), 1u);
  ASSERT_TRUE(first[0] && second[0]);
  EXPECT_NE(first[0], second[0]) << "one outing object per request";
  EXPECT_EQ(AsMemory(first[0].Get())->cache(), AsMemory(second[0].Get())->cache());
  EXPECT_EQ(TypeOf(first[0].Get()), 3u);
  EXPECT_EQ(IdOf(first[0].Get()), u"{3F4B8C0F-F636-4C4B-A8B3-98BF06470C97}");
  EXPECT_EQ(PathOf(first[0].Get()), path);
  // The last release of the factory's outings ends the cache.
  auto& registry = COutingCacheRegistry<CMemoryOutingCache>::Instance();
  first.clear();
  EXPECT_NE(registry.Find(path), nullptr) << "one client is left";
  second.clear();
  EXPECT_EQ(registry.Find(path), nullptr);
}

TEST_F(OutingFactoryTest, AMissingPathGivesAnEmptyOutingAndSFalseOnlyWhenItIsLast) {
  const std::u16string there = Existing("there.txt");
  const std::u16string gone = Missing("gone.txt");
  OutingList outings;
  ASSERT_EQ(CreateEx(false, kTextOutingTypeId, {there, gone}, &outings), S_OK);
  ASSERT_EQ(outings.size(), 2u);
  EXPECT_EQ(TypeOf(outings[0].Get()), 3u);
  EXPECT_EQ(TypeOf(outings[1].Get()), 0u);
  EXPECT_EQ(PathOf(outings[1].Get()), gone);
  // Alone, the missing path gives S_FALSE and an empty outing of the type.
  ASSERT_EQ(CreateEx(false, kTextOutingTypeId, {gone}, &outings, /*overrideProperties=*/true), S_FALSE);
  ASSERT_EQ(outings.size(), 1u);
  EXPECT_EQ(TypeOf(outings[0].Get()), 0u);
  EXPECT_EQ(IdOf(outings[0].Get()), kTextOutingTypeId.ToWide());
  EXPECT_TRUE(OverrideOf(outings[0].Get())) << "the stand-in keeps the caller's flag";
  EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(gone), nullptr)
      << "the text cache made for the path went with its outing";
  EXPECT_FALSE(std::filesystem::exists(dir_ / "gone.txt"));
}

TEST_F(OutingFactoryTest, AMissingPathWithCreateGivesARealOutingThatHearsItsCreationElseTheEmptyOne) {
  const std::u16string path = Missing("new.txt");
  OutingList outings;
  ASSERT_EQ(CreateEx(true, kTextOutingTypeId, {path}, &outings), S_OK);
  ASSERT_EQ(TypeOf(outings[0].Get()), 3u);
  OutingListener heard(outings[0].Get());
  ASSERT_TRUE(Async_WaitIdle(MemorySource::Thread(), 30s));
  EXPECT_THAT(heard.log, IsEmpty()) << "nothing is heard before the client's loop runs";
  ASSERT_TRUE(Settle());
  EXPECT_THAT(heard.log, ElementsAre("Created:-1"));
  EXPECT_THAT(heard.threads, Each(std::this_thread::get_id()));
  EXPECT_TRUE(std::filesystem::exists(dir_ / "new.txt"));
  const std::u16string unwritable = Utf8ToWide((dir_ / "no folder" / "new.txt").string());
  ASSERT_EQ(CreateEx(true, kTextOutingTypeId, {unwritable}, &outings), S_FALSE);
  EXPECT_EQ(TypeOf(outings[0].Get()), 0u) << "a folder that cannot be written falls back to the empty outing";
}

TEST_F(OutingFactoryTest, ARealTimeAddressIsNeverTestedForExistence) {
  ScopedOutingSource live(OutingType::kRealTime, std::make_shared<MemorySourceOf>());
  OutingList outings;
  ASSERT_EQ(CreateEx(false, kRealTimeOutingTypeId, {u"rt://car-7:5000"}, &outings), S_OK);
  EXPECT_EQ(TypeOf(outings[0].Get()), 4u);
  EXPECT_EQ(IdOf(outings[0].Get()), kRealTimeOutingTypeId.ToWide());
}

TEST_F(OutingFactoryTest, EveryRowOpensThroughTheSourceRegisteredForIt) {
  for (OutingType type : {OutingType::kTarn, OutingType::kMatFile, OutingType::kText, OutingType::kRealTime,
                          OutingType::kSpreadsheet}) {
    SCOPED_TRACE(static_cast<int>(type));
    const OutingTypeRow& row = OutingTypeRowOf(type);
    ScopedOutingSource source(type, std::make_shared<MemorySourceOf>());
    const std::u16string path = Existing("row" + std::to_string(static_cast<int>(type)));
    OutingList outings;
    ASSERT_EQ(CreateEx(false, row.typeId, {path}, &outings), S_OK);
    ASSERT_TRUE(outings[0]);
    EXPECT_EQ(TypeOf(outings[0].Get()), static_cast<uint32_t>(type));
    EXPECT_EQ(IdOf(outings[0].Get()), row.typeId.ToWide());
  }
}

TEST_F(OutingFactoryTest, ARowWithoutASourceCannotMakeItsOutings) {
  ScopedOutingSource none(OutingType::kMatFile, nullptr);
  const std::u16string path = Existing("run.mat");
  OutingList outings;
  EXPECT_EQ(CreateEx(true, kMatFileOutingTypeId, {path, path}, &outings), E_OUTOFMEMORY);
  EXPECT_THAT(outings, ElementsAre(nullptr, nullptr));
}

TEST_F(OutingFactoryTest, ANullPathIsANullElementAndOnlyTheLastElementDecidesTheResult) {
  const std::u16string path = Existing("run.txt");
  const Variant nullLast = Variant::Array({Variant::Text(path), Variant()});
  const Variant nullFirst = Variant::Array({Variant(), Variant::Text(path)});
  OutingList outings;
  EXPECT_EQ(factory_->CreateEx(KIV_FALSE, KIV_FALSE, kTextOutingTypeId.ToWide(), &nullLast, &outings),
            E_OUTOFMEMORY);
  ASSERT_EQ(outings.size(), 2u);
  EXPECT_TRUE(outings[0]);
  EXPECT_FALSE(outings[1]);
  EXPECT_EQ(factory_->CreateEx(KIV_FALSE, KIV_FALSE, kTextOutingTypeId.ToWide(), &nullFirst, &outings), S_OK);
  EXPECT_FALSE(outings[0]);
  EXPECT_TRUE(outings[1]);
  outings.resize(3);
  EXPECT_EQ(CreateEx(false, kTextOutingTypeId, {}, &outings), S_FALSE) << "no paths";
  EXPECT_THAT(outings, IsEmpty());
}

// --- Fast-lap settings -------------------------------------------------------------

TEST_F(OutingFactoryTest, FastLapSettingsHaveTheirDefaultsUntilStoredInTheUsersRegistry) {
  EXPECT_EQ(Got(factory_, &COutingFactory::GetFastLapFilterEnabled), KIV_FALSE);
  EXPECT_EQ(Got(factory_, &COutingFactory::GetFastLapMinimumTime), 50'000'000);
  EXPECT_EQ(factory_->GetFastLapFilterEnabled(nullptr), E_POINTER);

  ASSERT_EQ(factory_->SetFastLapFilterEnabled(KIV_TRUE), S_OK);
  ASSERT_EQ(factory_->SetFastLapMinimumTime(95 * kTicksPerSecond), S_OK);
  ComPtr<COutingFactory> another = MakeKiv<COutingFactory>(addIns_);
  EXPECT_EQ(Got(another, &COutingFactory::GetFastLapFilterEnabled), KIV_TRUE);
  EXPECT_EQ(Got(another, &COutingFactory::GetFastLapMinimumTime), 95 * kTicksPerSecond);

  RegistryKey key;
  ASSERT_EQ(RegistryKey::Open(std::make_shared<RegistryFile>(dir_ / "user.json"),
                              u"Software\\Halvane\\Kivara\\Outing Factory", &key),
            S_OK);
  std::vector<uint8_t> flag, time;
  ASSERT_EQ(key.QueryBinary(u"FastLapFilterEnabled", &flag), S_OK);
  ASSERT_EQ(key.QueryBinary(u"FastLapMinimumTime", &time), S_OK);
  EXPECT_THAT(flag, ElementsAre(0xFF, 0xFF));
  EXPECT_THAT(time, ElementsAre(0x80, 0xD9, 0x9F, 0x38, 0x00, 0x00, 0x00, 0x00));  // 950,000,000
}

TEST_F(OutingFactoryTest, ASetReachesEveryOpenCacheAndEveryCacheMadeLater) {
  OutingList before, after;
  ASSERT_EQ(CreateEx(false, kTextOutingTypeId, {Existing("a.txt")}, &before), S_OK);
  CMemoryOutingCache* old = AsMemory(before[0].Get())->cache();
  EXPECT_FALSE(old->fast_lap_filter());
  ASSERT_EQ(factory_->SetFastLapFilterEnabled(KIV_TRUE), S_OK);
  ASSERT_EQ(factory_->SetFastLapMinimumTime(7 * kTicksPerSecond), S_OK);
  EXPECT_TRUE(old->fast_lap_filter());
  EXPECT_EQ(old->fast_lap_minimum_time(), 7 * kTicksPerSecond);
  ASSERT_EQ(CreateEx(false, kTextOutingTypeId, {Existing("b.txt")}, &after), S_OK);
  CMemoryOutingCache* made = AsMemory(after[0].Get())->cache();
  EXPECT_NE(made, old);
  EXPECT_TRUE(made->fast_lap_filter());
  EXPECT_EQ(made->fast_lap_minimum_time(), 7 * kTicksPerSecond);
  (void)Got(after[0], &IKivOuting::GetCaption);
  ASSERT_FALSE(made->caption_dirty());
  ASSERT_EQ(factory_->SetFastLapMinimumTime(7 * kTicksPerSecond), S_OK);
  ASSERT_EQ(factory_->SetFastLapFilterEnabled(KIV_TRUE), S_OK);
  EXPECT_FALSE(made->caption_dirty()) << "the value held already: the fast lap need not be worked out again";
  ASSERT_EQ(factory_->SetFastLapMinimumTime(60'000'000), S_OK);
  EXPECT_TRUE(made->caption_dirty());
}

TEST_F(OutingFactoryTest, ANewFactoryHandsTheStoredSettingsToOpenCaches) {
  OutingList outings;
  ASSERT_EQ(CreateEx(false, kTextOutingTypeId, {Existing("a.txt")}, &outings), S_OK);
  ASSERT_EQ(WriteFastLapFilterEnabled(true), S_OK);
  ASSERT_EQ(WriteFastLapMinimumTime(3 * kTicksPerSecond), S_OK);
  CMemoryOutingCache* cache = AsMemory(outings[0].Get())->cache();
  EXPECT_FALSE(cache->fast_lap_filter()) << "stored values reach caches through a factory";
  ComPtr<COutingFactory> another = MakeKiv<COutingFactory>(addIns_);
  EXPECT_TRUE(cache->fast_lap_filter());
  EXPECT_EQ(cache->fast_lap_minimum_time(), 3 * kTicksPerSecond);
}

TEST_F(OutingFactoryTest, ARegistryThatCannotBeWrittenKeepsTheDefaultAndSetStillSucceeds) {
  registryOps_.FailAt(FaultyFileOps::Step::kWrite);
  EXPECT_EQ(factory_->SetFastLapMinimumTime(9 * kTicksPerSecond), S_OK);
  EXPECT_EQ(registryOps_.failures(), 1);
  EXPECT_EQ(Got(factory_, &COutingFactory::GetFastLapMinimumTime), 50'000'000);
}

// --- Bad arguments ---------------------------------------------------------------

TEST_F(OutingFactoryTest, BadArgumentsAreRefusedAndMakeNothing) {
  const std::u16string path = Existing("run.txt");
  const std::u16string type = kTextOutingTypeId.ToWide();
  const Variant paths = MakeTextArray({path});
  OutingList outings;
  EXPECT_EQ(factory_->CreateEx(KIV_FALSE, KIV_FALSE, type, nullptr, &outings), E_POINTER);
  EXPECT_EQ(factory_->CreateEx(KIV_FALSE, KIV_FALSE, type, &paths, nullptr), E_POINTER);
  EXPECT_EQ(factory_->CreateEx(KIV_FALSE, KIV_FALSE, u"{not a guid}", &paths, &outings), E_INVALIDARG);
  EXPECT_EQ(factory_->Create(KIV_FALSE, u"3F4B8C0F", &paths, &outings), E_INVALIDARG);
  const Variant notAnArray = Variant::Text(path);
  const Variant twoDimensions = Variant::Array({Variant::Array({Variant::Text(path)})});
  const Variant notText = Variant::Array({Variant::I32(3)});
  for (const Variant* bad : {&notAnArray, &twoDimensions, &notText}) {
    EXPECT_EQ(factory_->CreateEx(KIV_FALSE, KIV_FALSE, type, bad, &outings), E_INVALIDARG);
  }
  EXPECT_THAT(outings, IsEmpty());
  EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(path), nullptr);
}

// CreateOutings takes rows one to four and clears the override flag, as
// Create does; CreateEx passes it; a type id parses in any letter case.
TEST_F(OutingFactoryTest, TheOlderEntriesTakeRowsAndClearTheOverrideFlag) {
  const std::u16string path = Existing("run.txt");
  const Variant paths = MakeTextArray({path});
  OutingList outings, plain, overriding;
  for (int32_t index : {-1, 0, 5, 6}) {
    EXPECT_EQ(factory_->CreateOutings(KIV_FALSE, index, &paths, &outings), E_INVALIDARG) << index;
  }
  ASSERT_EQ(factory_->CreateOutings(KIV_FALSE, 3, &paths, &outings), S_OK);
  EXPECT_EQ(TypeOf(outings[0].Get()), 3u);
  EXPECT_FALSE(OverrideOf(outings[0].Get()));
  ASSERT_EQ(factory_->Create(KIV_FALSE, u"{3f4b8c0f-f636-4c4b-a8b3-98bf06470c97}", &paths, &plain), S_OK);
  ASSERT_EQ(CreateEx(false, kTextOutingTypeId, {path}, &overriding, /*overrideProperties=*/true), S_OK);
  EXPECT_EQ(TypeOf(plain[0].Get()), 3u);
  EXPECT_FALSE(OverrideOf(plain[0].Get()));
  EXPECT_TRUE(OverrideOf(overriding[0].Get()));
}

// --- Type questions ----------------------------------------------------------------

TEST_F(OutingFactoryTest, EveryRowButTheEmptyOneIsSupportedAndOnlyTheRealTimeRowIsRealTime) {
  for (const Guid& type : {kTarnOutingTypeId, kMatFileOutingTypeId, kTextOutingTypeId, kRealTimeOutingTypeId,
                           kSpreadsheetOutingTypeId}) {
    KivBool supported = KIV_FALSE, realTime = 7;
    ASSERT_EQ(factory_->SupportsType(type.ToWide(), &supported), S_OK);
    ASSERT_EQ(factory_->IsRealTimeType(type.ToWide(), &realTime), S_OK);
    EXPECT_EQ(supported, KIV_TRUE) << type.ToString();
    EXPECT_EQ(realTime, ToKivBool(type == kRealTimeOutingTypeId)) << type.ToString();
  }
  for (const Guid& unknown : {GUID_NULL, Guid::Literal("{8B1F3E5A-0C2D-4E6F-9A7B-1C3D5E7F9A0B}")}) {
    KivBool answer = KIV_TRUE;
    ASSERT_EQ(factory_->SupportsType(unknown.ToWide(), &answer), S_OK);
    EXPECT_EQ(answer, KIV_FALSE);
  }
  KivBool answer = KIV_TRUE;
  EXPECT_EQ(factory_->SupportsType(kTextOutingTypeId.ToWide(), nullptr), E_POINTER);
  EXPECT_EQ(factory_->SupportsType(u"text", &answer), E_INVALIDARG);
  EXPECT_EQ(factory_->IsRealTimeType(u"rt", &answer), E_INVALIDARG);
}

TEST(TextArrayTest, ReadsTextsAndNullsInOrder) {
  TextArray texts;
  ASSERT_TRUE(ReadTextArray(Variant::Array({Variant::Text(u"a"), Variant(), Variant::Text(u"")}), &texts));
  EXPECT_EQ(texts, (TextArray{u"a", std::nullopt, u""})) << "an empty text is no null text";
}

TEST(TextArrayTest, RefusesWhatIsNoOneDimensionalTextArrayAndKeepsTheOldContents) {
  TextArray texts{u"kept"};
  EXPECT_FALSE(ReadTextArray(Variant::Text(u"a"), &texts));
  EXPECT_FALSE(ReadTextArray(Variant(), &texts));
  EXPECT_FALSE(ReadTextArray(Variant::Array({Variant::Array({})}), &texts));
  EXPECT_FALSE(ReadTextArray(Variant::Array({Variant::Text(u"a"), Variant::F64(1.5)}), &texts));
  EXPECT_EQ(texts, TextArray{u"kept"});
  EXPECT_TRUE(ReadTextArray(Variant::Array({}), &texts));
  EXPECT_TRUE(texts.empty());
}

}  // namespace
}  // namespace velmar::testing
