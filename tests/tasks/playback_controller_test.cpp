// The playback controller on a manual clock: its own clock by the formula,
// the ends, stepping, rates offered by players, and the leading player.
#include "tasks/playback_controller.h"

#include <gtest/gtest.h>

#include "selection_fixture.h"

namespace velmar::testing {
namespace {

constexpr KivTime kS = kTicksPerSecond;

// A player that only keeps what it is told.
class FakePlayer final : public KivObject<IKivClipPlayer> {
 public:
  explicit FakePlayer(std::vector<int32_t> rates) : rates_(std::move(rates)) {}
  KivResult Run() override { return Set(kClipPlayerRunning); }
  KivResult Pause() override { return Set(kClipPlayerPaused); }
  KivResult Step(int32_t frames) override {
    time += frames * kS / 25;
    return Set(kClipPlayerPaused);
  }
  KivResult GetState(uint32_t, uint32_t* out) override { return (*out = state, S_OK); }
  KivResult GetRates(IKivPlaybackRates** out) override {
    return GiveOut(static_cast<IKivPlaybackRates*>(MakeKiv<CPlaybackRates>(rates_).Get()), out);
  }
  KivResult SetRate(int32_t code) override { return (rate = code, S_OK); }
  KivResult SetRange(KivTime, KivTime duration) override { return (range = duration, S_OK); }
  KivResult Stop() override { return Set(kClipPlayerStopped); }
  KivResult AddSlave(IKivClipPlayer*) override { return S_OK; }
  KivResult RemoveSlave(IKivClipPlayer*) override { return S_OK; }
  KivResult GetTime(KivTime* out) override { return (*out = time, S_OK); }
  KivResult SetTime(KivTime t) override { return (time = t, S_OK); }
  uint32_t state = kClipPlayerStopped;
  KivTime time = 0, range = -1;
  int32_t rate = 0;

 private:
  KivResult Set(uint32_t s) { return (state = s, S_OK); }
  std::vector<int32_t> rates_;
};

class PlaybackTest : public SelectionFixture {
 protected:
  void SetUp() override {
    SelectionFixture::SetUp();
    ASSERT_EQ(SetOuting(selection_.Get(), Sample("a.txt", 3, 4).Get()), S_OK);
    ASSERT_TRUE(Settle());
    ASSERT_EQ(selection_->Update(kSelectionSpan, nullptr, nullptr, 0, 0, 100 * kS, KIV_FALSE), S_OK);
    controller_ = MakeKiv<CPlaybackController>(manual_);
    controller_->Attach(task_.Get());
  }
  void TearDown() override {
    (void)task_->Close();
    controller_ = nullptr;
    SelectionFixture::TearDown();
  }
  KivTime Position() { return Got(controller_, &CPlaybackController::GetPosition); }
  uint32_t State() { return Got(controller_, &CPlaybackController::GetState); }
  // Plays from `from` at `code` for `ms` of the manual clock.
  void PlayFor(KivTime from, int32_t code, int64_t ms) {
    ASSERT_EQ(controller_->SetRate(code), S_OK);
    ASSERT_EQ(controller_->SetPosition(from), S_OK);
    ASSERT_EQ(controller_->Play(), S_OK);
    manual_.RunFor(std::chrono::milliseconds(ms));
  }

