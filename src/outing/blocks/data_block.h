// The implementation side of a data block: fields every block shares and the
// operations the iterator and the channel use behind IKivDataBlock.
//
// Times here include the channel's offset unless named "first/last time"
// (the stored times, without it). Blocks are used on the client thread only.
#pragma once

#include <cstdint>
#include <span>

#include "velmar/data_block.h"

namespace velmar {

class IKivDataBlockImplBase : public KivObject<IKivDataBlock> {
 public:
  // IKivDataBlock
  KivResult GetContinuous(KivBool* continuous) override;
  KivResult GetPeriodic(KivBool* periodic) override;
  KivResult GetStartTime(KivTime* start) override;
  KivResult GetEndTime(KivTime* end) override;
  KivResult GetInterval(KivTime* interval) override;
  KivResult GetTimes(std::vector<KivTime>* times) override;
  KivResult GetTimesReference(std::span<const KivTime>* times) override;
  KivResult GetValues(std::vector<double>* values) override;
  KivResult GetValuesReference(std::span<const double>* values) override;

  // Moves the block to a new channel offset: ApplyOffset(old, new) first when
  // it differs, then the field. An offset that would push a sample time out
  // of the tick range (or onto an unbounded extreme) gives E_INVALIDARG and
  // changes nothing.
  [[nodiscard]] KivResult SetTimeOffset(KivTime offset);

  virtual bool IsPeriodic() const = 0;
  // Aperiodic: a reference to a static zero.
  virtual const KivTime& GetIntervalReference() const = 0;

  // The search inside the block for time `t`, bounded by [lo, hi]: S_OK with
  // an index, S_FALSE for no such sample (modes as IKivChannelIterator's).
  [[nodiscard]] virtual KivResult FindSample(KivTime lo, KivTime hi, KivTime t, int32_t mode,
                                             uint32_t* index) = 0;
  // E_FAIL for an index past the end.
  [[nodiscard]] virtual KivResult GetTimeAt(uint32_t index, KivTime* time) = 0;
  [[nodiscard]] KivResult GetSample(uint32_t index, KivTime* time, double* value);
  // The first sample equal to `value`, or the first crossing of it.
  [[nodiscard]] virtual KivResult FindTimeOfValue(double value, uint32_t mode, KivTime* time) = 0;
  // The value at `t`: S_OK on a sample; hold (1) or linear (2) between two.
  [[nodiscard]] virtual KivResult GetValueAt(KivTime t, uint32_t mode, double* value) = 0;

  virtual uint32_t GetSampleCount() const = 0;
  // Index of the first sample at or after t (the count when none), and of the
  // last at or before t (-1 when none).
  [[nodiscard]] virtual int64_t FirstIndexAtOrAfter(KivTime t) = 0;
  [[nodiscard]] virtual int64_t LastIndexAtOrBefore(KivTime t) = 0;
  // The times with the offset; a periodic block builds them on first demand.
  [[nodiscard]] virtual KivResult TimesArray(std::span<const KivTime>* times) = 0;
  // The values; `refresh` lets an owned block recompute what is dirty first.
  [[nodiscard]] virtual KivResult ValuesArray(bool refresh, std::span<const double>* values) = 0;

  // Puts a new block in its channel: place in the source's section list,
  // the channel's offset (as SetTimeOffset) and continuity.
  [[nodiscard]] KivResult Place(uint32_t blockIndex, KivTime timeOffset, bool continuous);

  bool continuous() const { return continuous_; }
  void SetContinuous(bool continuous) { continuous_ = continuous; }
  uint32_t blockIndex() const { return blockIndex_; }
  void SetBlockIndex(uint32_t index) { blockIndex_ = index; }
  KivTime firstTime() const { return firstTime_; }
  KivTime lastTime() const { return lastTime_; }
  KivTime timeOffset() const { return timeOffset_; }
  KivTime StartTime() const { return firstTime_ + timeOffset_; }
  KivTime EndTime() const { return lastTime_ + timeOffset_; }

 protected:
  IKivDataBlockImplBase(KivTime firstTime, KivTime lastTime) : firstTime_(firstTime), lastTime_(lastTime) {}

  // Adjusts arrays that hold the offset; runs before the field changes.
  [[nodiscard]] virtual KivResult ApplyOffset(KivTime oldOffset, KivTime newOffset) = 0;
  void SetFirstTime(KivTime t) { firstTime_ = t; }
  void SetLastTime(KivTime t) { lastTime_ = t; }

 private:
  bool continuous_ = false;
  KivTime firstTime_;
  KivTime lastTime_;
  KivTime timeOffset_ = 0;
  uint32_t blockIndex_ = 0;
};

// Whether `offset` keeps [first, last] + offset inside the tick range.
[[nodiscard]] bool OffsetFits(KivTime first, KivTime last, KivTime offset);

}  // namespace velmar

namespace velmar {

// `value` lies strictly between a and b, in either order (never for NaN).
constexpr bool StrictlyBetween(double value, double a, double b) {
  return (a < value && value < b) || (b < value && value < a);
}

// Where the line from (t0, va) to (t1, vb) meets `value`: t0 plus the
// fraction of the span, rounded half up to a tick and kept inside [t0, t1]
// (values that are not finite give t0). Requires t0 <= t1.
KivTime CrossingTime(KivTime t0, KivTime t1, double va, double vb, double value);

// The value at t on the line from (t0, va) to (t1, vb); va when t0 == t1.
double LinearValue(KivTime t0, KivTime t1, double va, double vb, KivTime t);

}  // namespace velmar
