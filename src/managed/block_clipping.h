// The blocks of a plug-in channel that fall inside [t0, t1], clipped to it:
// how a plug-in channel's data reaches the library's block list.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "managed/plugin_seam.h"

namespace velmar::managed {

// One block handed from the plug-in side (48 bytes in its packed form: the
// times travel beside it here).
struct DotNetBlockInfo {
  KivTime start = 0;
  KivTime end = 0;
  KivTime interval = 0;  // periodic
  int32_t count = 0;
  std::vector<KivTime> times;  // aperiodic
  bool join = false;
  bool periodic = false;
  // Where the block's samples start in the plug-in's block.
  int64_t sourceBlock = 0;
  int64_t firstIndex = 0;
};

// The channel's blocks between t0 and t1, both inclusive. The extreme tick
// values take every block with no overflow. A block with nothing left after
// clipping is left out. PluginError passes through.
std::vector<DotNetBlockInfo> GetDataBlocksBetweenTimes(PluginChannel& channel, KivTime t0, KivTime t1);

}  // namespace velmar::managed
