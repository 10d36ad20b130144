// Tables of cases kept as data: every case is one JSON file under
// tests/data/<family>/, walked by one parameterised test, so adding a case
// is adding a file.
//
//   INSTANTIATE_TEST_SUITE_P(Cases, MyTest, FixtureCases("regions/steps"), FixtureName);
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "velmar/types.h"

namespace velmar::testing {

// The *.json files of a family, in name order; none when the folder is missing.
std::vector<std::filesystem::path> FixtureFiles(std::string_view family);

// The same as a generator for INSTANTIATE_TEST_SUITE_P.
inline auto FixtureCases(std::string_view family) { return ::testing::ValuesIn(FixtureFiles(family)); }

// The case's file name without extension, made a valid test name.
std::string FixtureName(const ::testing::TestParamInfo<std::filesystem::path>& info);

// The parsed file; a parse error fails the test that reads it.
nlohmann::json ReadFixture(const std::filesystem::path& file);

// A table kept in one file, tests/data/<name>.
nlohmann::json Fixture(const char* name);

// tests/data: VELMAR_TEST_DATA (ctest sets it), else the source tree's.
std::filesystem::path FixtureRoot();

// A time of a fixture: ticks, or "min" and "max" for the unbounded ends.
inline KivTime FixtureTime(const nlohmann::json& v) {
  if (v == "min") return kTimeMin;
  if (v == "max") return kTimeMax;
  return v.get<KivTime>();
}

// A number of a fixture: a JSON number, or "nan", "inf" and "-inf".
inline double FixtureNumber(const nlohmann::json& v) {
  if (v.is_number()) return v.get<double>();
  return v == "nan" ? std::nan("") : (v == "inf" ? 1 : -1) * std::numeric_limits<double>::infinity();
}

}  // namespace velmar::testing
