// KivReplayServer: a recording fed into an RtServer as its time passes,
// served over TCP.
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "platform/realtime/rt_recording.h"
#include "platform/realtime/rt_tcp_server.h"
#include "velmar/realtime_server.h"
#include "velmar/text.h"

namespace velmar {

namespace {

using namespace rt;

// Where the replay stands in the recording: how far each block was sent,
// the next event and lap marker, the last discard.
struct ReplayCursor {
  std::vector<KivTime> sentTo;  // per block of the recording
  size_t nextEvent = 0;
  size_t nextLap = 0;
  KivTime discarded = kTimeMin;
};

class ReplayServer final : public KivReplayServer {
 public:
  ReplayServer(Recording recording, const KivReplayOptions& options)
      : recording_(std::move(recording)),
        options_(options),
        server_(std::make_shared<RtServer>(options.name)),
        tcp_(server_) {}
  ~ReplayServer() override { Stop(); }

  KivResult Listen(std::string* error) { return tcp_.Start(options_.address, options_.port, error); }
  void Begin() { thread_ = std::thread([this] { Run(); }); }

  uint16_t port() const override { return tcp_.port(); }
  std::u16string address() const override {
    return u"rt://" + Utf8ToWide(options_.address) + u":" + Utf8ToWide(std::to_string(tcp_.port())) + u"/" +
           options_.name;
  }
  bool finished() const override { return finished_; }
  uint64_t samples_sent() const override { return sent_; }
  uint64_t samples_held() const override { return server_->data().samples_held(); }

  void Stop() override {
    {
      std::lock_guard lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
    tcp_.Stop();
  }

 private:
  // Sleeps one step; false when stopped.
  bool Step() {
    std::unique_lock lock(mutex_);
    wake_.wait_for(lock, std::chrono::duration<double>(options_.stepSeconds), [&] { return stop_; });
    return !stop_;
  }

  void Setup() {
    LiveData& data = server_->data();
    data.Clear();
    data.SetDetails(recording_.details);
    data.SetChannels(recording_.channels);
    data.SetEventNames(recording_.eventNames);
    data.SetConstants(recording_.constants);
    data.SetBlobs(recording_.blobs);
    data.SetInformation({{u"Source", u"velmar rt-serve"}, {u"Server", options_.name}});
    if (recording_.hasMovement) data.SetMovementRange(recording_.firstMovement, recording_.lastMovement);
  }

  void Run() {
    do {
      Setup();
      server_->PushReset();
      ReplayCursor cursor;
      cursor.sentTo.assign(recording_.blocks.size(), kTimeMin);
      const auto step = static_cast<KivTime>(options_.stepSeconds * options_.speed * kTicksPerSecond);
      KivTime now = recording_.start;
      while (Step()) {
        now = std::min(now + std::max<KivTime>(step, 1), recording_.end);
        SendUpTo(now, cursor);
        if (now >= recording_.end) break;
      }
    } while (options_.loop && !stopped());
    finished_ = !stopped();
  }

  bool stopped() {
    std::lock_guard lock(mutex_);
    return stop_;
  }

  void SendUpTo(KivTime now, ReplayCursor& cursor) {
    LiveData& data = server_->data();
    std::vector<DataRange> channels;
    for (size_t i = 0; i < recording_.blocks.size(); ++i) {
      const WireBlock& block = recording_.blocks[i];
      if (block.firstTime > now || cursor.sentTo[i] >= block.LastTime()) continue;
      const KivTime from = cursor.sentTo[i] == kTimeMin ? kTimeMin : cursor.sentTo[i] + 1;
      if (auto part = CutBlock(block, from, now)) {
        channels.push_back({block.channelId, part->firstTime, part->LastTime()});
        sent_ += part->Count();
        data.AddBlock(std::move(*part));
      }
      cursor.sentTo[i] = now;
    }
    if (!channels.empty()) server_->PushChannelData(channels);
    SendEvents(now, cursor);
    for (; cursor.nextLap < recording_.laps.size(); ++cursor.nextLap) {
      const WireLapMarker& marker = recording_.laps[cursor.nextLap];
      if (marker.baseTime + marker.timeOffset > now) break;
      data.AddLapMarker(marker);
      server_->PushLapMarker(static_cast<uint32_t>(marker.id), marker.baseTime + marker.timeOffset);
    }
    const auto [start, end] = data.WidenRange(recording_.start, now);
    server_->PushTimeRange(start, end);
    const auto cache = static_cast<KivTime>(options_.cacheSeconds * kTicksPerSecond);
    if (now - cache > recording_.start && now - cache > cursor.discarded) {
      cursor.discarded = now - cache;
      data.Discard(cursor.discarded);
      server_->PushChannelsDiscarded(cursor.discarded);
      server_->PushEventsDiscarded(cursor.discarded);
    }
  }

  void SendEvents(KivTime now, ReplayCursor& cursor) {
    std::map<uint64_t, DataRange> ranges;
    for (; cursor.nextEvent < recording_.events.size(); ++cursor.nextEvent) {
      const WireEvent& event = recording_.events[cursor.nextEvent];
      if (event.time > now) break;
      auto [at, made] = ranges.try_emplace(event.nameId, DataRange{event.nameId, event.time, event.time});
      at->second.to = event.time;
      server_->data().AddEvent(event);
    }
    if (ranges.empty()) return;
    std::vector<DataRange> list;
    for (const auto& [id, range] : ranges) list.push_back(range);
    server_->PushEventData(list);
  }

  const Recording recording_;
  const KivReplayOptions options_;
  std::shared_ptr<RtServer> server_;
  RtTcpServer tcp_;
  std::thread thread_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stop_ = false;
  std::atomic<bool> finished_ = false;
  std::atomic<uint64_t> sent_ = 0;
};

}  // namespace

KivResult KivReplayServer::Start(const std::u16string& trnPath, const KivReplayOptions& options,
                                 std::unique_ptr<KivReplayServer>* server, std::string* error) {
  if (!server) return E_POINTER;
  if (!(options.speed > 0) || !(options.stepSeconds > 0) || !(options.cacheSeconds > 0)) return E_INVALIDARG;
  Recording recording;
  const KivResult r = ReadRecording(trnPath, &recording);
  if (Failed(r)) {
    if (error) *error = "cannot read the data set";
    return r;
  }
  auto replay = std::make_unique<ReplayServer>(std::move(recording), options);
  if (Failed(replay->Listen(error))) return E_FAIL;
  replay->Begin();
  *server = std::move(replay);
  return S_OK;
}

}  // namespace velmar
