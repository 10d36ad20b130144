// velmar play FILE [--rate CODE] [--for S] [--channels A,B] [--media NAME
// [--by time|distance] [--against FILE2] [--lap N] [--against-lap M]
// [--audio OUT.wav]]:
// plays the outing through its task's playback controller, as a host's
// screen does, printing the position, the listed channels' values and the
// frame the media channel shows every 100 ms. By distance, the video of
// FILE follows FILE2 (the task's active selection) along the circuit.
#include <iostream>
#include <memory>
#include <sstream>

#include "commands.h"
#include "host_error.h"
#include "item_wait.h"
#include "loaded_outing.h"
#include "output.h"
#include "play_media.h"
#include "velmar/client_thread.h"
#include "velmar/playback.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

constexpr std::chrono::milliseconds kLine{100};

struct PlayOptions {
  std::string file;
  int32_t rate = 2;
  double seconds = 0.0;  // none: until the end
  std::vector<std::string> channels;
  std::string media;
  std::string by = "time";
  std::string against;
  int lap = 0;
  int againstLap = 0;
  std::string audio;
};

ComPtr<IKivPlaybackController> Controller(const LoadedOuting& outing) {
  ComPtr<IKivTask> task;
  if (Failed(outing.selection()->GetTask(task.Put())) || !task) Fail(outing.file(), "the selection has no task");
  ComPtr<IKivPlaybackController> controller;
  auto task3 = QueryAs<IKivTask3>(task.Get());
  if (KivResult r = task3 ? task3->GetPlaybackController(controller.Put()) : E_NOINTERFACE; Failed(r)) {
    Fail(outing.file(), "the task has no playback", r);
  }
  return controller;
}

// The channels' iterators, their data read in.
std::vector<ComPtr<IKivChannelIterator2>> Iterators(const LoadedOuting& outing, const PlayOptions& options) {
  std::vector<ComPtr<IKivChannelIterator2>> iterators;
  for (const std::string& name : options.channels) {
    ComPtr<IKivChannel> channel = outing.Channel(Utf8ToWide(name));
    ComPtr<IKivChannelIterator2> iterator;
    const KivResult r = ReadWhenReady(outing.session(), channel.Get(), outing.file(),
                                      [&] { return channel->GetIterator(iterator.Put()); });
    if (Failed(r)) outing.FailItem("cannot read channel", Utf8ToWide(name), r);
    iterators.push_back(iterator);
  }
  return iterators;
}

void Run(const PlayOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  if (options.lap > 0) SelectLap(outing, options.lap);
  // The outing played against is the task's active selection: the second.
  std::unique_ptr<LoadedOuting> against;
  if (!options.against.empty()) {
    against = std::make_unique<LoadedOuting>(session, options.against);
    if (options.againstLap > 0) SelectLap(*against, options.againstLap);
    ComPtr<IKivTask> task;
    if (Failed(outing.selection()->GetTask(task.Put())) || Failed(task->SetActiveSelection(2))) {
      Fail(options.against, "can't be made the active selection");
    }
  }
  ComPtr<IKivPlaybackController> controller = Controller(outing);
  const auto iterators = Iterators(outing, options);
  auto shown = MakeKiv<ShownFrame>();
  ComPtr<IKivClipPlayer> player;
  if (!options.media.empty()) {
    player = JoinMediaPlayer(outing, options.media, options.by == "distance", controller.Get(), shown.Get(),
                             options.audio);
  }
  KivTime start = 0, duration = 0;
  (void)outing.selection()->GetStartTime(&start);
  (void)controller->GetDuration(&duration);
  if (KivResult r = controller->SetRate(options.rate); Failed(r)) Fail(options.file, "rate code not on offer", r);
  // Backwards play starts from the end.
  (void)controller->SetPosition(options.rate < 0 ? duration : 0);
  if (KivResult r = controller->Play(); Failed(r)) Fail(options.file, "cannot play", r);
  std::vector<std::string> header{"position"};
  header.insert(header.end(), options.channels.begin(), options.channels.end());
  if (player) header.push_back("frame");
  WriteTsvRow(std::cout, header);
  const KivClientThread client = KivClientThread::Current();
  const auto until = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(static_cast<int64_t>(options.seconds * 1000.0));
  for (;;) {
    client.RunFor(kLine);
    KivTime position = 0;
    uint32_t state = kPlaybackPlaying;
    (void)controller->GetPosition(&position);
    (void)controller->GetState(&state);
    std::vector<std::string> row{FormatSeconds(position)};
    for (const auto& iterator : iterators) {
      double value = 0.0;
      const bool got = Succeeded(iterator->GetValueAtTime(start + position, 2, 0, &value));
      row.push_back(got ? FormatValue(value) : std::string());
    }
    if (player) row.push_back(shown->Text());
    WriteTsvRow(std::cout, row);
    if (state != kPlaybackPlaying || (options.seconds > 0.0 && std::chrono::steady_clock::now() >= until)) break;
  }
  (void)controller->Pause();
  if (player) (void)controller->RemoveClipPlayer(player.Get());
}

}  // namespace

void AddPlayCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<PlayOptions>();
  CLI::App* command = app.add_subcommand("play", "Play an outing through a task, printing the position");
  command->add_option("FILE", options->file, "Data set")->required();
  command->add_option("--rate", options->rate, "Rate code: 1..5 for 0.5x..8x, negative backwards")
      ->check(CLI::Range(-5, 5));
  command->add_option("--for", options->seconds, "Stop after this many seconds (default: at the end)");
  command->add_option("--channels", options->channels, "Channels whose values to print")->delimiter(',');
  command->add_option("--media", options->media, "Media channel to play along, printing the frame shown");
  command->add_option("--by", options->by, "time, or distance: the video follows the --against outing")
      ->check(CLI::IsMember({"time", "distance"}));
  command->add_option("--against", options->against, "Data set the video is shown against (the active one)");
  command->add_option("--lap", options->lap, "Play lap N of FILE only");
  command->add_option("--against-lap", options->againstLap, "Lap M of the --against data set");
  command->add_option("--audio", options->audio, "Write the media channel's sound to this WAV file (at 1x)");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
