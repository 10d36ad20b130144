// velmar watch DIR: a task follows the folder as a host's task does, and
// each .trn file it takes up is printed with the task's selections after
// it; ends after --for seconds, or when interrupted.
#include <chrono>
#include <csignal>
#include <deque>
#include <filesystem>
#include <iostream>
#include <memory>

#include "commands.h"
#include "host_error.h"
#include "host_session.h"
#include "output.h"
#include "velmar/client_thread.h"
#include "velmar/persist.h"
#include "velmar/storage.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct WatchOptions {
  std::string folder;
  uint32_t mode = 1;
  double seconds = 0;  // 0: until interrupted
  bool json = false;
};

volatile std::sig_atomic_t stopAsked = 0;
void AskStop(int) { stopAsked = 1; }

// The task's word that its watch took up a file.
class TakenFiles final : public CTaskNotifications3Receiver {
 public:
  void OnWatchTookFile(IKivTask*, const std::u16string& path) override { paths.push_back(path); }
  std::deque<std::u16string> paths;
};

Json SelectionJson(IKivDataSelection4* selection, int32_t index, int32_t watched) {
  ComPtr<IKivOuting> outing;
  std::u16string file, label;
  if (selection->GetOuting(outing.Put()) == S_OK && outing) (void)outing->GetFileName(&file);
  (void)selection->GetLabel(&label);
  uint32_t colour = 0;
  (void)selection->GetColour(&colour);
  return {{"index", index}, {"file", Utf8(file)}, {"label", Utf8(label)}, {"colour", colour},
          {"watched", index == watched}};
}

// The file taken up and the task's selections after it.
void Report(IKivTask* task, const std::u16string& path, bool json) {
  ComPtr<IKivDataSelections> selections;
  ComPtr<IKivDataSelection4> watchedSelection;
  int32_t count = 0, watched = 0;
  if (Succeeded(task->GetSelections(selections.Put()))) (void)selections->GetCount(&count);
  if (Succeeded(task->GetWatchSelection(watchedSelection.Put()))) {
    for (int32_t i = 1; i <= count && !watched; ++i) {
      ComPtr<IKivDataSelection4> s;
      if (Succeeded(selections->GetItem(i, s.Put())) && s.Get() == watchedSelection.Get()) watched = i;
    }
  }
  Json list = Json::array();
  for (int32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataSelection4> selection;
    if (Succeeded(selections->GetItem(i, selection.Put()))) list.push_back(SelectionJson(selection.Get(), i, watched));
  }
  if (json) {
    std::cout << Json({{"taken", Utf8(path)}, {"selections", list}}).dump() << std::endl;
    return;
  }
  WriteTsvRow(std::cout, {"taken", Utf8(path)});
  for (const Json& s : list) {
    WriteTsvRow(std::cout, {"  selection " + std::to_string(s["index"].get<int>()), s["file"], s["label"],
                            "colour " + std::to_string(s["colour"].get<uint32_t>()),
                            s["watched"].get<bool>() ? "watched" : ""});
  }
  std::cout.flush();
}

std::u16string FolderText(const std::string& folder) {
  std::error_code error;
  std::string absolute = std::filesystem::absolute(folder, error).lexically_normal().string();
  if (error) absolute = folder;
  if (absolute.empty() || absolute.back() != '/') absolute += '/';
  return Utf8ToWide(absolute);
}

void Run(const WatchOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), false, context.settingsFile);
  ComPtr<IKivStorage> memory;  // without a settings file, the defaults' colour table
  if (!session.settings() && Succeeded(StgCreateMemoryStorage(memory.Put())))
    if (auto persist = QueryAs<IKivPersistStorage>(session.root())) (void)persist->InitNew(memory.Get());
  ComPtr<IKivTasks> tasks;
  ComPtr<IKivTask> task;
  if (KivResult r = session.root()->GetTasks(tasks.Put()); Failed(r)) Fail("velmar", "the root has no task list", r);
  if (KivResult r = tasks->AddTask(task.Put()); Failed(r)) Fail("velmar", "a task could not be made", r);
  TakenFiles taken;
  auto sink = MakeKiv<CTaskNotifications3Sink<>>();
  sink->SetReceiver(&taken);
  (void)sink->Connect(task.Get());
  const std::u16string folder = FolderText(options.folder);
  if (KivResult r = task->Update(kTaskWatch, nullptr, 0, 0, u"", u"", 0, folder, 0, KIV_TRUE, options.mode, nullptr);
      Failed(r))
    Fail(options.folder, "the watch could not be set", r);
  std::signal(SIGINT, AskStop);
  std::signal(SIGTERM, AskStop);
  const KivClientThread client = KivClientThread::Current();
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(options.seconds);
  while (!stopAsked && (options.seconds <= 0 || std::chrono::steady_clock::now() < end)) {
    client.RunUntil([&] { return stopAsked != 0 || !taken.paths.empty(); }, std::chrono::milliseconds(200));
    for (; !taken.paths.empty(); taken.paths.pop_front()) Report(task.Get(), taken.paths.front(), options.json);
  }
  (void)task->Update(kTaskWatch, nullptr, 0, 0, u"", u"", 0, folder, 0, KIV_FALSE, options.mode, nullptr);
  sink->SetReceiver(nullptr);
  sink->Disconnect(task.Get());
  (void)tasks->RemoveTask(1);
}

}  // namespace

void AddWatchCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<WatchOptions>();
  CLI::App* command = app.add_subcommand("watch", "Follow a folder: each new .trn becomes a selection of a task");
  command->add_option("DIR", options->folder, "Folder to follow (it may not exist yet)")->required();
  command->add_option("--mode", options->mode, "1: each new file a new selection; 2: the newest into one selection")
      ->check(CLI::Range(1, 2));
  command->add_option("--for", options->seconds, "Seconds to follow (default: until interrupted)")
      ->check(CLI::PositiveNumber);
  command->add_flag("--json", options->json, "One JSON object a line");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
