// CAverageSpeedCalculator: the average speed over a stretch of an outing,
// from the corrected-distance channel that the common channels name,
// reached through a data selection binding (its root's common channels,
// its channel factory). Two samples are read per answer; the channel and
// its iterator are found again only after something they hang on changed,
// and the first such change after a clean state tells the callback.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <optional>

#include "velmar/channel.h"
#include "velmar/data_block.h"
#include "velmar/data_factory.h"
#include "velmar/velmar_notifications.h"

namespace velmar {

class CAverageSpeedCalculatorCallback {
 public:
  // The speed may have changed: a caption showing it is stale.
  virtual void OnAverageSpeedInvalid() = 0;

 protected:
  ~CAverageSpeedCalculatorCallback() = default;
};

class CAverageSpeedCalculator final : private CVelmarNotificationsReceiver, private CDataNotificationsReceiver {
 public:
  explicit CAverageSpeedCalculator(CAverageSpeedCalculatorCallback* callback);
  ~CAverageSpeedCalculator() override;
  CAverageSpeedCalculator(const CAverageSpeedCalculator&) = delete;
  CAverageSpeedCalculator& operator=(const CAverageSpeedCalculator&) = delete;

  // The selection binding (a data factory under a root), or none.
  void SetSelection(IKivUnknown* binding);
  // The stretch, in ticks; a changed pair makes the speed stale.
  void SetRange(KivTime from, KivTime to);
  // Metres per second (the base unit of speed) over the stretch; nothing on
  // any failure.
  std::optional<double> Speed();

 private:
  static constexpr uint32_t kFindChannel = 1;   // bit 0: find the distance channel again
  static constexpr uint32_t kTakeIterator = 2;  // bit 1: take its iterator again
  static constexpr uint32_t kRange = 4;

  void MarkDirty(uint32_t bits);
  void ReleaseChannel();
  bool Refresh();
  std::optional<double> DistanceAt(KivTime time);

  // CVelmarNotificationsReceiver
  void CommonChannelsChanged(IKivVelmar*) override { MarkDirty(kFindChannel | kTakeIterator); }
  void Closing(IKivVelmar*) override { SetSelection(nullptr); }
  // CDataNotificationsReceiver
  void OnDataChanged(IKivData*, KivTime, KivTime) override { MarkDirty(kTakeIterator); }
  void OnDataRemoved(IKivData*) override { MarkDirty(kFindChannel | kTakeIterator); }

  CAverageSpeedCalculatorCallback* callback_;
  uint32_t dirty_ = kFindChannel | kTakeIterator;
  ComPtr<IKivDataFactory> selection_;
  ComPtr<IKivVelmar> root_;
  ComPtr<IKivChannel> channel_;
  ComPtr<IKivChannelIterator2> iterator_;
  KivTime from_ = 0;
  KivTime to_ = 0;
  ComPtr<CVelmarNotificationsSink<>> rootSink_;
  ComPtr<CDataNotificationsSink<>> dataSink_;
};

}  // namespace velmar
