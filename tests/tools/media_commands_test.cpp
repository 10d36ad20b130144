// The media commands end to end: a clip made, attached to a converted
// outing, listed, its frame written as a PNG, edits refused with the
// library's messages, and a short play.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "cli_run.h"

namespace velmar::testing {
namespace {

TEST(MediaCommandsTest, AttachListGrabAFrameAndPlay) {
  CliRunner cli;
  const std::string store = cli.Path("s.trn"), clip = cli.Path("c.mp4"), png = cli.Path("f.png");
  ASSERT_EQ(cli.Run({"convert", cli.Sample(), store}).exitCode, 0);
  ASSERT_EQ(cli.Run({"clip", clip, "--seconds", "3"}).exitCode, 0);
  const CliResult added = cli.RunOk({"media", store, "add", "Onboard", clip, "--start", "1", "--end", "4"});
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(store).parent_path() / "0001000.kvmedia"));
  EXPECT_EQ(cli.Run({"media", store, "list"}).Rows(), (std::vector<std::vector<std::string>>{{"Onboard", "user", "1", "3"}}));

  const CliResult frame = cli.RunOk({"frame", store, "Onboard", "--at", "2", "-o", png});
  std::ifstream in(png, std::ios::binary);
  std::string magic(8, '\0');
  in.read(magic.data(), 8);
  EXPECT_EQ(magic, "\x89PNG\r\n\x1a\n");

  cli.RunRefused({"media", store, "add", "Onboard", clip, "--start", "1", "--end", "4"},
                 "Failed to add Media Channel \"Onboard\" - duplicate Media Channel found");
  const CliResult play = cli.RunOk({"play", store, "--rate", "5", "--for", "0.3", "--channels", "Speed"});
  EXPECT_EQ(play.Rows().at(0), (std::vector<std::string>{"position", "Speed"}));
  EXPECT_GE(play.Rows().size(), 3u);
}

}  // namespace
}  // namespace velmar::testing
