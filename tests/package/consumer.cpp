// A host in full: it makes the root by identity, writes a sample outing,
// opens it through the outing factory, selects it in a task, drives the
// client thread until the data is in, reads a channel through the selection
// and the outing's laps, and checks them.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

#include "velmar/channel.h"
#include "velmar/channel_key.h"
#include "velmar/classes.h"
#include "velmar/client_thread.h"
#include "velmar/data_block.h"
#include "velmar/data_factory.h"
#include "velmar/data_selection.h"
#include "velmar/outing_factory.h"
#include "velmar/sample.h"
#include "velmar/tasks.h"
#include "velmar/text.h"
#include "velmar/time_regions.h"
#include "velmar/velmar.h"

using namespace velmar;

namespace {

constexpr auto kWait = std::chrono::seconds(30);

int Check(bool ok, const char* what) {
  if (!ok) std::fprintf(stderr, "consumer: %s\n", what);
  return ok ? 0 : 1;
}

// Asks until the answer is no longer "pending", letting the client thread
// bring the worker threads' results in between.
template <class Ask>
KivResult WhenReady(const KivClientThread& client, Ask ask) {
  KivResult r = ask();
  for (int round = 0; r == KIV_E_PENDING && round < 5; ++round) {
    client.RunUntilSettled(kWait);
    r = ask();
  }
  return r;
}

// A data selection of a new task on the root, holding the outing: a host
// reads an outing's channels through one.
ComPtr<IKivDataSelection4> Select(IKivVelmar* root, IKivOuting* outing) {
  ComPtr<IKivTasks> tasks;
  ComPtr<IKivTask> task;
  DataSelectionList added;
  if (Failed(root->GetTasks(tasks.Put())) || Failed(tasks->AddTask(task.Put())) ||
      Failed(task->Update(kTaskAddSelections, nullptr, 1, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added)) ||
      added.size() != 1 || Failed(added.front()->Update(kSelectionOuting, outing, nullptr, 0, 0, 0, KIV_FALSE)))
    return nullptr;
  return added.front();
}

std::vector<double> ReadSamples(const KivClientThread& client, IKivDataSelection4* selection, std::u16string* name) {
  auto channels = QueryAs<IKivChannelFactory>(selection);
  NameList names;
  if (!channels || Failed(channels->GetNames(&names))) return {};
  auto speed = std::find_if(names.begin(), names.end(),
                            [](const std::u16string& n) { return ChannelDisplayName(n).starts_with(u"Speed"); });
  if (speed == names.end()) return {};
  *name = ChannelDisplayName(*speed);
  ComPtr<IKivChannel> channel;
  ComPtr<IKivChannelIterator2> iterator;
  ComPtr<IKivDataBlocks> blocks;
  uint32_t count = 0;
  if (Failed(channels->GetItem(*speed, channel.Put()))) return {};
  if (WhenReady(client, [&] { return channel->GetIterator(iterator.Put()); }) != S_OK) return {};
  if (Failed(iterator->GetDataBlocks(blocks.Put())) || Failed(blocks->GetCount(&count))) return {};
  std::vector<double> all;
  for (uint32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataBlock> block;
    std::vector<double> values;
    if (Succeeded(blocks->GetBlock(i, block.Put())) && Succeeded(block->GetValues(&values)))
      all.insert(all.end(), values.begin(), values.end());
  }
  return all;
}

}  // namespace

int main() {
  const KivClientThread client = KivClientThread::Current();
  const auto file = std::filesystem::temp_directory_path() / "velmar_consumer_sample.txt";
  const int laps = 3;
  if (Failed(KivWriteSampleOuting(Utf8ToWide(file.string()), {laps, 50.0, 7}))) return Check(false, "sample");

  ComPtr<IKivVelmar> root;
  ComPtr<IKivNewOutingFactory> factory;
  if (Failed(KivCreateInstance(CLSID_KivVelmar, &root))) return Check(false, "root");
  if (Failed(KivCreateInstance(CLSID_KivOutingFactory, &factory))) return Check(false, "outing factory");
  const Variant paths = MakeTextArray({Utf8ToWide(file.string())});
  OutingList outings;
  if (Failed(factory->Create(KIV_FALSE, kTextOutingTypeId.ToWide(), &paths, &outings)) || outings.size() != 1)
    return Check(false, "open");
  const ComPtr<IKivDataSelection4> selection = Select(root.Get(), outings.front().Get());
  ComPtr<IKivOuting> outing;  // the selection's own object for the outing
  if (!selection || selection->GetOuting(outing.Put()) != S_OK) return Check(false, "select");
  NameList names;
  (void)QueryAs<IKivChannelFactory>(outing.Get())->GetNames(&names);  // asking starts the load
  client.RunUntilSettled(kWait);

  std::u16string name;
  const std::vector<double> speed = ReadSamples(client, selection.Get(), &name);
  if (speed.size() < 1000) return Check(false, "speed samples");
  const auto [low, high] = std::minmax_element(speed.begin(), speed.end());
  int failures = Check(*low >= 0 && *high > *low && std::isfinite(*high), "speed range");

  ComPtr<IKivTimeRegionFinder2> finder;
  ComPtr<IKivTimeRegions> regions;
  int32_t count = 0, lastComplete = 0;
  if (Failed(KivCreateInstance(CLSID_KivLapFinder, &finder)) || Failed(finder->SetOuting(outing.Get())) ||
      Failed(finder->GetRegions(regions.Put())) || Failed(regions->GetCount(&count)))
    return Check(false, "laps");
  (void)finder->GetLastCompleteRegion(&lastComplete);
  failures += Check(count >= laps && lastComplete >= laps, "lap count");
  for (int32_t i = 1; i <= count; ++i) {
    KivTime start = 0, end = 0;
    (void)regions->GetStart(i, &start), (void)regions->GetEnd(i, &end);
    failures += Check(end > start, "lap span");
  }
  std::printf("%s: %zu samples, %.1f to %.1f; %d laps\n", WideToUtf8(name).c_str(), speed.size(), *low, *high, count);

  (void)finder->SetOuting(nullptr);
  (void)selection->Update(kSelectionOuting, nullptr, nullptr, 0, 0, 0, KIV_FALSE);
  outing = nullptr;
  outings.clear();
  (void)root->Close();
  client.RunUntilSettled(kWait);
  std::filesystem::remove(file);
  return failures == 0 ? 0 : 1;
}
