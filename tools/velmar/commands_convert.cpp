// velmar convert IN OUT.trn: reads any data set the library opens and
// writes it as a native store file.
#include <iostream>
#include <memory>

#include "channel_samples.h"
#include "commands.h"
#include "host_error.h"
#include "output.h"
#include "loaded_outing.h"
#include "velmar/convert.h"
#include "velmar/outing_factory.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct ConvertOptions {
  std::string in;
  std::string out;
};

void Run(const ConvertOptions& options, const CommandContext& context) {
  if (HostSession::TypeIdForFile(options.out) != kTarnOutingTypeId.ToWide()) {
    Fail(options.out, "the output must be a native store file ending in .trn");
  }
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  KivConvertCounts counts;
  {
    LoadedOuting outing(session, options.in);
    UseSessionRoot(outing);  // channels made now find their units in the root's database
    const KivResult r = KivConvertToTarn(outing.outing(), Utf8ToWide(options.out),
                                         [&] { return session.Settle(options.in); }, &counts);
    if (Failed(r)) Fail(options.out, "cannot write the data set", r);
  }
  std::cout << options.out << ": " << counts.channels << " channels, " << counts.events << " events, "
            << counts.constants << " constants\n";
}

}  // namespace

void AddConvertCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* command = app.add_subcommand("convert", "Write a data set as a native store file (.trn)");
  command->add_option("IN", options->in, "Data set to read (.txt or .trn)")->required();
  command->add_option("OUT", options->out, "Native store file to write (.trn)")->required();
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
