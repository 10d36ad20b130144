#include "support/fixtures.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>

namespace velmar::testing {

std::filesystem::path FixtureRoot() {
  const char* root = std::getenv("VELMAR_TEST_DATA");
  return std::filesystem::path(root ? root : VELMAR_TEST_DATA_DEFAULT);
}

nlohmann::json Fixture(const char* name) { return ReadFixture(FixtureRoot() / name); }

std::vector<std::filesystem::path> FixtureFiles(std::string_view family) {
  const std::filesystem::path folder = FixtureRoot() / std::string(family);
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.path().extension() == ".json") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string FixtureName(const ::testing::TestParamInfo<std::filesystem::path>& info) {
  std::string name = info.param.stem().string();
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}

nlohmann::json ReadFixture(const std::filesystem::path& file) {
  std::ifstream in(file);
  nlohmann::json json = nlohmann::json::parse(in, nullptr, false);
  EXPECT_FALSE(json.is_discarded()) << file << " is not valid JSON";
  return json;
}

}  // namespace velmar::testing
