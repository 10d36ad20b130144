// Replacing a database in the settings file, with one storage step failed at
// a time (cases in tests/data/settings_replacement/steps.json): before the
// point of no return the old database stays and the call gives E_FAIL;
// after it the process ends with that step's text.
#include <gtest/gtest.h>

#include "core/fatal_stop.h"
#include "support/faulty_storage.h"
#include "support/fixtures.h"
#include "support/settings_file_support.h"
#include "velmar/property_factories.h"

namespace velmar {
namespace {

using testing::FaultyStorage;
using testing::SettingsRoot;

struct Replacement {
  SettingsRoot held;
  std::shared_ptr<std::string> fault = std::make_shared<std::string>();

  Replacement() {
    held.storage = MakeKiv<FaultyStorage>(held.storage, u"", fault);
    EXPECT_EQ(held.persist->InitNew(held.storage.Get()), S_OK);
  }

  // The object the root holds for `database` now.
  ComPtr<IKivUnknown> Held(const std::string& database) {
    ComPtr<IKivUnknown> out;
    if (database == "channels") (void)held.root->GetChannelPropertyFactory(reinterpret_cast<IKivChannelPropertyFactory**>(out.Put()));
    if (database == "events") (void)held.root->GetEventPropertyFactory(reinterpret_cast<IKivEventPropertyFactory**>(out.Put()));
    if (database == "groups") (void)held.root->GetGroupFactory(reinterpret_cast<IKivGroupFactory**>(out.Put()));
    if (database == "map") (void)held.root->GetCircuitMapData(reinterpret_cast<IKivCircuitMapData**>(out.Put()));
    return out;
  }

  KivResult Replace(const std::string& database) {
    if (database == "map") {
      ComPtr<IKivCircuitMapData> map;
      EXPECT_EQ(testing::MakeMap(&map), S_OK);
      return held.root->SetCircuitMapData(map.Get());
    }
    const Guid clsid = database == "channels" ? CLSID_KivChannelPropertyFactory
                       : database == "events" ? CLSID_KivEventPropertyFactory
                                              : CLSID_KivGroupFactory;
    ComPtr<IKivUnknown> made;
    EXPECT_EQ(KivCreateInstance(clsid, IKivUnknown::iid, made.PutVoid()), S_OK);
    if (database == "channels") return held.root->SetChannelPropertyFactory(QueryAs<IKivChannelPropertyFactory>(made.Get()).Get());
    if (database == "events") return held.root->SetEventPropertyFactory(QueryAs<IKivEventPropertyFactory>(made.Get()).Get());
    return held.root->SetGroupFactory(QueryAs<IKivGroupFactory>(made.Get()).Get());
  }
};

TEST(SettingsReplacement, EachFailedStepKeepsTheOldDatabaseOrStopsWithItsText) {
  const auto steps = testing::Fixture("settings_replacement/steps.json");  // kept: the loop walks into it
  for (const auto& c : steps["cases"]) {
    const std::string database = c["database"];
    SCOPED_TRACE(c["fault"].get<std::string>());
    Replacement replacement;
    std::vector<std::u16string> stops;
    SetFatalStopRoutine([&](const std::u16string& text) { stops.push_back(text); });
    const ComPtr<IKivUnknown> before = replacement.Held(database);
    *replacement.fault = c["fault"];
    const KivResult r = replacement.Replace(database);
    replacement.fault->clear();
    SetFatalStopRoutine(nullptr);
    EXPECT_EQ(r, E_FAIL);
    if (c.contains("fatal")) {
      ASSERT_EQ(stops.size(), 1u);
      EXPECT_EQ(WideToUtf8(stops[0]), c["fatal"].get<std::string>());
    } else {
      EXPECT_TRUE(stops.empty());
      EXPECT_EQ(replacement.Held(database).Get(), before.Get()) << "the old database stays";
    }
  }
}

TEST(SettingsReplacementDeathTest, AFailurePastThePointOfNoReturnEndsTheProcessWithCode3142Mod256) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        Replacement replacement;
        *replacement.fault = "DestroyElement:/Channel Properties";
        (void)replacement.Replace("channels");
      },
      ::testing::ExitedWithCode(kFatalExitCode & 0xFF), "delete the storage for the old Channel Database");
}

}  // namespace
}  // namespace velmar
