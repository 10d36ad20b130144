#include "plugin_channels.h"

#include <iostream>

#include "output.h"
#include "velmar/plugin_tools.h"

namespace velmar::cli {

void JoinPluginChannels(IKivVelmar* root) {
  std::vector<KivPluginType> types;
  if (Failed(KivFindPluginTypes(&types))) return;
  for (const KivPluginType& type : types) {
    if (type.kind != kKivPluginChannelFactory && type.kind != kKivPluginEventsFactory) continue;
    if (Failed(KivAddPluginToRoot(root, type.type_name)))
      std::cerr << "velmar: plug-in \"" << Utf8(type.type_name) << "\" could not be made\n";
  }
}

}  // namespace velmar::cli
