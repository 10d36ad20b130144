// In-memory sources for the channel tests: raw columns a file channel reads
// (CMemoryRawChannels), and a scripted per-channel fetch that runs on the
// real worker thread (MemoryFetchScript), with a gate to
// hold a fetch on the worker while a test acts on the client thread.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "jobs/job_thread.h"
#include "outing/channels/channel_data_cache.h"
#include "outing/channels/channel_file.h"
#include "outing/channels/channel_raw.h"

namespace velmar::testing {

// The worker thread the scripted fetches run on.
inline AsyncThread ChannelFetchThread() {
  static constinit CachedJobThread thread(u"Channel_Fetch_Thread");
  return thread.Get();
}

// What the fetches of one test answer, in order; S_OK once the list is used
// up. A successful fetch gives `sections`.
class MemoryFetchScript {
 public:
  void Answer(std::vector<KivResult> results) {
    std::lock_guard lock(mu_);
    results_.assign(results.begin(), results.end());
  }
  void Give(ChannelSections sections) {
    std::lock_guard lock(mu_);
    sections_ = std::move(sections);
  }
  void CloseGate() {
    std::lock_guard lock(mu_);
    gateClosed_ = true;
  }
  void OpenGate() {
    std::lock_guard lock(mu_);
    gateClosed_ = false;
    cv_.notify_all();
  }
  // Waits until a fetch waits at the closed gate; false on time-out.
  bool WaitAtGate(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mu_);
    return cv_.wait_for(lock, timeout, [&] { return atGate_ > 0; });
  }
  int runs() const { return runs_.load(); }
  std::vector<std::u16string> keys() const {
    std::lock_guard lock(mu_);
    return keys_;
  }

  // On the worker.
  KivResult Run(const std::u16string& key, ChannelSections* sections) {
    std::unique_lock lock(mu_);
    ++runs_;
    keys_.push_back(key);
    ++atGate_;
    cv_.notify_all();
    cv_.wait(lock, [&] { return !gateClosed_; });
    --atGate_;
    KivResult result = S_OK;
    if (!results_.empty()) {
      result = results_.front();
      results_.pop_front();
    }
    if (Succeeded(result)) *sections = sections_;
    return result;
  }

  // A factory of fetches on this script; the script must outlive them.
  ChannelFetchFactory Factory() {
    return [script = this](const CChannelKey& key) -> std::unique_ptr<CChannelDataFetch> {
      return std::make_unique<ScriptedFetch>(script, key.text());
    };
  }

 private:
  class ScriptedFetch final : public CChannelDataFetch {
   public:
    ScriptedFetch(MemoryFetchScript* script, std::u16string key) : script_(script), key_(std::move(key)) {}
    KivResult Fetch(ChannelSections* sections) override { return script_->Run(key_, sections); }

   private:
    MemoryFetchScript* script_;
    std::u16string key_;
  };

  mutable std::mutex mu_;
  std::condition_variable cv_;
  std::deque<KivResult> results_;
  ChannelSections sections_;
  bool gateClosed_ = false;
  int atGate_ = 0;
  std::atomic<int> runs_{0};
  std::vector<std::u16string> keys_;
};

// Raw columns by key text, as a loaded file cache would give them.
class CMemoryRawChannels final : public CRawChannelSource {
 public:
  uint32_t AddRef() override { return ++refs_; }
  uint32_t Release() override {
    const uint32_t n = --refs_;
    if (n == 0) delete this;
    return n;
  }
  std::shared_ptr<CRawChannelBase> GetRawChannel(const CChannelKey& key) override {
    ++asked;
    auto it = columns.find(key.text());
    return it == columns.end() ? nullptr : it->second;
  }
  // Adds a column of times (seconds) and values under `key`.
  std::shared_ptr<CRawChannelBase> Put(const CChannelKey& key, std::vector<double> times,
                                       std::vector<double> values) {
    std::shared_ptr<CRawChannelBase> raw;
    if (Failed(CRawChannelBase::Make(times, values, &raw))) return nullptr;
    columns[key.text()] = raw;
    return raw;
  }

  std::map<std::u16string, std::shared_ptr<CRawChannelBase>> columns;
  int asked = 0;

 private:
  ~CMemoryRawChannels() = default;
  std::atomic<uint32_t> refs_{0};
};

}  // namespace velmar::testing
