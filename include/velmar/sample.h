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
};

// Writes the outing to `path` (.txt) through a temporary file and a rename.
// The file has an information block, an "End of lap" event at each crossing
// of the line, constants, a block of fast channels (speed, engine speed,
// throttle, brake pressure, gear, accelerations, GPS position, distance) and
// a block of slow ones (temperatures, fuel). E_INVALIDARG for laps below 1 or
// a rate that is not above 0; the write's failure as the platform gave it.
// `bytes`, when given, receives the size written.
[[nodiscard]] KivResult KivWriteSampleOuting(const std::u16string& path, const KivSampleOptions& options,
                                             size_t* bytes = nullptr);

// Writes the circuit map of the sample's circuit (JSON, as a circuit map
// loads it) to `path`, with its named segments.
[[nodiscard]] KivResult KivWriteSampleCircuitMap(const std::u16string& path);

}  // namespace velmar
