#include "sources/tarn/tarn_properties.h"

#include <chrono>

namespace velmar {
namespace {

// 1 January 1970 as days since 30 December 1899.
constexpr double kUnixEpochOleDate = 25569.0;

void PutText(TarnPropertyMap& map, std::u16string_view name, const char16_t* text) {
  if (text) map.emplace(name, Variant::Text(text));
}

void PutU32(TarnPropertyMap& map, std::u16string_view name, uint32_t value) {
  map.emplace(name, Variant::U32(value));
}

}  // namespace

double NowAsOleDate() {
  using namespace std::chrono;
  double seconds = duration<double>(system_clock::now().time_since_epoch()).count();
  return kUnixEpochOleDate + seconds / 86400.0;
}

TarnPropertyMap OutingProperties(const TarnOutingRecord& r, double now) {
  namespace p = tarn_property;
  TarnPropertyMap map;
  const bool lastLapKnown = r.lastLapNumber >= r.firstLapNumber;
  // The fast lap counts only inside the lap range the record gives.
  const bool fastLapKnown = r.fastLapNumber >= r.firstLapNumber && r.fastLapNumber <= r.lastLapNumber;
  if (fastLapKnown) {
    map.emplace(p::kFastLapTime, Variant::Time(r.fastLapTime));
    PutU32(map, p::kFastLapNumber, r.fastLapNumber);
  }
  if (r.createDate > kEarliestCreateDate && r.createDate < now + kCreateDateSlackDays)
    map.emplace(p::kCreateDate, Variant::F64(r.createDate));
  PutText(map, p::kTrackName, r.trackName);
  PutText(map, p::kDriverName, r.driverName);
  PutText(map, p::kShortComment, r.shortComment);
  PutText(map, p::kLongComment, r.longComment);
  PutText(map, p::kTimeZone, r.timeZone);
  PutText(map, p::kSystemDetails, r.systemDetails);
  PutText(map, p::kCarName, r.carName);
  PutU32(map, p::kSessionNumber, r.sessionNumber);
  PutU32(map, p::kOutingNumber, r.outingNumber);
  PutU32(map, p::kFirstLapNumber, r.firstLapNumber);
  if (lastLapKnown) PutU32(map, p::kLastLapNumber, r.lastLapNumber);
  if (r.datasetType < kDatasetTypeCount) PutU32(map, p::kDatasetType, r.datasetType);
  if (r.utcDifference >= -kMaxUtcDifferenceMinutes && r.utcDifference <= kMaxUtcDifferenceMinutes)
    map.emplace(p::kUtcDifference, Variant::I32(r.utcDifference));
  map.emplace(p::kEngineTest, Variant::Bool(r.engineTest != 0));
  return map;
}

std::optional<TarnFastLap> FindFastLap(std::span<const KivTime> markers, const TarnLapSpan& span,
                                       KivTime minimum) {
  if (markers.size() >= 2) {
    std::optional<TarnFastLap> fast;
    KivTime best = kTimeMax;
    for (size_t i = 1; i < markers.size(); ++i) {
      KivTime lap = markers[i] - markers[i - 1];
      // Not greater than the best so far: a tie goes to the later lap.
      if (lap <= best && lap > minimum) {
        best = lap;
        fast = TarnFastLap{static_cast<uint32_t>(i), lap};
      }
    }
    return fast;
  }
  // One lap only, from the start of movement (or of the outing) to its end.
  KivTime start = span.outingStart;
  if (span.movement && (markers.empty() || markers[0] > span.movement->first)) start = span.movement->first;
  KivTime end = span.outingEnd;
  if (!markers.empty()) {
    end = markers[0];
  } else if (span.movement) {
    end = span.movement->second;
  }
  KivTime lap = end - start;
  if (lap < 0 || lap < minimum) return std::nullopt;
  return TarnFastLap{0, lap};
}

}  // namespace velmar
