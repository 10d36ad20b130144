#include "platform/realtime/rt_tcp_server.h"

#include <gtest/gtest.h>

#include <asio.hpp>
#include <condition_variable>

#include "platform/realtime/rt_link.h"
#include "platform/realtime/rt_live_data.h"
#include "support/fixtures.h"

namespace velmar::rt {
namespace {

using namespace std::chrono_literals;
using velmar::testing::FixtureCases;
using velmar::testing::FixtureName;
using velmar::testing::ReadFixture;

// The frames and messages on the wire.
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

// The server over loopback and in process.

// Collects what a link pushes; waits for a type to arrive.
class Pushes {
 public:
  PushHandler Handler() {
    return [this](Frame frame) {
      std::lock_guard lock(mutex_);
      frames_.push_back(std::move(frame));
      arrived_.notify_all();
    };
  }
  // The first frame of `type` whose payload `accept` takes.
  std::optional<Frame> WaitFor(RtType type, std::function<bool(const Frame&)> accept = nullptr) {
    std::unique_lock lock(mutex_);
    std::optional<Frame> found;
    arrived_.wait_for(lock, 10s, [&] {
      for (const auto& f : frames_) {
        if (!found && f.type == type && (!accept || accept(f))) found = f;
      }
      return found.has_value();
    });
    return found;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<Frame> frames_;
};

std::shared_ptr<RtServer> ServerWithOneChannel() {
  auto server = std::make_shared<RtServer>(u"Pit");
  WireChannel speed;
  speed.id = 7;
  speed.displayName = u"Speed";
  server->data().SetChannels({speed});
  server->data().AddBlock(WireBlock{7, 7, 1, 0, 0, {10}, std::vector<uint8_t>(8 * 100, 0)});
  server->data().WidenRange(0, 990);
  return server;
}

// Hello is done by the connect; then connect by name and create the outing.
KivResult Open(RtLink& link, const std::u16string& name) {
  std::vector<uint8_t> reply;
  KivResult r = link.Call(RtType::kConnect, Encode(ConnectMsg{u"127.0.0.1", 0, name}), &reply, 1s);
  if (Succeeded(r)) r = DecodeReply(reply);
  if (Succeeded(r)) r = link.Call(RtType::kCreateOuting, Encode(CreateOutingMsg{}), &reply, 1s);
  return Succeeded(r) ? DecodeReply(reply) : r;
}

void ExpectReadsAndPushes(RtLink& link, RtServer& server, Pushes& pushes) {
  ASSERT_TRUE(pushes.WaitFor(RtType::kReset)) << "a new outing begins with a reset";
  ASSERT_TRUE(pushes.WaitFor(RtType::kTimeRange));
  std::vector<uint8_t> reply;
  std::vector<WireBlock> blocks;
  ASSERT_EQ(link.Call(RtType::kGetChannelData, Encode(RangeRequestMsg{{7}, 500, 2000}), &reply, 1s), S_OK);
  ASSERT_EQ(DecodeReply(reply, &blocks), S_OK);
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].firstTime, 500);
  EXPECT_EQ(blocks[0].Count(), 50u);
  ASSERT_EQ(link.Call(RtType::kGetChannelData, Encode(RangeRequestMsg{{9}, 0, 1}), &reply, 1s), S_OK);
  EXPECT_EQ(DecodeReply(reply), E_INVALIDARG) << "an unknown channel";
  server.PushChannelData({{7, 1000, 1990}});
  const auto data = pushes.WaitFor(RtType::kChannelData);
  ASSERT_TRUE(data);
  DataRangesMsg ranges;
  ASSERT_EQ(Decode(data->payload, &ranges), S_OK);
  EXPECT_EQ(ranges.items.at(0).to, 1990);
}

TEST(RtServerTest, ServesReadsAndPushesOverLoopbackAndALostServerIsTold) {
  auto server = ServerWithOneChannel();
  RtTcpServer tcp(server);
  std::string error;
  ASSERT_EQ(tcp.Start("127.0.0.1", 0, &error), S_OK) << error;
  std::unique_ptr<RtLink> link;
  ASSERT_EQ(ConnectTcpLink("127.0.0.1", tcp.port(), 2s, &link), S_OK);
  Pushes pushes;
  link->SetPushHandler(pushes.Handler());
  std::unique_ptr<RtLink> stranger;
  ASSERT_EQ(ConnectTcpLink("127.0.0.1", tcp.port(), 2s, &stranger), S_OK);
  EXPECT_EQ(Open(*stranger, u"Garage"), kRtUnknownServer);
  ASSERT_EQ(Open(*link, u"Pit"), S_OK);
  ExpectReadsAndPushes(*link, *server, pushes);

  const uint16_t port = tcp.port();
  tcp.Stop();
  const auto lost = pushes.WaitFor(RtType::kStatus, [](const Frame& f) {
    StatusMsg status;
    return Succeeded(Decode(f.payload, &status)) && status.result == kRtConnectionLost;
  });
  EXPECT_TRUE(lost) << "the link tells its outing that the server went";
  std::vector<uint8_t> reply;
  EXPECT_EQ(link->Call(RtType::kGetChannelList, {}, &reply, 1s), kRtConnectionLost);
  EXPECT_EQ(ConnectTcpLink("127.0.0.1", port, 1s, &stranger), E_FAIL) << "no one listens";

  RtTcpServer again(server);
  ASSERT_EQ(again.Start("127.0.0.1", port, &error), S_OK) << error;
  ASSERT_EQ(ConnectTcpLink("127.0.0.1", port, 2s, &link), S_OK) << "a restarted server takes new links";
  EXPECT_EQ(Open(*link, u""), S_OK);
}

TEST(RtServerTest, AnInProcessLinkGoesThroughTheSameCodec) {
  auto server = ServerWithOneChannel();
  auto link = ConnectInProcessLink(server);
  Pushes pushes;
  link->SetPushHandler(pushes.Handler());
  ASSERT_EQ(Open(*link, u"Pit"), S_OK);
  ExpectReadsAndPushes(*link, *server, pushes);
  std::vector<uint8_t> reply;
  EXPECT_EQ(link->Call(RtType::kHello, Encode(HelloMsg{}), &reply, 1s), kRtConnectionLost)
      << "a second hello closes the session";
}

TEST(RtServerTest, AClientThatStopsReadingIsDroppedAndBadBytesCloseTheSession) {
  auto server = ServerWithOneChannel();
  RtTcpServer tcp(server, 4u << 20);
  std::string error;
  ASSERT_EQ(tcp.Start("127.0.0.1", 0, &error), S_OK) << error;
  asio::io_context io;
  asio::ip::tcp::socket quiet(io);
  quiet.connect({asio::ip::make_address("127.0.0.1"), tcp.port()});
  std::vector<uint8_t> bytes;
  AppendFrame(Frame{RtType::kHello, 1, Encode(HelloMsg{})}, &bytes);
  AppendFrame(Frame{RtType::kConnect, 2, Encode(ConnectMsg{u"h", 1, u""})}, &bytes);
  AppendFrame(Frame{RtType::kCreateOuting, 3, Encode(CreateOutingMsg{})}, &bytes);
  asio::write(quiet, asio::buffer(bytes));
  while (server->session_count() == 0 || !server->data().Channels().size()) std::this_thread::yield();
  InformationMsg big;
  big.pairs.assign(500, {std::u16string(200, u'x'), std::u16string(200, u'y')});
  server->data().SetInformation(big.pairs);
  for (int i = 0; i < 400 && server->session_count() > 0; ++i) server->PushInformation();
  EXPECT_EQ(server->session_count(), 0u) << "the queue is bounded";

  asio::ip::tcp::socket liar(io);
  liar.connect({asio::ip::make_address("127.0.0.1"), tcp.port()});
  const uint8_t lie[12] = {0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0, 1, 0, 0, 0};
  asio::write(liar, asio::buffer(lie));
  std::error_code ec;
  uint8_t sink[16];
  liar.read_some(asio::buffer(sink), ec);
  EXPECT_EQ(ec, asio::error::eof) << "a frame with a lying length closes the connection";
}

}  // namespace
}  // namespace velmar::rt
