#include "core/module/built_in_classes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <thread>
#include <vector>

#include "velmar/classes.h"
#include "velmar/text.h"
#include "velmar/data_selection.h"
#include "velmar/property_helpers.h"
#include "velmar/time_regions.h"

namespace velmar {
namespace {

// Rows of the class table this build makes, with an interface each answers.
const std::map<Guid, Guid>& MadeNow() {
  static const std::map<Guid, Guid> made{
      {CLSID_KivVelmar, IKivVelmar::iid},
      {CLSID_KivOutingFactory, IKivNewOutingFactory::iid},
      {CLSID_KivLapFinder, IKivTimeRegionFinder3::iid},
      {CLSID_KivOutingFinder, IKivTimeRegionFinder3::iid},
      {CLSID_KivSegmentFinder, IKivTimeRegionFinder3::iid},
      {CLSID_KivGlobalTimeFinder, IKivTimeRegionFinder3::iid},
      {CLSID_KivTimeRegionNavigator, IKivTimeRegionNavigator2::iid},
      {CLSID_KivChannelPropertyFactoryHelper, IKivChannelPropertyFactoryHelper::iid},
      {CLSID_KivEventPropertyFactoryHelper, IKivEventPropertyFactoryHelper::iid},
  };
  return made;
}

TEST(BuiltInClassesTest, EveryRowOfTheTableIsMadeOrPlainlyMissing) {
  for (const KivClassRow& row : kKivClassTable) {
    SCOPED_TRACE(WideToUtf8(row.word));
    ComPtr<IKivUnknown> object;
    const auto made = MadeNow().find(row.clsid);
    if (made == MadeNow().end()) {
      EXPECT_EQ(KivCreateInstance(row.clsid, IKivUnknown::iid, object.PutVoid()), CLASS_E_CLASSNOTAVAILABLE);
      EXPECT_FALSE(object);
    } else {
      ASSERT_EQ(KivCreateInstance(row.clsid, made->second, object.PutVoid()), S_OK);
      EXPECT_TRUE(object);
    }
    // Program ids resolve, in both forms, whether or not the class is made.
    Guid byProgId;
    ASSERT_EQ(ClassRegistry::Process().ProgIdToClsid(u"KivVelmar." + std::u16string(row.word), &byProgId), S_OK);
    EXPECT_EQ(byProgId, row.clsid);
  }
}

TEST(BuiltInClassesTest, UnknownIdentityAndBadArguments) {
  ComPtr<IKivUnknown> object;
  EXPECT_EQ(KivCreateInstance(Guid::New(), IKivUnknown::iid, object.PutVoid()), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(KivCreateInstance(CLSID_KivLapFinder, IKivVelmar::iid, object.PutVoid()), E_NOINTERFACE);
  EXPECT_EQ(KivCreateInstance(CLSID_KivLapFinder, IKivUnknown::iid, nullptr), E_POINTER);
}

TEST(BuiltInClassesTest, ARealClassReplacesItsPlaceholderWhateverTheOrder) {
  ClassRegistry table;
  ASSERT_EQ(RegisterBuiltInClasses(table), S_OK);
  // A second pass finds every row known and changes nothing.
  ASSERT_EQ(RegisterBuiltInClasses(table), S_OK);
  ComPtr<IKivTimeRegionFinder> finder;
  EXPECT_EQ(table.CreateInstance(CLSID_KivLapFinder, &finder), S_OK);
}

// Hosts may make their first object on several threads at once; the table
// is filled once and every caller sees it complete.
TEST(BuiltInClassesTest, ConcurrentFirstUseRegistersOnce) {
  constexpr int kThreads = 8;
  std::atomic<int> ready{0};
  std::atomic<int> made{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      ++ready;
      while (ready.load() < kThreads) std::this_thread::yield();
      ComPtr<IKivTimeRegionFinder> finder;
      if (KivCreateInstance(CLSID_KivLapFinder, &finder) == S_OK && finder) ++made;
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(made.load(), kThreads);
  Guid clsid;
  EXPECT_EQ(ClassRegistry::Process().ProgIdToClsid(u"KivVelmar.LapFinder.1", &clsid), S_OK);
  EXPECT_EQ(KivRegisterBuiltInClasses(), S_OK);
}

}  // namespace
}  // namespace velmar