  // Starts 500 ms before the tick counter wraps at 2^32 ms.
  ManualClock clock_{ManualClock::time_point{} + std::chrono::milliseconds((int64_t{1} << 32) - 500)};
  Dispatcher manual_{&clock_};
  ComPtr<CPlaybackController> controller_;
};

TEST_F(PlaybackTest, RunsByTheFormulaAtEveryRateAcrossTheCounterWrap) {
  EXPECT_EQ(Got(controller_, &CPlaybackController::GetDuration), 100 * kS);
  EXPECT_EQ(Got(controller_, &CPlaybackController::GetCanPlay), KIV_TRUE);
  EXPECT_EQ(State(), kPlaybackStopped);
  EXPECT_EQ(controller_->Pause(), E_UNEXPECTED);
  // Rate code -1 from 10 s is 9.5 s after 1000 ms; code 5 is 18 s.
  PlayFor(10 * kS, -1, 1000);
  EXPECT_EQ(Position(), 95 * kS / 10);
  ASSERT_EQ(controller_->Pause(), S_OK);
  EXPECT_EQ(controller_->Pause(), S_FALSE);
  PlayFor(10 * kS, 5, 1000);
  EXPECT_EQ(Position(), 18 * kS);
  EXPECT_EQ(Got(task_, &CTask::GetCurrentTime), 18 * kS);
  for (int32_t code : kAllRateCodes) {
    (void)controller_->Pause();
    PlayFor(50 * kS, code, 5000);
    EXPECT_EQ(Position(), 50 * kS + static_cast<KivTime>(*RateFactor(code) * 5 * kS)) << code;
  }
  EXPECT_EQ(controller_->SetRate(0), E_FAIL);
}

TEST_F(PlaybackTest, StopsAtTheEndsAndStepsByTwentiethsOfASecond) {
  ASSERT_EQ(controller_->SetPosition(100 * kS), S_OK);  // exactly the end is accepted
  EXPECT_EQ(controller_->SetPosition(100 * kS + 1), E_INVALIDARG);
  ASSERT_EQ(controller_->Play(), S_OK);
  manual_.RunFor(std::chrono::milliseconds(100));  // one tick pauses at the end
  EXPECT_EQ(State(), kPlaybackPaused);
  EXPECT_EQ(Position(), 100 * kS);
  ASSERT_EQ(task_->SetCurrentTime(200 * kS), S_OK);
  EXPECT_EQ(controller_->Play(), E_FAIL);
  EXPECT_EQ(State(), kPlaybackPaused);
  ASSERT_EQ(controller_->SetPosition(0), S_OK);
  ASSERT_EQ(controller_->Step(-1), S_OK);
  EXPECT_EQ(Position(), 0);
  ASSERT_EQ(controller_->Step(1), S_OK);
  EXPECT_EQ(Position(), 500'000);
}

TEST_F(PlaybackTest, PlayersOfferTheRatesAndTheFirstLeads) {
  auto lead = MakeKiv<FakePlayer>(std::vector<int32_t>{3, 2, -2, 1});
  auto other = MakeKiv<FakePlayer>(std::vector<int32_t>{1, 2, 3});
  ASSERT_EQ(controller_->AddClipPlayer(lead.Get()), S_OK);
  ASSERT_EQ(controller_->AddClipPlayer(other.Get()), S_OK);
  EXPECT_EQ(lead->range, 100 * kS);
  EXPECT_EQ(RateCodes(Got(controller_, &CPlaybackController::GetRates).Get()), (std::vector<int32_t>{3, 2, 1}))
      << "the lead's order";
  ASSERT_EQ(controller_->SetPosition(20 * kS), S_OK);
  EXPECT_EQ(lead->time, 20 * kS);
  ASSERT_EQ(controller_->Play(), S_OK);
  EXPECT_EQ(lead->state, kClipPlayerRunning);
  lead->time = 21 * kS;  // the player's clock leads
  manual_.RunFor(std::chrono::milliseconds(100));
  EXPECT_EQ(Position(), 21 * kS);
  ASSERT_EQ(controller_->Step(2), S_OK);
  EXPECT_EQ(State(), kPlaybackPaused);
  EXPECT_EQ(Position(), 21 * kS + 2 * kS / 25);
  ASSERT_EQ(controller_->Play(), S_OK);
  ASSERT_EQ(controller_->RemoveClipPlayer(lead.Get()), S_OK);
  EXPECT_EQ(controller_->RemoveClipPlayer(lead.Get()), E_FAIL);
  EXPECT_EQ(lead->state, kClipPlayerStopped);
  ASSERT_EQ(controller_->RemoveClipPlayer(other.Get()), S_OK);
  EXPECT_EQ(State(), kPlaybackPaused);  // not back on its own clock

  auto none = MakeKiv<FakePlayer>(std::vector<int32_t>{});
  ASSERT_EQ(controller_->AddClipPlayer(none.Get()), S_OK);
  EXPECT_EQ(Got(controller_, &CPlaybackController::GetCanPlay), KIV_FALSE);
}

}  // namespace
}  // namespace velmar::testing
