// velmar media FILE.trn list|add|modify|remove: the media channels of a
// `.trn` data set, and their edits (each one transaction).
// velmar frame FILE.trn NAME --at S -o OUT.png: the picture a media channel
// shows at outing time S.
#include <filesystem>
#include <iostream>
#include <memory>

#include "commands.h"
#include "host_error.h"
#include "media_wait.h"
#include "output.h"
#include "edit_transaction.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct MediaOptions {
  std::string file;
  std::string action;
  std::string name;
  std::string video;
  std::string folder;
  double start = 0.0;
  double end = 0.0;
  bool move = false;
  bool json = false;
};

// One channel's line: its name, who made it, and for a user's channel its
// clip start and the file's length.
Json DescribeChannel(const LoadedOuting& outing, const std::u16string& name) {
  ComPtr<IKivMediaChannel> channel = LoadedMediaChannel(outing, name);
  Json row{{"name", Utf8(name)}};
  auto offset = QueryAs<IKivOffsetMediaChannel>(channel.Get());
  row["kind"] = offset ? "user" : "recorded";
  KivTime start = 0, duration = 0;
  if (offset && Succeeded(offset->GetClipStart(&start))) row["clipStart"] = Seconds(start);
  if (offset && Succeeded(offset->GetFileDuration(&duration))) row["fileDuration"] = Seconds(duration);
  return row;
}

void List(const LoadedOuting& outing, bool json) {
  Json rows = Json::array();
  for (const std::u16string& name : outing.MediaChannelNames()) rows.push_back(DescribeChannel(outing, name));
  if (json) return WriteJson(std::cout, rows);
  for (const Json& row : rows) {
    auto field = [&](const char* key) {
      return row.contains(key) ? FormatSeconds(TicksOfSeconds(row[key].get<double>())) : std::string();
    };
    WriteTsvRow(std::cout, {row["name"].get<std::string>(), row["kind"].get<std::string>(), field("clipStart"),
                            field("fileDuration")});
  }
}

void Run(const MediaOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  if (options.action == "list") return List(outing, options.json);
  auto editor = QueryAs<IKivMediaChannelFactory2>(outing.outing());
  if (!editor) Fail(options.file, "this data set has no media channels");
  const std::u16string name = Utf8ToWide(options.name);
  const KivTime start = TicksOfSeconds(options.start), end = TicksOfSeconds(options.end);
  RunEditTransaction(outing, options.action, [&] {
    if (options.action == "add") {
      // By default the video goes beside the data set.
      std::filesystem::path folder = options.folder.empty()
                                         ? std::filesystem::absolute(options.file).parent_path()
                                         : std::filesystem::absolute(options.folder);
      return editor->AddMediaChannel(name, Utf8ToWide(std::filesystem::absolute(options.video).string()),
                                     Utf8ToWide(folder.string()), start, end, ToKivBool(options.move));
    }
    if (options.action == "modify") return editor->ModifyMediaChannel(name, start, end);
    return editor->RemoveMediaChannel(name);
  });
  std::cout << options.file << ": media channel \"" << options.name << "\" " << options.action << " done\n";
}

struct FrameOptions {
  std::string file;
  std::string name;
  double at = 0.0;
  std::string out;
};

void RunFrame(const FrameOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  KivTime outingStart = 0;
  if (KivResult r = outing.LapMarkers()->GetOutingStart(&outingStart); Failed(r)) {
    Fail(options.file, "the outing has no start", r);
  }
  const std::u16string name = Utf8ToWide(options.name);
  auto channel = QueryAs<IKivMediaChannel2>(LoadedMediaChannel(outing, name).Get());
  ComPtr<IKivClipPlayer> player;
  if (KivResult r = channel ? channel->CreateWindowlessClipPlayer(KIV_FALSE, player.Put()) : E_NOINTERFACE; Failed(r)) {
    outing.FailItem("no clip of media channel plays", name, r);
  }
  auto grab = MakeKiv<FrameGrab>();
  auto windowless = QueryAs<IKivWindowlessClipPlayer>(player.Get());
  if (!windowless || Failed(windowless->SetFrameSink(grab.Get()))) Fail(options.file, "the player gives no frames");
  const KivTime position = TicksOfSeconds(options.at) - outingStart;
  if (KivResult r = player->SetTime(position); Failed(r) || !grab->has_frame()) {
    Fail(options.file, "no frame at " + FormatSeconds(TicksOfSeconds(options.at)), Failed(r) ? r : E_FAIL);
  }
  (void)player->Stop();
  const KivVideoFrame& frame = grab->frame();
  if (KivResult r = KivWriteVideoFramePng(frame, Utf8ToWide(options.out)); Failed(r)) {
    Fail(options.out, "cannot write the picture", r);
  }
  std::cout << options.out << ": " << frame.width << "x" << frame.height << (frame.blank ? " blank" : "")
            << " frame of \"" << options.name << "\" at " << FormatSeconds(TicksOfSeconds(options.at)) << "\n";
}

