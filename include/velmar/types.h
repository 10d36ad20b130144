// Small value types shared by every interface.
#pragma once

#include <cstdint>
#include <limits>

namespace velmar {

// Booleans on interfaces are 16-bit: -1 true, 0 false.
using KivBool = int16_t;
inline constexpr KivBool KIV_TRUE = -1;
inline constexpr KivBool KIV_FALSE = 0;
inline constexpr KivBool ToKivBool(bool b) { return b ? KIV_TRUE : KIV_FALSE; }
inline constexpr bool FromKivBool(KivBool b) { return b != 0; }

// Time: signed count of 100 ns ticks relative to the outing's own zero.
// The extremes stand for unbounded / no time; (max, min) reads as an empty range.
using KivTime = int64_t;
inline constexpr KivTime kTicksPerSecond = 10'000'000;
inline constexpr KivTime kTimeMin = std::numeric_limits<int64_t>::min();
inline constexpr KivTime kTimeMax = std::numeric_limits<int64_t>::max();

// Data status shared by channels, event sets, constants, proxies and media channels.
enum class DataStatus : uint32_t {
  kUnknown = 0,
  kAvailable = 1,
  kNotAvailable = 2,
  kPending = 3,
  kEvaluating = 4,
};

// Outing type: the row of the factory's type table.
enum class OutingType : uint32_t {
  kEmpty = 0,
  kTarn = 1,
  kMatFile = 2,
  kText = 3,
  kRealTime = 4,
  kSpreadsheet = 5,
};

}  // namespace velmar
