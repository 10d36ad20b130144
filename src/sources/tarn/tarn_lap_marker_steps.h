// The lap marker edits of a `.trn` outing as write-back steps, and their jobs.
//
// A step holds copies of what its write needs, taken at the call; its job
// reads the store's markers again before it writes, since another writer may
// have changed them since. Each job's failure is one of the texts below.
//
// A marker placed by distance needs the outing's distance channel. When its
// data is not in at the call, the step keeps the channel and works the sums
// out when the commit reaches it; data still missing then makes the step's
// job fail with its "invalid data" text.
//
// Steps: client thread. Jobs: the store thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "outing/laps/list_lap_markers.h"
#include "sources/tarn/tarn_lap_data.h"
#include "sources/tarn/tarn_transactions.h"
#include "velmar/channel.h"
#include "writeback/write_back_step.h"

namespace velmar {

inline constexpr std::u16string_view kAddMarkerInvalid = u"Failed to add lap marker - invalid data provided";
inline constexpr std::u16string_view kAddMarkerDuplicate = u"Failed to add lap marker - duplicate lap marker found";
inline constexpr std::u16string_view kAddMarkerOutside = u"Failed to add lap marker - time lies outside outing range";
inline constexpr std::u16string_view kAddMarkerFailed = u"Failed to add lap marker";
inline constexpr std::u16string_view kRemoveMarkerFailed = u"Failed to remove lap marker";
inline constexpr std::u16string_view kResetMarkersFailed = u"Failed to reset lap markers";
inline constexpr std::u16string_view kShiftNoMarkers = u"Failed to shift lap markers - no relevant lap markers selected";
inline constexpr std::u16string_view kShiftNoOffset = u"Failed to shift lap markers - no time offset provided";
inline constexpr std::u16string_view kShiftMismatch = u"Failed to shift lap markers - mismatch detected";
inline constexpr std::u16string_view kShiftFailed = u"Failed to shift lap markers";

// --- Jobs ----------------------------------------------------------------------

// What every marker job shares: the commit's write access.
class CTarnLapMarkerJobItem : public CWriteBackJobItem {
 public:
  CTarnLapMarkerJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access)
      : CWriteBackJobItem(owner), access_(std::move(access)) {}

 protected:
  // The markers as the store has them now, through the write (so earlier
  // steps of the commit are seen).
  [[nodiscard]] KivResult ReadMarkers(std::vector<TarnLapMarker>* markers) const;
  [[nodiscard]] KivResult ReadOutingRange(KivTime* start, KivTime* end) const;
  ComPtr<IKivTarnLapMarkerWriter> Writer() const;

 private:
  ComPtr<CTarnOutingTransactionJobItem> access_;
};

// A new marker at baseTime + offset; `ready` false when its sums could not be done.
struct LapMarkerAddition {
  KivTime baseTime = 0;
  KivTime offset = 0;
  double origin = 0.0;
  bool ready = false;
};

class CWBTarnLapMarkerAddLMJobItem final : public CTarnLapMarkerJobItem {
 public:
  CWBTarnLapMarkerAddLMJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access,
                               const LapMarkerAddition& add)
      : CTarnLapMarkerJobItem(owner, std::move(access)), add_(add) {}

 protected:
  KivResult Run() override;

 private:
  const LapMarkerAddition add_;
};

class CWBTarnLapMarkerRemoveJobItem final : public CTarnLapMarkerJobItem {
 public:
  CWBTarnLapMarkerRemoveJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access, uint32_t index,
                                uint64_t id)
      : CTarnLapMarkerJobItem(owner, std::move(access)), index_(index), id_(id) {}

 protected:
  KivResult Run() override;

 private:
  const uint32_t index_;  // 0-based
  const uint64_t id_;
};

class CWBTarnLapMarkerResetJobItem final : public CTarnLapMarkerJobItem {
 public:
  using CTarnLapMarkerJobItem::CTarnLapMarkerJobItem;

 protected:
  KivResult Run() override;
};

// The crossing markers, in list order, with their new offsets and the
// distance they were shifted by.
struct LapMarkerShift {
  std::vector<uint64_t> ids;
  std::vector<KivTime> offsets;
  std::vector<double> shifts;
  bool ready = false;
};

