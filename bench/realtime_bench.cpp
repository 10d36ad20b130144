// A replay of a 200-channel, 100 Hz outing at 50 times real time (1,000,000
// samples a second) through the TCP server on loopback into a live outing
// whose one client reads every change. Reports the samples a second the
// client sustained, the delay from the server sending a block to the
// client's data notification (median, p99), and the process's peak RSS.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "config/real_time_settings.h"
#include "platform/realtime/rt_tcp_server.h"
#include "sources/realtime/rt_outing_core.h"

namespace velmar {
namespace {

using namespace rt;
using Clock = std::chrono::steady_clock;

constexpr int kChannels = 200;
constexpr KivTime kPeriod = kTicksPerSecond / 100;  // 100 Hz
constexpr double kSpeed = 50;
constexpr auto kStep = std::chrono::milliseconds(10);
constexpr KivTime kCacheTicks = 20 * kTicksPerSecond;  // what the server and the client keep

// When the server sent the data message that ends at each time.
class SendTimes {
 public:
  void Sent(KivTime to) {
    std::lock_guard lock(mutex_);
    sent_[to] = Clock::now();
  }
  void Told(KivTime to) {
    std::lock_guard lock(mutex_);
    const auto found = sent_.find(to);
    if (found == sent_.end()) return;
    const double delay = std::chrono::duration<double, std::milli>(Clock::now() - found->second).count();
    (found->second < steadyFrom_ ? warmup_ : delays_).push_back(delay);
  }
  // Sends before `from` count as the warm-up (the first reads of every channel).
  void SteadyFrom(Clock::time_point from) {
    std::lock_guard lock(mutex_);
    steadyFrom_ = from;
  }
  std::vector<double> delays(bool warmup = false) {
    std::lock_guard lock(mutex_);
    return warmup ? warmup_ : delays_;
  }

 private:
  std::mutex mutex_;
  std::map<KivTime, Clock::time_point> sent_;
  std::vector<double> delays_;
  std::vector<double> warmup_;
  Clock::time_point steadyFrom_;
};

class Reader final : public IRtOutingEvents {
 public:
  explicit Reader(SendTimes* times) : times_(times) {}
  void OnChannelDataChanged(const std::u16string& channel, KivTime, KivTime to) override {
    if (to != kTimeMax) times_->Told(to);
    stale_.insert(channel);
  }
  void OnChannelsAdded(const std::vector<std::u16string>& names) override { stale_.insert(names.begin(), names.end()); }
  std::set<std::u16string> stale_;

 private:
  SendTimes* times_;
};

// The feed: every step, 0.5 s of every channel as one block each.
void Feed(RtServer& server, SendTimes& times, const std::atomic<bool>& stop) {
  const auto perStep = static_cast<uint32_t>(kSpeed * kStep.count() / 1000.0 * 100);
  KivTime next = 0;
  auto wake = Clock::now();
  while (!stop) {
    std::vector<DataRange> ranges;
    for (int c = 0; c < kChannels; ++c) {
      server.data().AddBlock(WireBlock{static_cast<uint64_t>(c + 1), 7, 1, next > 0, next, {kPeriod},
                                       std::vector<uint8_t>(perStep * 8, 1)});
      ranges.push_back({static_cast<uint64_t>(c + 1), next, next + (perStep - 1) * kPeriod});
    }
    const KivTime to = next + (perStep - 1) * kPeriod;
    times.Sent(to);
    server.PushChannelData(ranges);
    server.PushTimeRange(0, to);
    if (to > kCacheTicks) {
      server.data().Discard(to - kCacheTicks);
      server.PushChannelsDiscarded(to - kCacheTicks);
    }
    next = to + kPeriod;
    wake += kStep;
    std::this_thread::sleep_until(wake);
  }
}

double PeakRssMb() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
  }
  return 0;
}

