// Counts a finder's OnRegionsChanged, for the finders' tests.
#pragma once

#include <gtest/gtest.h>

#include "velmar/time_regions.h"

namespace velmar::testing {

class RegionsListener final : public CTimeRegionFinderNotificationsReceiver {
 public:
  explicit RegionsListener(IKivTimeRegionFinder* finder) : finder_(finder) {
    sink_->SetReceiver(this);
    EXPECT_TRUE(sink_->Connect(finder));
  }
  ~RegionsListener() override {
    sink_->SetReceiver(nullptr);
    sink_->Disconnect(finder_);
  }
  void OnRegionsChanged() override { ++count; }
  int count = 0;

 private:
  IKivTimeRegionFinder* finder_;
  ComPtr<CTimeRegionFinderNotificationsSink<>> sink_ = MakeKiv<CTimeRegionFinderNotificationsSink<>>();
};

}  // namespace velmar::testing
