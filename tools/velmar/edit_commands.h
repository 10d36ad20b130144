// The edit subcommands of `velmar constants`, `velmar blobs` and
// `velmar info`: each edit is one transaction (edit_transaction.h) on the
// parent command's FILE, whose listing runs only when no edit was named.
#pragma once

#include <string>

#include "commands.h"

namespace velmar::cli {

// constants FILE add NAME VALUE [--unit U] [--text T] | set NAME VALUE [--unit U] | remove NAME
void AddConstantEdits(CLI::App& command, const std::string& file, const CommandContext& context);
// blobs FILE add NAME PATH [--type GUID] | get NAME -o PATH | set NAME PATH | remove NAME
void AddBlobEdits(CLI::App& command, const std::string& file, const CommandContext& context);
// info FILE set NAME=VALUE...
void AddInformationEdits(CLI::App& command, const std::string& file, const CommandContext& context);

}  // namespace velmar::cli
