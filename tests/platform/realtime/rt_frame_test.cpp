#include "platform/realtime/rt_frame.h"

#include <gtest/gtest.h>

#include "platform/realtime/rt_live_data.h"
#include "support/fixtures.h"

namespace velmar::rt {
namespace {

using velmar::testing::FixtureCases;
using velmar::testing::FixtureName;
using velmar::testing::ReadFixture;

std::vector<uint8_t> Hex(const std::string& text) {
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i + 1 < text.size(); i += 2) bytes.push_back(static_cast<uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  return bytes;
}

class FrameFixtureTest : public ::testing::TestWithParam<std::filesystem::path> {};

// Each case is fed whole and then byte by byte: a socket may cut anywhere.
TEST_P(FrameFixtureTest, DecodesTheFramesAndRefusesWhatLies) {
  const auto c = ReadFixture(GetParam());
  const std::vector<uint8_t> bytes = Hex(c["hex"]);
  for (const size_t step : {bytes.size(), size_t{1}}) {
    FrameDecoder decoder;
    std::vector<uint16_t> types;
    std::vector<bool> understood;
    for (size_t at = 0; at < bytes.size(); at += std::max<size_t>(step, 1)) {
      decoder.Feed(std::span(bytes).subspan(at, std::min(std::max<size_t>(step, 1), bytes.size() - at)));
      while (auto frame = decoder.Next()) {
        types.push_back(static_cast<uint16_t>(frame->type));
        understood.push_back(DecodeAnyFrame(*frame));
      }
    }
    EXPECT_EQ(types, c["types"].get<std::vector<uint16_t>>()) << "step " << step;
    EXPECT_EQ(understood, c["understood"].get<std::vector<bool>>()) << "step " << step;
    const char* error = decoder.error() == FrameDecoder::Error::kLength  ? "length"
                        : decoder.error() == FrameDecoder::Error::kFlags ? "flags"
                                                                          : "none";
    EXPECT_EQ(error, c["error"].get<std::string>()) << "step " << step;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, FrameFixtureTest, FixtureCases("realtime/frames"), FixtureName);

TEST(RtMessagesTest, RecordsSurviveTheWire) {
  WireBlock block{7, 7, 0, 1, 10, {10, 20, 30}, std::vector<uint8_t>(24, 1)};
  std::vector<WireBlock> back;
  ASSERT_EQ(DecodeReply(EncodeReply(S_OK, std::vector<WireBlock>{block}), &back), S_OK);
  ASSERT_EQ(back.size(), 1u);
  EXPECT_EQ(back[0].times, block.times);
  EXPECT_EQ(back[0].LastTime(), 30);
  EXPECT_EQ(DecodeReply(EncodeReply(E_INVALIDARG, std::vector<WireBlock>{block}), &back), E_INVALIDARG);
  const auto cut = CutBlock(WireBlock{1, 7, 1, 0, 100, {10}, std::vector<uint8_t>(80, 0)}, 115, 150);
  ASSERT_TRUE(cut.has_value());
  EXPECT_EQ(cut->firstTime, 120);
  EXPECT_EQ(cut->Count(), 4u) << "120, 130, 140, 150";
}

}  // namespace
}  // namespace velmar::rt
