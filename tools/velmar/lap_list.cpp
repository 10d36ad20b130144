#include "lap_list.h"

#include <cctype>

#include "host_error.h"
#include "output.h"
#include "region_list.h"
#include "velmar/format_time.h"

namespace velmar::cli {
namespace {

// The first whole number in a lap's name; -1 when there is none.
int NumberInName(const std::string& name) {
  const size_t digit = name.find_first_of("0123456789");
  if (digit == std::string::npos) return -1;
  size_t end = digit;
  while (end < name.size() && end - digit < 9 && std::isdigit(static_cast<unsigned char>(name[end]))) ++end;
  return std::stoi(name.substr(digit, end - digit));
}

}  // namespace

std::vector<LapRow> ReadLaps(LoadedOuting& outing) {
  const FinderResult found = ReadRegions(outing, "lap");
  std::vector<LapRow> rows;
  int32_t firstLap = 0;
  for (int32_t i = 1; i <= static_cast<int32_t>(found.rows.size()); ++i) {
    const RegionRow& region = found.rows[static_cast<size_t>(i - 1)];
    LapRow row{region.name, region.start, region.end, region.auxiliary};
    row.fastest = i == found.defaultRegion;
    if (!row.auxiliary && firstLap == 0) firstLap = i;
    row.outLap = i == firstLap;
    row.inLap = !row.auxiliary && found.lastComplete > 0 && i > found.lastComplete;
    rows.push_back(std::move(row));
  }
  return rows;
}

std::string LapTime(const LapRow& row) {
  return Utf8(FormatTime(row.end - row.start, 1, 3, false, false).value_or(u""));
}

LapRow FindLap(LoadedOuting& outing, int number) {
  std::string known;
  for (const LapRow& row : ReadLaps(outing)) {
    if (row.auxiliary) continue;
    const std::string name = Utf8(row.name);
    if (NumberInName(name) == number) return row;
    known += (known.empty() ? "" : ", ") + name;
  }
  Fail(outing.file(), "no lap " + std::to_string(number) + " (laps: " + (known.empty() ? "none" : known) + ")");
}

}  // namespace velmar::cli
