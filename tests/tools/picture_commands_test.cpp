// velmar plot, delta and trackmap run as a user runs them, on the small
// generated sample.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "cli_run.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

CliRunner& Runner() { return SharedCli(); }

json RunJson(const std::vector<std::string>& args) {
  const CliResult result = Runner().RunOk(args);
  return json::parse(result.out, nullptr, false);
}

// Width and height from a PNG's header chunk; nothing for a file that is no PNG.
std::optional<std::pair<uint32_t, uint32_t>> PngSize(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  unsigned char head[24] = {};
  if (!in.read(reinterpret_cast<char*>(head), sizeof head)) return std::nullopt;
  if (std::string(reinterpret_cast<char*>(head + 1), 3) != "PNG" || std::string(reinterpret_cast<char*>(head + 12), 4) != "IHDR") {
    return std::nullopt;
  }
  auto word = [&](int at) { return uint32_t{head[at]} << 24 | uint32_t{head[at + 1]} << 16 | uint32_t{head[at + 2]} << 8 | head[at + 3]; };
  return std::pair{word(16), word(20)};
}

TEST(DeltaCommand, EndsOnTheLapTimeDifferenceAndIsZeroAgainstItself) {
  const std::string& sample = Runner().Sample();
  const json laps = RunJson({"laps", sample, "--json"})["laps"];
  const double lapTime[] = {laps[0]["end"].get<double>() - laps[0]["start"].get<double>(),
                            laps[1]["end"].get<double>() - laps[1]["start"].get<double>()};
  const json delta = RunJson({"delta", sample, "--lap", "2", "--ref", "1", "--step", "10", "--json"});
  ASSERT_GT(delta["delta"].size(), 100u);
  EXPECT_NEAR(delta["delta"].back().get<double>(), lapTime[1] - lapTime[0], 1.0 / 20) << "within one sample period";
  EXPECT_EQ(delta["delta"].front().get<double>(), 0.0);
  EXPECT_NEAR(delta["distances"][1].get<double>(), 10.0, 1e-9);
  const json self = RunJson({"delta", sample, "--lap", "1", "--ref", "1", "--ref-file", sample, "--json"});
  for (const json& seconds : self["delta"]) EXPECT_EQ(seconds.get<double>(), 0.0);
  const CliResult text = Runner().Run({"delta", sample, "--lap", "2", "--ref", "1", "--step", "1000"});
  EXPECT_EQ(text.Rows().front(), (std::vector<std::string>{"distance", "delta"}));
}

TEST(PictureCommands, WriteAnImageOfTheSizeAskedForAndPrintItsPath) {
  const std::string& sample = Runner().Sample();
  const std::string plot = Runner().Path("overlay.png");
  const CliResult drawn = Runner().Run({"plot", sample, "Speed", "Throttle", "--laps", "1,2", "--delta", "--ref",
                                        sample + ":1", "-o", plot, "--width", "640", "--height", "480"});
  ASSERT_EQ(drawn.exitCode, 0) << drawn.err;
  EXPECT_EQ(drawn.out, plot + "\n");
  EXPECT_EQ(PngSize(plot), (std::pair<uint32_t, uint32_t>{640, 480}));
  const std::string map = Runner().Path("map.png");
  const std::string circuit = Runner().Path("sample.map.json");
  ASSERT_EQ(Runner().Run({"trackmap", sample, "--lap", "2", "--map", circuit, "-o", map, "--width", "500", "--height", "400"}).exitCode, 0);
  EXPECT_EQ(PngSize(map), (std::pair<uint32_t, uint32_t>{500, 400}));
  const CliResult vector = Runner().RunOk({"plot", sample, "Gear", "--laps", "2", "--x", "time", "-o", Runner().Path("g.svg")});
  EXPECT_TRUE(std::filesystem::file_size(Runner().Path("g.svg")) > 0);
}

}  // namespace
}  // namespace velmar::testing
