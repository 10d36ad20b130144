// The time regions one finder (lap, segment or outing) cuts from an outing,
// read until a read holds: data that arrives during a read throws its
// regions away, and the finder is read again.
#pragma once

#include <string>
#include <vector>

#include "loaded_outing.h"
#include "velmar/types.h"

namespace velmar::cli {

struct RegionRow {
  std::u16string name;
  KivTime start = 0;
  KivTime end = 0;
  bool auxiliary = false;
};

struct FinderResult {
  int32_t defaultRegion = 0;  // indexes from 1; 0 when the finder has none
  int32_t lastComplete = 0;
  std::vector<RegionRow> rows;
};

// `finder` is "lap", "segment" or "outing". Throws HostError.
FinderResult ReadRegions(LoadedOuting& outing, const std::string& finder);

}  // namespace velmar::cli
