#include "lap_list.h"

#include <cctype>

#include "host_error.h"
#include "output.h"
#include "velmar/classes.h"
#include "velmar/format_time.h"
#include "velmar/time_regions.h"

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
  (void)outing.LapMarkers();
  ComPtr<IKivTimeRegionFinder3> finder;
  if (Failed(KivCreateInstance(CLSID_KivLapFinder, &finder))) Fail(outing.file(), "cannot make a lap finder");
  if (Failed(finder->SetOuting(outing.outing()))) Fail(outing.file(), "cannot find the laps");
  ComPtr<IKivTimeRegions> regions;
  if (Failed(finder->GetRegions(regions.Put()))) Fail(outing.file(), "cannot find the laps");
  int32_t count = 0, fastest = 0, lastComplete = 0;
  (void)regions->GetCount(&count);
  (void)finder->GetDefaultRegion(&fastest);
  (void)finder->GetLastCompleteRegion(&lastComplete);
  std::vector<LapRow> rows;
  int32_t firstLap = 0;
  for (int32_t i = 1; i <= count; ++i) {
    LapRow row;
    KivBool auxiliary = KIV_FALSE;
    (void)regions->GetName(i, i, &row.name);
    (void)regions->GetStart(i, &row.start);
    (void)regions->GetEnd(i, &row.end);
    (void)regions->GetAuxiliary(i, &auxiliary);
    row.auxiliary = auxiliary != KIV_FALSE;
    row.fastest = i == fastest;
    if (!row.auxiliary && firstLap == 0) firstLap = i;
    row.outLap = i == firstLap;
    row.inLap = !row.auxiliary && lastComplete > 0 && i > lastComplete;
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
