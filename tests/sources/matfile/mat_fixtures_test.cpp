// The MAT-file byte layouts, as tables: each tests/data/matfile case either
// writes through the file handles and compares the file byte for byte, or
// loads a made file and compares what the load found.
#include <gtest/gtest.h>

#include <map>

#include "sources/matfile/matlab_outing_job_item.h"
#include "sources/text/faulty_text_file_ops.h"
#include "support/fixtures.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

std::filesystem::path MatBeside(const std::filesystem::path& fixture) {
  return std::filesystem::path(fixture).replace_extension(".mat");
}

std::string Unhex(const std::string& hex) {
  std::string out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  return out;
}

PropertyList PropertiesOf(const json& pairs) {
  PropertyList list;
  for (const json& p : pairs) {
    const Variant value = p[1].is_string() ? Variant::Text(Utf8ToWide(p[1].get<std::string>()))
                                           : Variant::I32(p[1].get<int32_t>());
    list.push_back({Utf8ToWide(p[0].get<std::string>()), value});
  }
  return list;
}

void Apply(CMatlabFileHandles& file, const std::filesystem::path& path, const json& op) {
  if (op.contains("channel")) {
    const auto times = op["times"].get<std::vector<KivTime>>();
    const auto values = op["values"].get<std::vector<double>>();
    ASSERT_TRUE(file.WriteChannel({Utf8ToWide(op["channel"].get<std::string>()), times, values}).ok());
  } else if (op.contains("string")) {
    ASSERT_TRUE(file.WriteStringVariable(Utf8ToWide(op["string"].get<std::string>()),
                                         Utf8ToWide(op["value"].get<std::string>()))
                    .ok());
  } else if (op.contains("information")) {
    ASSERT_TRUE(file.WriteInformation(PropertiesOf(op["information"])).ok());
  } else {
    // Bytes another writer put there.
    file.Close();
    WriteWhole(path, ReadWhole(path) + Unhex(op["raw"].get<std::string>()));
    ASSERT_TRUE(file.Open(true).ok());
  }
}

json LoadedAsJson(const MatlabOutingData& data, KivResult result) {
  json channels = json::object();
  for (const auto& [name, raw] : data.channels) {
    channels[WideToUtf8(name)] = {raw->times().front(), raw->times().back(), raw->count()};
  }
  json information = json::object();
  for (const Property& p : data.information) {
    const std::optional<int32_t> number = p.value.AsI32();
    information[WideToUtf8(p.name)] = number ? json(*number) : json(WideToUtf8(p.value.ToText()));
  }
  return {{"result", result}, {"channels", channels}, {"information", information}};
}

class MatFixtureTest : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(MatFixtureTest, BytesAndLoadsAsTheTableSays) {
  const json c = ReadFixture(GetParam());
  const std::string expected = ReadWhole(MatBeside(GetParam()));
  if (c.contains("write")) {
    TempDir dir;
    const auto path = dir / "case.mat";
    ASSERT_TRUE(CMatlabFileHandles::Create(path).ok());
    CMatlabFileHandles file(path);
    ASSERT_TRUE(file.Open(true).ok());
    for (const json& op : c["write"]) Apply(file, path, op);
    file.Close();
    const std::string written = ReadWhole(path);
    ASSERT_EQ(written.size(), expected.size());
    for (size_t i = 0; i < written.size(); ++i) ASSERT_EQ(written[i], expected[i]) << "first difference at byte " << i;
    return;
  }
  CMatlabFileHandles file(MatBeside(GetParam()));
  ASSERT_TRUE(file.Open(false).ok());
  MatlabOutingData data;
  const KivResult result = ReadMatlabOuting(file.bytes(), &data);
  const json loaded = LoadedAsJson(data, result);
  const json& want = c["read"];
  EXPECT_EQ(loaded["result"], want["result"]);
  EXPECT_EQ(loaded["channels"], want["channels"]);
  if (want.contains("information")) {
    EXPECT_EQ(loaded["information"], want["information"]);
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, MatFixtureTest, FixtureCases("matfile"), FixtureName);

}  // namespace
}  // namespace velmar::testing
