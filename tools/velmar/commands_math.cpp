// velmar math FILE --def defs.json --channels NAME... [--from S] [--to S]
// [--json]: channels computed by expressions, through the math channels
// add-in, written as `dump` writes recorded ones.
#include <iostream>
#include <memory>

#include "addin_modules.h"
#include "channel_samples.h"
#include "commands.h"
#include "host_error.h"
#include "loaded_outing.h"
#include "output.h"
#include "sample_table.h"
#include "velmar/classes.h"
#include "velmar/math_channels.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct MathOptions {
  std::string file;
  std::string definitions;
  std::vector<std::string> channels;
  std::optional<double> from;
  std::optional<double> to;
  bool json = false;
};

ComPtr<IKivChannelFactory> MathFactory(const LoadedOuting& outing, const MathOptions& options) {
  if (KivResult r = LoadMathAddIn(); Failed(r)) Fail("math", "cannot load the math channels add-in", r);
  ComPtr<IKivChannelFactory> factory;
  if (KivResult r = KivCreateInstance(CLSID_KivMathChannels, &factory); Failed(r))
    Fail("math", "cannot make the math channels factory", r);
  auto definitions = QueryAs<IKivMathChannelDefinitions>(factory.Get());
  if (KivResult r = definitions->LoadDefinitions(Utf8ToWide(options.definitions)); Failed(r))
    Fail(options.definitions, "cannot read math channel definitions", r);
  UseSessionRoot(outing);
  // Its operands are the selection's channels, as every host read is.
  if (KivResult r = factory->SetParent(outing.selection()); Failed(r)) Fail(outing.file(), "cannot read channels", r);
  std::vector<std::u16string> messages;
  (void)definitions->GetMessages(&messages);
  for (const std::u16string& message : messages) std::cerr << "velmar: " << WideToUtf8(message) << '\n';
  return factory;
}

void Run(const MathOptions& options, const CommandContext& context) {
  TimeWindow window;
  if (options.from) window.from = TicksOfSeconds(*options.from);
  if (options.to) window.to = TicksOfSeconds(*options.to);
  if (window.from > window.to) Fail(options.file, "--from is after --to");
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  ComPtr<IKivChannelFactory> factory = MathFactory(outing, options);
  auto definitions = QueryAs<IKivMathChannelDefinitions>(factory.Get());
  std::vector<ChannelSamples> samples;
  std::vector<TimedValues> columns;
  for (const std::string& name : options.channels) {
    const std::u16string wide = Utf8ToWide(name);
    ComPtr<IKivChannel> channel;
    if (Failed(factory->GetItem(wide, channel.Put())) || !channel) {
      Fail(options.file, "no math channel \"" + name + "\"");
    }
    samples.push_back(ReadSamplesOf(outing, channel.Get(), wide));
    (void)definitions->GetUnit(wide, &samples.back().unit.text);
    columns.push_back(SamplesInWindow(samples.back(), window));
  }
  WriteDump(options.file, options.json, samples, columns);
}

}  // namespace

void AddMathCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<MathOptions>();
  CLI::App* command = app.add_subcommand("math", "Write math channels: time, then one column per channel");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_option("--def", options->definitions, "Definitions (JSON list of name, expression, unit)")
      ->required();
  command->add_option("--channels", options->channels, "Math channel names")->required();
  command->add_option("--from", options->from, "First time, in seconds (inclusive)");
  command->add_option("--to", options->to, "Last time, in seconds (inclusive)");
  command->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