struct ClipOptions {
  std::string out;
  KivSampleClipOptions clip;
};

}  // namespace

void AddClipCommand(CLI::App& app, const CommandContext& context) {
  (void)context;
  auto options = std::make_shared<ClipOptions>();
  CLI::App* command = app.add_subcommand("clip", "Write a generated video clip whose frames show their numbers");
  command->add_option("OUT", options->out, "Video file to write (.mp4)")->required();
  command->add_option("--seconds", options->clip.seconds, "Length");
  command->add_option("--width", options->clip.width, "Picture width");
  command->add_option("--height", options->clip.height, "Picture height");
  command->add_option("--fps", options->clip.framesPerSecond, "Frames a second");
  command->add_option("--keyframe", options->clip.keyframeSeconds, "Seconds between keyframes");
  command->add_option("--tone", options->clip.toneHz, "A sound track: a sine of this pitch in Hz");
  command->callback([options] {
    if (KivResult r = KivWriteSampleClip(Utf8ToWide(options->out), options->clip); Failed(r)) {
      Fail(options->out, "cannot write the clip", r);
    }
    std::cout << options->out << ": " << options->clip.seconds << " s at " << options->clip.framesPerSecond
              << " frames a second\n";
  });
}

void AddMediaCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<MediaOptions>();
  CLI::App* command = app.add_subcommand("media", "List or edit the media channels of a .trn data set");
  command->add_option("FILE", options->file, "Data set (.trn)")->required();
  command->require_subcommand(1);
  CLI::App* list = command->add_subcommand("list", "The media channels");
  list->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  CLI::App* add = command->add_subcommand("add", "Attach a video file as a new media channel");
  add->add_option("NAME", options->name, "Channel name")->required();
  add->add_option("VIDEO", options->video, "Video file")->required()->check(CLI::ExistingFile);
  add->add_option("--folder", options->folder, "Where the video is placed (default: beside FILE)");
  add->add_flag("--move", options->move, "Move the video instead of copying it");
  CLI::App* modify = command->add_subcommand("modify", "Move a channel's clip in outing time");
  CLI::App* remove = command->add_subcommand("remove", "Remove a media channel (its file stays)");
  for (CLI::App* sub : {modify, remove}) sub->add_option("NAME", options->name, "Channel name")->required();
  for (CLI::App* sub : {add, modify}) {
    sub->add_option("--start", options->start, "Clip start, in seconds of outing time")->required();
    sub->add_option("--end", options->end, "Clip end, in seconds of outing time")->required();
  }
  for (CLI::App* sub : command->get_subcommands({})) {
    sub->callback([options, sub, &context] {
      options->action = sub->get_name();
      Run(*options, context);
    });
  }
}

void AddFrameCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<FrameOptions>();
  CLI::App* command = app.add_subcommand("frame", "Write the picture a media channel shows at a time");
  command->add_option("FILE", options->file, "Data set (.trn)")->required();
  command->add_option("NAME", options->name, "Media channel")->required();
  command->add_option("--at", options->at, "Outing time, in seconds")->required();
  command->add_option("-o,--output", options->out, "PNG file to write")->required();
  command->callback([options, &context] { RunFrame(*options, context); });
}

}  // namespace velmar::cli
