// Periodic blocks: one constant interval, no time per sample. Lookups are a
// division; the time array exists only when asked for.
#pragma once

#include <memory>

#include "outing/blocks/data_block.h"
#include "outing/blocks/data_block_array.h"
#include "outing/blocks/data_block_section.h"

namespace velmar {

// A periodic run as the lookups see it: start (offset included), interval > 0,
// count >= 1 samples.
struct PeriodicRun {
  KivTime start = 0;
  KivTime interval = 1;
  uint32_t count = 0;

  KivTime TimeAt(uint32_t i) const { return start + static_cast<KivTime>(i) * interval; }
  KivTime End() const { return TimeAt(count - 1); }
};

// FindSample of a periodic block; see IKivDataBlockImplBase.
[[nodiscard]] KivResult FindPeriodicSample(const PeriodicRun& run, KivTime lo, KivTime hi, KivTime t,
                                           int32_t mode, uint32_t* index);
[[nodiscard]] KivResult PeriodicValueAt(const PeriodicRun& run, std::span<const double> values, KivTime t,
                                        uint32_t mode, double* value);
[[nodiscard]] KivResult PeriodicTimeOfValue(const PeriodicRun& run, std::span<const double> values,
                                            double value, uint32_t mode, KivTime* time);

// The lookups of every periodic block, whatever holds its values.
class PeriodicDataBlock : public IKivDataBlockImplBase {
 public:
  bool IsPeriodic() const override { return true; }
  const KivTime& GetIntervalReference() const override { return interval_; }
  KivResult FindSample(KivTime lo, KivTime hi, KivTime t, int32_t mode, uint32_t* index) override;
  KivResult GetTimeAt(uint32_t index, KivTime* time) override;
  KivResult FindTimeOfValue(double value, uint32_t mode, KivTime* time) override;
  KivResult GetValueAt(KivTime t, uint32_t mode, double* value) override;
  uint32_t GetSampleCount() const override { return count_; }
  int64_t FirstIndexAtOrAfter(KivTime t) override;
  int64_t LastIndexAtOrBefore(KivTime t) override;
  KivTime interval() const { return interval_; }

 protected:
  PeriodicDataBlock(KivTime firstTime, KivTime lastTime, KivTime interval, uint32_t count)
      : IKivDataBlockImplBase(firstTime, lastTime), interval_(interval), count_(count) {}
  PeriodicRun Run() const { return {StartTime(), interval_, count_}; }
  void SetCount(uint32_t count) { count_ = count; }

 private:
  KivTime interval_;
  uint32_t count_;
};

// A periodic block on a source's section. Its values are the section's; its
// time array is the section's shared one at offset 0, a private one otherwise.
class CPeriodicOutingDataBlock final : public PeriodicDataBlock {
 public:
  // `section` must be periodic (else E_INVALIDARG); `timeOffset` as SetTimeOffset.
  [[nodiscard]] static KivResult Create(std::shared_ptr<const DataSection> section, uint32_t blockIndex,
                                        KivTime timeOffset, bool continuous,
                                        ComPtr<CPeriodicOutingDataBlock>* out);

  KivResult TimesArray(std::span<const KivTime>* times) override;
  KivResult ValuesArray(bool refresh, std::span<const double>* values) override;
  // Whether the time array in use is the section's own.
  bool timesShared() const { return timesShared_; }
  const std::shared_ptr<const DataSection>& section() const { return section_; }

 private:
  explicit CPeriodicOutingDataBlock(std::shared_ptr<const DataSection> section);
  KivResult ApplyOffset(KivTime oldOffset, KivTime newOffset) override;

  std::shared_ptr<const DataSection> section_;
  LockedArray<KivTime> times_;  // empty until asked for
  bool timesShared_ = false;
};

}  // namespace velmar
