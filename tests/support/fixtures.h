// Tables of cases kept as data: every case is one JSON file under
// tests/data/<family>/, walked by one parameterised test, so adding a case
// is adding a file.
//
//   INSTANTIATE_TEST_SUITE_P(Cases, MyTest, FixtureCases("regions/steps"), FixtureName);
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

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

}  // namespace velmar::testing