class CWBTarnLapMarkerShiftJobItem final : public CTarnLapMarkerJobItem {
 public:
  CWBTarnLapMarkerShiftJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access,
                               LapMarkerShift shift)
      : CTarnLapMarkerJobItem(owner, std::move(access)), shift_(std::move(shift)) {}

 protected:
  KivResult Run() override;

 private:
  const LapMarkerShift shift_;
};

// --- Sums ------------------------------------------------------------------------

// What an addition is checked against: the markers and span as read at the call.
struct LapMarkerContext {
  std::vector<KivTime> markerTimes;
  std::optional<LapSpan> span;  // none when the markers were not read
  double origin = 0.0;
};

// The addition at `time` over the distance data (null while missing): with
// origin 0 no data is needed. E_FAIL when a conversion fails.
[[nodiscard]] KivResult AddAtTime(KivTime time, const LapMarkerContext& context, IKivChannelIterator* data,
                                  LapMarkerAddition* add);
// The addition at `distance`. E_INVALIDARG when the distance is never
// reached, KIV_E_MARKER_EXISTS on a marker's time; `delayed` (the data came
// after the call) also refuses a time outside the span.
[[nodiscard]] KivResult AddAtDistance(double distance, const LapMarkerContext& context, IKivChannelIterator* data,
                                      bool delayed, LapMarkerAddition* add);
// Each marker's offset for a shift by `distance`. KIV_E_GLOBAL_TIME when a
// conversion fails.
[[nodiscard]] KivResult ShiftOffsets(const std::vector<KivTime>& baseTimes, double distance,
                                     IKivChannelIterator* data, std::vector<KivTime>* offsets);

// --- Steps -------------------------------------------------------------------------

class CTarnLapMarkerStep : public CWriteBackStateMachineBase {
 public:
  explicit CTarnLapMarkerStep(CWriteBackStateChanges* receiver) : CWriteBackStateMachineBase(receiver) {}
  AsyncThread GetJobThread() override;

 protected:
  static ComPtr<CTarnOutingTransactionJobItem> Access(CJobItem* writeAccess);
};

// CWBTarnLapMarkerAddAtTimeSM and CWBTarnLapMarkerAddAtDistanceSM in one:
// what differs is the sum that gives the addition.
class CWBTarnLapMarkerAddSM final : public CTarnLapMarkerStep {
 public:
  enum class By { kTime, kDistance };
  // `channel` the distance channel, kept for sums the call could not do.
  CWBTarnLapMarkerAddSM(CWriteBackStateChanges* receiver, By by, double at, LapMarkerContext context,
                        ComPtr<IKivChannel> channel, const LapMarkerAddition& add)
      : CTarnLapMarkerStep(receiver), by_(by), at_(at), context_(std::move(context)), channel_(std::move(channel)),
        add_(add) {}
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;

 private:
  const By by_;
  const double at_;  // the time or the distance
  const LapMarkerContext context_;
  ComPtr<IKivChannel> channel_;
  LapMarkerAddition add_;
};

class CWBTarnLapMarkerRemoveSM final : public CTarnLapMarkerStep {
 public:
  CWBTarnLapMarkerRemoveSM(CWriteBackStateChanges* receiver, uint32_t index, uint64_t id)
      : CTarnLapMarkerStep(receiver), index_(index), id_(id) {}
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;

 private:
  const uint32_t index_;
  const uint64_t id_;
};

class CWBTarnLapMarkerResetSM final : public CTarnLapMarkerStep {
 public:
  using CTarnLapMarkerStep::CTarnLapMarkerStep;
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;
};

class CWBTarnLapMarkerShiftSM final : public CTarnLapMarkerStep {
 public:
  CWBTarnLapMarkerShiftSM(CWriteBackStateChanges* receiver, double distance, std::vector<KivTime> baseTimes,
                          ComPtr<IKivChannel> channel, LapMarkerShift shift)
      : CTarnLapMarkerStep(receiver), distance_(distance), baseTimes_(std::move(baseTimes)),
        channel_(std::move(channel)), shift_(std::move(shift)) {}
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;

 private:
  const double distance_;
  const std::vector<KivTime> baseTimes_;
  ComPtr<IKivChannel> channel_;
  LapMarkerShift shift_;
};

}  // namespace velmar