void BM_LiveReplayIntoOneClient(benchmark::State& state) {
  for (auto _ : state) {
    auto server = std::make_shared<RtServer>(u"Bench");
    std::vector<WireChannel> channels(kChannels);
    for (int c = 0; c < kChannels; ++c) {
      channels[c].id = static_cast<uint64_t>(c + 1);
      channels[c].displayName = channels[c].tagName = u"Channel " + std::u16string(1, static_cast<char16_t>(u'A' + c % 26)) +
                                std::u16string(1, static_cast<char16_t>(u'0' + c / 26));
    }
    server->data().SetChannels(channels);
    RtTcpServer tcp(server);
    std::string error;
    if (Failed(tcp.Start("127.0.0.1", 0, &error))) return state.SkipWithError(error.c_str());
    SendTimes times;
    Reader reader(&times);
    const std::string port = std::to_string(tcp.port());
    CRTOutingCore core(u"rt://127.0.0.1:" + std::u16string(port.begin(), port.end()) + u"/Bench",
                       ComPtr<IKivRealTimeSettings3>(MakeKiv<CRealTimeSettings>().Get()), TcpLinkMaker(), &reader);
    const auto names = core.ChannelNames();
    if (names.empty()) return state.SkipWithError(("no channels, state " + std::to_string(static_cast<int>(core.state()))).c_str());
    reader.stale_.insert(names.begin(), names.end());
    std::atomic<bool> stop = false;
    std::thread feed([&] { Feed(*server, times, stop); });
    const KivClientThread client = KivClientThread::Current();
    const auto begin = Clock::now();
    times.SteadyFrom(begin + std::chrono::seconds(1));
    KivTime firstRead = kTimeMax;
    KivTime lastRead = kTimeMin;
    Clock::duration busy{};
    size_t reads = 0;
    while (Clock::now() - begin < std::chrono::seconds(static_cast<int>(state.range(0)))) {
      client.RunUntilIdle();
      auto stale = std::move(reader.stale_);
      reader.stale_.clear();
      const auto readStart = Clock::now();
      reads += stale.size();
      const std::vector<std::u16string> batch(stale.begin(), stale.end());
      (void)core.ReadChannels(batch);
      if (stale.count(names.front())) {
        const RtBlockList* blocks = nullptr;
        if (core.ReadChannel(names.front(), &blocks) == S_OK) {
          firstRead = std::min(firstRead, blocks->blocks().front().firstTime);
          lastRead = blocks->blocks().back().LastTime();
        }
      }
      busy += Clock::now() - readStart;
      if (stale.empty()) std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    stop = true;
    feed.join();
    tcp.Stop();
    auto delays = times.delays();
    std::sort(delays.begin(), delays.end());
    const auto at = [&](double q) { return delays.empty() ? 0.0 : delays[static_cast<size_t>(q * (delays.size() - 1))]; };
    // Samples the client read of its first channel since its first read, for all 200.
    const double samples = lastRead > firstRead ? double(lastRead) / kPeriod * kChannels : 0;
    state.counters["samples_per_s"] = samples / seconds;
    state.counters["delay_median_ms"] = at(0.5);
    state.counters["delay_p90_ms"] = at(0.9);
    state.counters["delay_p99_ms"] = at(0.99);
    state.counters["notifications"] = static_cast<double>(delays.size());
    auto warmup = times.delays(true);
    state.counters["warmup_max_ms"] = warmup.empty() ? 0.0 : *std::max_element(warmup.begin(), warmup.end());
    state.counters["peak_rss_mb"] = PeakRssMb();
    // How much of the run the client spent in its reads, and a read's mean time.
    state.counters["read_busy"] = std::chrono::duration<double>(busy).count() / seconds;
    state.counters["read_ms"] = reads ? std::chrono::duration<double, std::milli>(busy).count() / reads : 0.0;
  }
}
BENCHMARK(BM_LiveReplayIntoOneClient)->Arg(10)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
