// A plug-in's picture made into the 16 by 16 icon the library's node
// commands and data factories carry.
#pragma once

#include "managed/plugin_seam.h"
#include "velmar/object_node.h"

namespace velmar::managed {

inline constexpr uint32_t kIconSize = 16;

// Each icon pixel is the mean of the source pixels it covers (each channel,
// alpha too); a source smaller than the icon is enlarged by repeating its
// pixels. Null for an empty picture or one whose pixel count doesn't match
// its size.
ComPtr<IKivPicture> MakeIcon(const PluginPicture& picture);

}  // namespace velmar::managed
