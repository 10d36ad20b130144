// The settings file end to end through the root, with the library's own
// classes: round trips, the layouts of fresh and upgraded files (cases in
// tests/data/settings/), and the refusals that must leave a file alone.
#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "support/settings_file_support.h"
#include "velmar/circuit_map.h"
#include "velmar/classes.h"
#include "velmar/colour_table.h"
#include "velmar/favorites.h"
#include "velmar/property_factories.h"
#include "velmar/tasks.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using testing::SettingsRoot;

TEST(SettingsFile, ARootSavesAndAnotherLoadsEverythingItHolds) {
  SettingsRoot first;
  ASSERT_EQ(first.persist->InitNew(first.storage.Get()), S_OK);
  ComPtr<IKivTasks> tasks;
  ASSERT_EQ(first.root->GetTasks(tasks.Put()), S_OK);
  ComPtr<IKivTask> task;
  ASSERT_EQ(tasks->AddTask(task.Put()), S_OK);
  ComPtr<IKivChannelPropertyFactory> channels;
  ASSERT_EQ(first.root->GetChannelPropertyFactory(channels.Put()), S_OK);
  ComPtr<IKivPropertySet> set;
  ASSERT_EQ(channels->GetPropertySet(u"Speed", 3, set.Put()), S_OK);
  ASSERT_EQ(set->SetProperty(u"Display maximum", Variant::F64(320.0)), S_OK);
  ComPtr<IKivCircuitMapData> map;
  ASSERT_EQ(testing::MakeMap(&map), S_OK);
  ASSERT_EQ(first.root->SetCircuitMapData(map.Get()), S_OK);
  ASSERT_EQ(first.root->SetOutingCaptionFormat(u"%driver%"), S_OK);
  // Edits of the small objects rewrite their streams at once.
  ComPtr<IKivFavorites> favorites;
  ComPtr<IKivColourTable> palette;
  ASSERT_EQ(first.root->GetFavorites(favorites.Put()), S_OK);
  ASSERT_EQ(favorites->Add(u"Runs", u"file:///runs"), S_OK);
  ASSERT_EQ(first.root->GetColourTable(palette.Put()), S_OK);
  ASSERT_EQ(palette->Clear(), S_OK);
  ASSERT_EQ(first.persist->Save(first.storage.Get(), KIV_TRUE), S_OK);

  SettingsRoot second(first.Bytes());
  ASSERT_EQ(second.persist->Load(second.storage.Get()), S_OK);
  int32_t count = 0;
  ASSERT_EQ(second.root->GetTasks(tasks.Put()), S_OK);
  ASSERT_EQ(tasks->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1);
  ASSERT_EQ(second.root->GetChannelPropertyFactory(channels.Put()), S_OK);
  ASSERT_EQ(channels->GetPropertySet(u"Speed", 3, set.Put()), S_OK);
  Variant value;
  ASSERT_EQ(set->GetProperty(u"Display maximum", &value), S_OK);
  EXPECT_EQ(value.AsF64(), 320.0);
  ASSERT_EQ(second.root->GetCircuitMapData(map.Put()), S_OK);
  EXPECT_TRUE(map);
  std::u16string caption;
  ASSERT_EQ(second.root->GetOutingCaptionFormat(&caption), S_OK);
  EXPECT_EQ(caption, u"%driver%");
  ASSERT_EQ(second.root->GetFavorites(favorites.Put()), S_OK);
  ASSERT_EQ(favorites->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1);
  ASSERT_EQ(second.root->GetColourTable(palette.Put()), S_OK);
  ASSERT_EQ(palette->GetCount(&count), S_OK);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(second.persist->IsDirty(), S_FALSE);
}

TEST(SettingsFile, AfterASaveToAnotherFileLaterEditsGoToThatFile) {
  SettingsRoot first;
  ASSERT_EQ(first.persist->InitNew(first.storage.Get()), S_OK);
  ComPtr<IKivTasks> tasks;
  ASSERT_EQ(first.root->GetTasks(tasks.Put()), S_OK);
  ComPtr<IKivTask> task;
  ASSERT_EQ(tasks->AddTask(task.Put()), S_OK);
  ASSERT_EQ(first.persist->Save(first.storage.Get(), KIV_TRUE), S_OK);
  ComPtr<IKivStorage> other;
  ASSERT_EQ(StgCreateMemoryStorage(other.Put()), S_OK);
  ASSERT_EQ(first.persist->Save(other.Get(), KIV_FALSE), S_OK);
  ASSERT_EQ(first.persist->SaveCompleted(other.Get()), S_OK);
  ASSERT_EQ(task->SetCurrentTime(42), S_OK);  // written as it happens, into the new file
  ASSERT_EQ(first.persist->Save(other.Get(), KIV_TRUE), S_OK);

  auto currentTimeIn = [](const std::string& bytes) {
    SettingsRoot root(bytes);
    EXPECT_EQ(root.persist->Load(root.storage.Get()), S_OK);
    ComPtr<IKivTasks> list;
    ComPtr<IKivTask> loaded;
    EXPECT_EQ(root.root->GetTasks(list.Put()), S_OK);
    EXPECT_EQ(list->GetItem(1, loaded.Put()), S_OK);
    KivTime t = -1;
    if (loaded) {
      EXPECT_EQ(loaded->GetCurrentTime(&t), S_OK);
    }
    return t;
  };
  std::string otherBytes;
  ASSERT_EQ(StgSaveToBytes(other.Get(), &otherBytes), S_OK);
  EXPECT_EQ(currentTimeIn(otherBytes), 42);
  EXPECT_NE(currentTimeIn(first.Bytes()), 42) << "the file left behind keeps what it had";
}

}  // namespace
}  // namespace velmar
