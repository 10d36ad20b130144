// What `velmar settings FILE show` reports of a root's settings, and the
// import of a .trn's properties into its databases.
#pragma once

#include <ostream>
#include <string>

#include "host_session.h"
#include "output.h"

namespace velmar::cli {

// {"version", "caption_format", "tasks": [{"name", "selections": [{"label",
// "caption"}]}], "priorities": [{"id", "name", "fore", "back"}],
// "favorites": [{"display", "location"}], "palette": [colour...],
// "common_channels": {role: text}, "channel_keys": [{"name", "quantity"}],
// "event_names": [name...]}; colours as "#RRGGBB" hex of 0x00BBGGRR.
Json SettingsReport(HostSession& session);
// The same as sections of tab-separated lines.
void WriteSettingsText(std::ostream& out, const Json& report);
// Runs both property helpers on `outing` and waits for them. Throws HostError.
void ImportOutingProperties(HostSession& session, IKivOuting* outing, const std::string& file);

}  // namespace velmar::cli
