#include "tasks/task.h"

#include <gtest/gtest.h>

#include "support/got.h"
#include "support/fixtures.h"
#include "tasks/selection_properties.h"
#include "velmar/enumerator.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

KivResult Code(const json& text) { return static_cast<KivResult>(std::stoul(text.get<std::string>(), nullptr, 16)); }

Variant Indexes(const json& list) {
  std::vector<Variant> out;
  for (const json& i : list) out.push_back(Variant::I32(i.get<int32_t>()));
  return Variant::Array(std::move(out));
}

// A task in a storage of its own, as the task list makes one.
struct TaskInStorage {
  TaskInStorage() {
    EXPECT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
    EXPECT_EQ(CreateTask(&task), S_OK);
    EXPECT_EQ(task->InitNew(storage.Get()), S_OK);
  }
  KivResult Update(uint32_t flags, const Variant* remove, uint32_t add = 0, int32_t second = 0, int32_t watch = 0) {
    DataSelectionList added;
    return task->Update(flags, remove, add, second, u"", u"", 0, u"", watch, KIV_FALSE, 1, &added);
  }
  int32_t Count() { return Got(Got(task, &CTask::GetSelections), &IKivDataSelections::GetCount); }
  int32_t Active() {
    ComPtr<IKivDataSelection4> active;
    if (task->GetActiveSelection(active.Put()) != S_OK) return 0;
    ComPtr<IKivDataSelections> view = Got(task, &CTask::GetSelections);
    for (int32_t i = 1, n = Count(); i <= n; ++i) {
      ComPtr<IKivDataSelection4> s;
      EXPECT_EQ(view->GetItem(i, s.Put()), S_OK);
      if (s.Get() == active.Get()) return i;
    }
    return -1;
  }
  int32_t Second() {
    int32_t index = 0;
    return task->GetSecondSelection(&index) == S_OK ? index : 0;
  }

  ComPtr<IKivStorage> storage;
  ComPtr<CTask> task;
};

class TaskUpdateCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: a task of n selections with an active (and second) one, one
// Update, its result, and the task after it: a refusal changes nothing.
TEST_P(TaskUpdateCases, UpdateChecksEverythingBeforeItChangesAnything) {
  const json c = ReadFixture(GetParam());
  TaskInStorage t;
  const uint32_t selections = c["selections"].get<uint32_t>();
  const int32_t active = c["active"].get<int32_t>();
  const int32_t second = c.value("second", 0);
  if (selections > 0) {
    ASSERT_EQ(t.Update(kTaskAddSelections, nullptr, selections), S_OK);
  }
  if (active > 0) {
    ASSERT_EQ(t.task->SetActiveSelection(active), S_OK);
  }
  if (second > 0) {
    ASSERT_EQ(t.Update(kTaskSecondSelection, nullptr, 0, second), S_OK);
  }
  const json& u = c["update"];
  uint32_t flags = 0;
  Variant remove;
  if (u.contains("remove")) flags |= kTaskRemoveSelections, remove = Indexes(u["remove"]);
  if (u.contains("add")) flags |= kTaskAddSelections;
  if (u.contains("second")) flags |= kTaskSecondSelection;
  if (u.contains("watch")) flags |= kTaskWatch;
  EXPECT_EQ(t.Update(flags, &remove, u.value("add", 0u), u.value("second", 0), u.value("watch", 0)), Code(c["result"]));
  EXPECT_EQ(t.Count(), c["after"]["count"].get<int32_t>());
  EXPECT_EQ(t.Active(), c["after"]["active"].get<int32_t>());
  EXPECT_EQ(t.Second(), c["after"]["second"].get<int32_t>());
}

INSTANTIATE_TEST_SUITE_P(Cases, TaskUpdateCases, FixtureCases("tasks/task_updates"), FixtureName);

