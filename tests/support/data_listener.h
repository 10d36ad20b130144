// Listens to a data item's notifications, on all three points, and logs
// each call into one shared log, so tests can check order across points.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "velmar/channel.h"

namespace velmar::testing {

// "internal", "changed:<from>:<to>", "removed", "failed". A generation-1
// listener logs with a "1:" prefix, so order between generations shows.
class CDataListener final : public CDataNotifications2Receiver, public CInternalDataNotificationsReceiver {
 public:
  explicit CDataListener(std::vector<std::string>* log, bool generation1 = false) : log_(log) {
    if (generation1) gen1_ = MakeKiv<CDataNotificationsSink<>>();
    else gen2_ = MakeKiv<CDataNotifications2Sink<>>();
    internal_ = MakeKiv<CInternalDataNotificationsSink<>>();
  }
  ~CDataListener() override { Disconnect(); }

  // Connects to `item`; false if any point refused.
  bool Connect(IKivData* item, bool internal = true) {
    item_ = item;
    bool ok = true;
    if (gen1_) {
      gen1_->SetReceiver(this);
      ok = gen1_->Connect(item) && ok;
    } else {
      gen2_->SetReceiver(this);
      ok = gen2_->Connect(item) && ok;
    }
    if (internal) {
      internal_->SetReceiver(this);
      ok = internal_->Connect(item) && ok;
    }
    return ok;
  }
  void Disconnect() {
    if (!item_) return;
    if (gen1_) {
      gen1_->SetReceiver(nullptr);
      gen1_->Disconnect(item_.Get());
    }
    if (gen2_) {
      gen2_->SetReceiver(nullptr);
      gen2_->Disconnect(item_.Get());
    }
    internal_->SetReceiver(nullptr);
    internal_->Disconnect(item_.Get());
    item_ = nullptr;
  }

  void OnDataChanged(IKivData*, KivTime from, KivTime to) override {
    Log("changed:" + std::to_string(from) + ":" + std::to_string(to));
    if (onChanged) onChanged();
  }
  void OnDataRemoved(IKivData*) override { Log("removed"); }
  void OnDataFailed(IKivData*) override { Log("failed"); }
  void OnInternalDataChanged(IKivData*) override { log_->push_back("internal"); }

  // Runs inside each change notification, after it is logged.
  std::function<void()> onChanged;

 private:
  void Log(const std::string& entry) { log_->push_back((gen1_ ? "1:" : "") + entry); }

  std::vector<std::string>* log_;
  ComPtr<IKivData> item_;
  ComPtr<CDataNotificationsSink<>> gen1_;
  ComPtr<CDataNotifications2Sink<>> gen2_;
  ComPtr<CInternalDataNotificationsSink<>> internal_;
};

}  // namespace velmar::testing
