#include "outing/laps/average_speed_calculator.h"

#include "outing/channels/distance_channel.h"
#include "velmar/velmar.h"

namespace velmar {

CAverageSpeedCalculator::CAverageSpeedCalculator(CAverageSpeedCalculatorCallback* callback)
    : callback_(callback),
      rootSink_(MakeKiv<CVelmarNotificationsSink<>>()),
      dataSink_(MakeKiv<CDataNotificationsSink<>>()) {
  rootSink_->SetReceiver(static_cast<CVelmarNotificationsReceiver*>(this));
  dataSink_->SetReceiver(static_cast<CDataNotificationsReceiver*>(this));
}

CAverageSpeedCalculator::~CAverageSpeedCalculator() {
  callback_ = nullptr;
  SetSelection(nullptr);
  rootSink_->SetReceiver(nullptr);
  dataSink_->SetReceiver(nullptr);
}

void CAverageSpeedCalculator::MarkDirty(uint32_t bits) {
  const bool wasClean = dirty_ == 0;
  dirty_ |= bits;
  if (wasClean && callback_) callback_->OnAverageSpeedInvalid();
}

void CAverageSpeedCalculator::ReleaseChannel() {
  if (channel_) dataSink_->Disconnect(channel_.Get());
  channel_ = nullptr;
  iterator_ = nullptr;
}

void CAverageSpeedCalculator::SetSelection(IKivUnknown* binding) {
  ReleaseChannel();
  if (root_) rootSink_->Disconnect(root_.Get());
  root_ = nullptr;
  selection_ = QueryAs<IKivDataFactory>(binding);
  ComPtr<IKivUnknown> root;
  if (selection_ && Succeeded(selection_->GetRoot(root.Put())) && root) root_ = root.As<IKivVelmar>();
  if (root_) (void)rootSink_->Connect(root_.Get());
  MarkDirty(kFindChannel | kTakeIterator);
}

void CAverageSpeedCalculator::SetRange(KivTime from, KivTime to) {
  if (from == from_ && to == to_) return;
  from_ = from;
  to_ = to;
  MarkDirty(kRange);
}

bool CAverageSpeedCalculator::Refresh() {
  if (dirty_ & kFindChannel) {
    ReleaseChannel();
    if (!selection_ ||
        Failed(FindCommonChannel(selection_.Get(), CommonChannelRole::kCorrectedDistance, &channel_))) {
      channel_ = nullptr;
      return false;
    }
    (void)dataSink_->Connect(channel_.Get());
    dirty_ &= ~kFindChannel;
  }
  if (dirty_ & kTakeIterator) {
    iterator_ = nullptr;
    if (!channel_ || Failed(channel_->GetIterator(iterator_.Put())) || !iterator_) return false;
    dirty_ &= ~kTakeIterator;
  }
  dirty_ &= ~kRange;
  return iterator_ != nullptr;
}

std::optional<double> CAverageSpeedCalculator::DistanceAt(KivTime time) {
  double value = 0;
  if (Succeeded(iterator_->GetValueAtTime(time, kValueInterpolate, kRangeWholeChannel, &value))) return value;
  KivTime at = 0;
  if (iterator_->GetSampleAtTime(time, kFindNearest, kRangeWholeChannel, &at, &value) == S_OK) return value;
  return std::nullopt;
}

std::optional<double> CAverageSpeedCalculator::Speed() {
  if (!Refresh() || to_ == from_) return std::nullopt;
  const std::optional<double> start = DistanceAt(from_);
  const std::optional<double> end = DistanceAt(to_);
  if (!start || !end) return std::nullopt;
  return (*end - *start) / (static_cast<double>(to_ - from_) / 1e7);
}

}  // namespace velmar
