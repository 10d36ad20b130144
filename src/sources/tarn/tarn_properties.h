// What a `.trn` outing says about itself: the property map built from the
// store's details record, and the fast lap worked out from the lap markers
// when the outing factory's fast-lap filter is on.
//
// Pure functions; any thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "outing/laps/list_lap_markers.h"
#include "velmar/tarn_store.h"
#include "velmar/types.h"
#include "velmar/variant.h"

namespace velmar {

// Property name to value, in name order.
using TarnPropertyMap = std::map<std::u16string, Variant>;

namespace tarn_property {
inline constexpr std::u16string_view kFastLapTime = u"Fast lap time";
inline constexpr std::u16string_view kCreateDate = u"Create date";
inline constexpr std::u16string_view kTrackName = u"Track name";
inline constexpr std::u16string_view kDriverName = u"Driver name";
inline constexpr std::u16string_view kShortComment = u"Short comment";
inline constexpr std::u16string_view kLongComment = u"Long comment";
inline constexpr std::u16string_view kTimeZone = u"Time zone";
inline constexpr std::u16string_view kSystemDetails = u"System details";
inline constexpr std::u16string_view kCarName = u"Car name";
inline constexpr std::u16string_view kSessionNumber = u"Session number";
inline constexpr std::u16string_view kOutingNumber = u"Outing number";
inline constexpr std::u16string_view kFirstLapNumber = u"First lap number";
inline constexpr std::u16string_view kFastLapNumber = u"Fast lap number";
inline constexpr std::u16string_view kLastLapNumber = u"Last lap number";
inline constexpr std::u16string_view kDatasetType = u"Dataset type";
inline constexpr std::u16string_view kUtcDifference = u"UTC difference";
inline constexpr std::u16string_view kEngineTest = u"Engine test";
}  // namespace tarn_property

// Dates before this (days since 30 December 1899) are no real creation date.
inline constexpr double kEarliestCreateDate = 33000.0;
// A creation date this many days ahead of the clock or more is no real one.
inline constexpr double kCreateDateSlackDays = 7.0;
inline constexpr int32_t kMaxUtcDifferenceMinutes = 720;
inline constexpr uint32_t kDatasetTypeCount = 3;

// The present UTC time as days since 30 December 1899.
double NowAsOleDate();

// The properties of a details record: each field that passes its rule, by
// the names above. `now` is the present as days since 30 December 1899.
TarnPropertyMap OutingProperties(const TarnOutingRecord& record, double now);

// The spans the fast lap is looked for in.
using TarnLapSpan = LapSpan;

struct TarnFastLap {
  uint32_t index = 0;  // counted from the first lap
  KivTime time = 0;
};

// The fastest lap between the markers (times in order): among two or more
// markers the shortest lap above `minimum`, a tie going to the later lap;
// with one or none, the one lap from the start of movement (or the outing) to
// the marker (or the end of movement or the outing), when it is at least
// `minimum`. Nothing when no lap qualifies.
std::optional<TarnFastLap> FindFastLap(std::span<const KivTime> markerTimes, const TarnLapSpan& span,
                                       KivTime minimum);

}  // namespace velmar
