// velmar rt-serve FILE: replays a recorded outing as live telemetry on a
// real-time server of our own, until SIGINT or SIGTERM. A data set that is not a native store file is
// first written to a temporary one, as `velmar convert` writes it.
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>
#include <thread>

#include "channel_samples.h"
#include "commands.h"
#include "host_error.h"
#include "loaded_outing.h"
#include "velmar/convert.h"
#include "velmar/outing_factory.h"
#include "velmar/realtime_server.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct RtServeOptions {
  std::string file;
  uint16_t port = 0;
  double speed = 1.0;
  bool loop = false;
  std::string name = "Replay";
  double cacheSeconds = 600.0;
};

volatile std::sig_atomic_t stopAsked = 0;
void AskStop(int) { stopAsked = 1; }

// The store file to replay: FILE itself, or a converted copy that goes with
// this object.
class ReplayFile {
 public:
  ReplayFile(const std::string& file, const CommandContext& context) {
    if (HostSession::TypeIdForFile(file) == kTarnOutingTypeId.ToWide()) {
      path_ = file;
      return;
    }
    temp_ = std::filesystem::temp_directory_path() / ("velmar-rt-" + std::to_string(::getpid()) + ".trn");
    HostSession session(context.timeout(), context.progress());
    LoadedOuting outing(session, file);
    UseSessionRoot(outing);
    const KivResult r = KivConvertToTarn(outing.outing(), Utf8ToWide(temp_.string()),
                                         [&] { return session.Settle(file); });
    if (Failed(r)) Fail(file, "cannot read the data set for a replay", r);
    path_ = temp_.string();
  }
  ~ReplayFile() {
    std::error_code ignored;
    if (!temp_.empty()) std::filesystem::remove(temp_, ignored);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  std::filesystem::path temp_;
};

void Run(const RtServeOptions& options, const CommandContext& context) {
  const ReplayFile file(options.file, context);
  KivReplayOptions replay;
  replay.port = options.port;
  replay.speed = options.speed;
  replay.loop = options.loop;
  replay.name = Utf8ToWide(options.name);
  replay.cacheSeconds = options.cacheSeconds;
  std::unique_ptr<KivReplayServer> server;
  std::string error;
  const KivResult r = KivReplayServer::Start(Utf8ToWide(file.path()), replay, &server, &error);
  if (Failed(r)) Fail(options.file, "cannot serve: " + error, r);
  std::signal(SIGINT, AskStop);
  std::signal(SIGTERM, AskStop);
  std::cout << WideToUtf8(server->address()) << std::endl;
  bool endTold = false;
  while (!stopAsked) {  // after the end the server goes on serving what it holds
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    if (server->finished() && !endTold) {
      std::cerr << "rt-serve: end of outing, " << server->samples_sent() << " samples sent; serving until stopped\n";
      endTold = true;
    }
  }
  server->Stop();
  std::cerr << "rt-serve: stopped, " << server->samples_sent() << " samples sent\n";
}

}  // namespace

void AddRtServeCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<RtServeOptions>();
  CLI::App* command = app.add_subcommand("rt-serve", "Replay a data set as live telemetry on a real-time server");
  command->add_option("FILE", options->file, "Data set to replay (.txt or .trn)")->required();
  command->add_option("--port", options->port, "TCP port on 127.0.0.1 (0: any free port)");
  command->add_option("--speed", options->speed, "Times real time")->check(CLI::PositiveNumber);
  command->add_flag("--loop", options->loop, "Begin again after the end");
  command->add_option("--name", options->name, "The name in the address")->check([](const std::string& name) {
    return name.size() < 32 && name.find_first_of(":/") == std::string::npos ? "" : "a name of under 32 characters, without ':' or '/'";
  });
  command->add_option("--cache", options->cacheSeconds, "Seconds of data the server keeps")->check(CLI::PositiveNumber);
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
