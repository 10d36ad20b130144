// A generated outing to try a host on without a logger at hand: a car
// lapping a closed circuit, written as a text data set. The bytes depend on
// the options alone (no clock, no random source of the platform), so two
// runs give the same file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "velmar/result.h"

namespace velmar {

struct KivSampleOptions {
  int laps = 5;         // flying laps of about 90 s each
  double rate = 100.0;  // Hz of the fast channels; the slow ones run at a tenth
  uint64_t seed = 1;    // pace, noise and the names in the information block
  double clock = 36000;  // the logger's clock at the first sample, seconds of the day (10:00:00)
};

// Writes the outing to `path` (.txt) through a temporary file and a rename.
// The file has an information block, an "End of lap" event at each crossing
// of the line, constants, a block of fast channels (speed, engine speed,
// throttle, brake pressure, gear, accelerations, GPS position, distance) and
// a block of slow ones (temperatures, fuel, and "Global Time": the
// logger's clock in whole seconds of the day, from `clock`, so that outings
// made with different clocks can be aligned). E_INVALIDARG for laps below 1 or
// a rate that is not above 0 or a clock outside the day; the write's failure
// as the platform gave it.
// `bytes`, when given, receives the size written.
[[nodiscard]] KivResult KivWriteSampleOuting(const std::u16string& path, const KivSampleOptions& options,
                                             size_t* bytes = nullptr);

// Writes the circuit map of the sample's circuit (JSON, as a circuit map
// loads it) to `path`, with its named segments.
[[nodiscard]] KivResult KivWriteSampleCircuitMap(const std::u16string& path);

}  // namespace velmar
