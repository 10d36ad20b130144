// Tables of cases kept as JSON under tests/data: found through
// VELMAR_TEST_DATA (ctest sets it), else by walking up from the working
// directory to a tests/data that holds the file.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

namespace velmar::testing {

inline nlohmann::json Fixture(const char* name) {
  std::filesystem::path path;
  if (const char* dir = std::getenv("VELMAR_TEST_DATA")) {
    path = std::filesystem::path(dir) / name;
  } else {
    for (auto dir = std::filesystem::current_path(); !dir.empty(); dir = dir.parent_path()) {
      path = dir / "tests" / "data" / name;
      if (std::filesystem::exists(path) || dir == dir.parent_path()) break;
    }
  }
  std::ifstream in(path);
  return nlohmann::json::parse(in);
}

}  // namespace velmar::testing