TEST(TaskTest, StorageNamesAreNeverReusedAndTheTaskLoadsBackAsSaved) {
  TaskInStorage t;
  ASSERT_EQ(t.Update(kTaskAddSelections, nullptr, 3), S_OK);
  Variant third = Indexes(json::array({3}));
  ASSERT_EQ(t.Update(kTaskRemoveSelections, &third), S_OK);
  ASSERT_EQ(t.Update(kTaskAddSelections, nullptr, 1), S_OK);
  EXPECT_EQ(t.task->selection_storage_names(),
            (std::vector<std::u16string>{u"DataSelection_1", u"DataSelection_2", u"DataSelection_4"}));
  ASSERT_EQ(t.task->SetDefaultRegionMode(4), S_OK);
  ASSERT_EQ(t.task->SetActiveSelection(2), S_OK);
  DataSelectionList added;
  ASSERT_EQ(t.task->Update(kTaskName, nullptr, 0, 0, u"Qualifying", u"", 0, u"", 0, KIV_FALSE, 1, &added), S_OK);

  // Saved to another file, it loads from there as it stood.
  ComPtr<IKivStorage> copy;
  ASSERT_EQ(StgCreateMemoryStorage(copy.Put()), S_OK);
  ASSERT_EQ(t.task->Save(copy.Get(), KIV_FALSE), S_OK);
  ComPtr<CTask> loaded;
  ASSERT_EQ(CreateTask(&loaded), S_OK);
  ASSERT_EQ(loaded->Load(copy.Get()), S_OK);
  EXPECT_EQ(Got(loaded, &CTask::GetName), u"Qualifying");
  EXPECT_EQ(Got(loaded, &CTask::GetDefaultRegionMode), 4u);
  EXPECT_EQ(loaded->selection_storage_names(), t.task->selection_storage_names());
  EXPECT_EQ(loaded->selection_count(), 3u);
  EXPECT_EQ(loaded->IsDirty(), S_FALSE);
  // The selections enumerate in display order, and the enumerator says when it ran out.
  ComPtr<IKivDataSelections> view = Got(loaded, &CTask::GetSelections);
  auto enumerator = Got(view, &IKivDataSelections::GetEnumerator).As<IKivEnumUnknown>();
  IKivUnknown* items[4] = {};
  uint32_t fetched = 0;
  EXPECT_EQ(enumerator->Next(4, items, &fetched), S_FALSE);
  ASSERT_EQ(fetched, 3u);
  ComPtr<IKivDataSelection4> second;
  ASSERT_EQ(view->GetItem(2, second.Put()), S_OK);
  EXPECT_EQ(items[1], static_cast<IKivUnknown*>(second.Get()));
  for (uint32_t i = 0; i < fetched; ++i) items[i]->Release();
}

TEST(TaskTest, ARefusedOrRepeatedChangeRaisesNothing) {
  TaskInStorage t;
  ASSERT_EQ(t.Update(kTaskAddSelections, nullptr, 2), S_OK);
  EXPECT_EQ(t.task->SetActiveSelection(1), S_OK) << "already active: nothing to do";
  EXPECT_EQ(t.task->SetActiveSelection(3), DISP_E_BADINDEX);
  EXPECT_EQ(t.task->SetFollowLive(KIV_FALSE), S_FALSE);
  EXPECT_EQ(t.task->SetCurrentTime(0), S_FALSE);
  DataSelectionList* none = nullptr;
  EXPECT_EQ(t.task->Update(kTaskAddSelections, nullptr, 1, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, none), E_POINTER);
  EXPECT_EQ(t.task->Update(kTaskRemoveSelections, nullptr, 0, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, none), E_POINTER);
}

class SelectionHeaderCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: the bytes of a "Data Selection Properties" stream and what
// they read as (or the code a read gives).
TEST_P(SelectionHeaderCases, EveryVersionReadsAsTheCaseSays) {
  const json c = ReadFixture(GetParam());
  std::string bytes;
  const std::string hex = c["hex"].get<std::string>();
  for (size_t i = 0; i + 1 < hex.size(); i += 2) bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  ComPtr<IKivStorage> storage;
  ComPtr<IKivStream> stream;
  ASSERT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
  ASSERT_EQ(storage->CreateStream(u"p", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, stream.Put()), S_OK);
  ASSERT_EQ(stream->Write(bytes.data(), static_cast<uint32_t>(bytes.size()), nullptr), S_OK);
  SelectionProperties p;
  const json& e = c["expect"];
  const KivResult r = ReadSelectionProperties(stream.Get(), &p);
  if (e.contains("result")) {
    EXPECT_EQ(r, Code(e["result"]));
    return;
  }
  ASSERT_EQ(r, S_OK);
  const json read = {{"version", p.version}, {"colour", p.colour}, {"start", p.start}, {"end", p.end},
                     {"time_offset", p.timeOffset}, {"include_auxiliary", p.includeAuxiliary},
                     {"client_flag", p.clientFlag}, {"override", p.overrideProperties},
                     {"region", WideToUtf8(p.regionName)}, {"path", WideToUtf8(p.path)},
                     {"outing_id", WideToUtf8(p.outingId)}, {"label", WideToUtf8(p.label)}};
  EXPECT_EQ(read, e);
  // Written back, every version reads as version 5 with the same values.
  ASSERT_EQ(WriteSelectionHeader(stream.Get(), p), S_OK);
  ASSERT_EQ(WriteSelectionTexts(stream.Get(), p), S_OK);
  SelectionProperties again;
  ASSERT_EQ(ReadSelectionProperties(stream.Get(), &again), S_OK);
  EXPECT_EQ(again.version, kSelectionHeaderVersion);
  EXPECT_EQ(again.label, p.label);
  EXPECT_EQ(again.outingId, p.outingId);
}

INSTANTIATE_TEST_SUITE_P(Cases, SelectionHeaderCases, FixtureCases("tasks/selection_headers"), FixtureName);

}  // namespace
}  // namespace velmar::testing
