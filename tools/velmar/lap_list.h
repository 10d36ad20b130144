// The outing's laps as the lap finder cuts them from its lap markers, with
// the fastest lap (as the outing's information names it) and the out and
// in laps flagged; and the one lap a user names by its number.
#pragma once

#include <string>
#include <vector>

#include "loaded_outing.h"
#include "velmar/types.h"

namespace velmar::cli {

struct LapRow {
  std::u16string name;
  KivTime start = 0;
  KivTime end = 0;
  bool auxiliary = false;
  bool fastest = false;
  bool outLap = false;
  bool inLap = false;
};

// Every region of the lap finder, in order. Throws HostError.
std::vector<LapRow> ReadLaps(LoadedOuting& outing);

// The lap time in the library's text form, "01:31.974".
std::string LapTime(const LapRow& row);

// The lap whose name carries `number` ("Lap 3", "Lap 3 (Car Halt)"); the
// regions outside the run proper are never laps. Throws HostError naming
// the file and the laps there are when none does.
LapRow FindLap(LoadedOuting& outing, int number);

}  // namespace velmar::cli
