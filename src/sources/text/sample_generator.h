// Realistic text data sets made up from a simulated car lapping a closed
// circuit: for the `velmar sample` command, tests and benchmarks. The output
// depends only on the options (no clock, no platform random source).
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "sources/text/text_file_ops.h"
#include "sources/text/text_status.h"

namespace velmar {

struct SampleOptions {
  int laps = 5;         // flying laps of about 90 s each
  double rate = 100.0;  // Hz of the fast channels; the slow ones run at a tenth
  uint64_t seed = 1;    // pace, noise and the names in the information block
  double clock = 36000;  // the logger's clock at the first sample, seconds of the day
};

// An outing: information block (with one key the format does not know),
// an "End of lap" event at each crossing of the line, constants, a block of
// fast channels (speed, engine speed, throttle, brake pressure, gear,
// accelerations, GPS position, distance, map position) and a block of slow ones
// (temperatures, fuel, and the logger's "Global Time" clock in whole seconds).
std::string GenerateSampleOuting(const SampleOptions& options);

// The circuit map of the sample's circuit, as JSON: its length, its
// reference lap time, and eight named segments from the line round.
std::string SampleCircuitMapJson();

// About targetBytes of one {ChannelBlock} with 20 numeric columns at
// options.rate, for import benchmarks (options.laps is not used).
std::string GenerateWideTable(uint64_t targetBytes, const SampleOptions& options = {});
// The same table with exactly `rows` rows (at least one).
std::string GenerateWideRows(uint64_t rows, const SampleOptions& options = {});

// Column names of the blocks GenerateSampleOuting writes, units included.
const std::vector<std::u16string>& SampleFastColumns();
const std::vector<std::u16string>& SampleSlowColumns();
// The 20 of GenerateWideTable.
const std::vector<std::u16string>& SampleWideColumns();

// Writes bytes to path through a temporary file and a rename.
TextStatus WriteSampleFile(const std::filesystem::path& path, std::string_view bytes,
                           TextFileOps& ops = DefaultTextFileOps());

}  // namespace velmar
