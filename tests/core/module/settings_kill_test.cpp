// A writer killed at random moments while it saves and commits its settings
// file leaves a file that loads whole, as a state it committed no older than
// the last one it reported, round after round.
#include <gtest/gtest.h>

#include <random>

#include "support/kill_at_random.h"
#include "support/temp_dir.h"
#include "velmar/classes.h"
#include "velmar/persist.h"
#include "velmar/text.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_TRANSACTED;

std::u16string State(unsigned n) { return u"state " + Utf8ToWide(std::to_string(n)); }

// The caption format of the file, or nothing when it does not load.
std::optional<std::u16string> Caption(const std::filesystem::path& file) {
  ComPtr<IKivVelmar2> root;
  ComPtr<IKivStorage> storage;
  if (Failed(KivCreateInstance(CLSID_KivVelmar, &root)) || Failed(StgOpenStorage(file, kMode, storage.Put()))) return {};
  auto persist = QueryAs<IKivPersistStorage>(root.Get());
  std::u16string caption;
  const bool loaded = Succeeded(persist->Load(storage.Get())) && Succeeded(root->GetOutingCaptionFormat(&caption));
  (void)persist->HandsOffStorage();
  (void)root->Close();
  if (!loaded) return {};
  return caption;
}

// Saves state 1, 2, ... for ever, one progress byte after each commit.
[[noreturn]] void Writer(const std::filesystem::path& file, int progress) {
  ComPtr<IKivVelmar2> root;
  ComPtr<IKivStorage> storage;
  if (Failed(KivCreateInstance(CLSID_KivVelmar, &root)) || Failed(StgOpenStorage(file, kMode, storage.Put()))) _exit(2);
  auto persist = QueryAs<IKivPersistStorage>(root.Get());
  if (Failed(persist->Load(storage.Get()))) _exit(3);
  for (unsigned n = 1;; ++n) {
    if (Failed(root->SetOutingCaptionFormat(State(n))) || Failed(persist->Save(storage.Get(), KIV_TRUE)) ||
        Failed(storage->Commit(STGC_DEFAULT)))
      _exit(4);
    (void)persist->SaveCompleted(nullptr);
    const char step = 1;
    if (write(progress, &step, 1) != 1) _exit(5);
  }
}

TEST(SettingsKill, AKilledSaveLeavesTheOldOrTheNewState) {
  testing::TempDir dir;
  const auto file = dir.path() / "team.kvs";
  {
    ComPtr<IKivVelmar> root;
    ComPtr<IKivStorage> storage;
    ASSERT_EQ(KivCreateInstance(CLSID_KivVelmar, &root), S_OK);
    auto persist = QueryAs<IKivPersistStorage>(root.Get());
    ASSERT_EQ(StgCreateDocfile(file, kMode, storage.Put()), S_OK);
    ASSERT_EQ(persist->InitNew(storage.Get()), S_OK);
    ASSERT_EQ(persist->Save(storage.Get(), KIV_TRUE), S_OK);
    ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
    (void)persist->HandsOffStorage();
    (void)root->Close();
  }
  std::mt19937 random(20261125);
  for (int round = 0; round < 25; ++round) {
    SCOPED_TRACE(round);
    const std::u16string before = Caption(file).value_or(u"(none)");
    unsigned acknowledged = 0;
    ASSERT_TRUE(testing::KillWriterAtRandom(random, 6, std::chrono::microseconds(3000),
                                            [&](int progress) { Writer(file, progress); }, &acknowledged));
    const auto after = Caption(file);
    ASSERT_TRUE(after) << "the file no longer loads";
    // The writer may have committed more while the parent slept: any whole
    // state from the last one acknowledged on.
    const std::string text = WideToUtf8(*after);
    const bool whole = text.starts_with("state ") ? std::stoul(text.substr(6)) >= acknowledged
                                                  : acknowledged == 0 && *after == before;
    EXPECT_TRUE(whole) << text << " after " << acknowledged << " commits";
  }
}

}  // namespace
}  // namespace velmar
