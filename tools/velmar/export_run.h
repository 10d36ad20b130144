// The work of `velmar export` (and of `velmar convert`, which is an export
// of everything at the native rate): a new data set made through the outing
// factory's create path, the input's channels and event sets written into
// it in one transaction, the transaction's messages reported. When nothing
// could be written the new file is removed again. Failures throw HostError.
#pragma once

#include <string>

#include "commands.h"
#include "velmar/data_factory.h"
#include "velmar/types.h"

namespace velmar::cli {

struct ExportRequest {
  std::string in;
  std::string out;
  NameList channels;  // as the user named them; all when empty
  bool events = false;
  bool information = false;  // the input's user-set outing information too
  KivTime start = kTimeMin;
  KivTime end = kTimeMax;
  KivTime period = 0;  // 0: the native rate
};

struct ExportCounts {
  size_t channels = 0;   // names asked for
  size_t eventSets = 0;  // sets asked for
};

ExportCounts RunExport(const ExportRequest& request, const CommandContext& context);

}  // namespace velmar::cli
