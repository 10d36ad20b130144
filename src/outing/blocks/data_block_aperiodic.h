// Aperiodic blocks: a time for every sample. Lookups bisect the time array.
#pragma once

#include <memory>

#include "outing/blocks/data_block.h"
#include "outing/blocks/data_block_array.h"
#include "outing/blocks/data_block_section.h"

namespace velmar {

// Lookups over sample times (offset included, never decreasing, at least one).
[[nodiscard]] KivResult FindAperiodicSample(std::span<const KivTime> times, KivTime lo, KivTime hi,
                                            KivTime t, int32_t mode, uint32_t* index);
[[nodiscard]] KivResult AperiodicValueAt(std::span<const KivTime> times, std::span<const double> values,
                                         KivTime t, uint32_t mode, double* value);
[[nodiscard]] KivResult AperiodicTimeOfValue(std::span<const KivTime> times, std::span<const double> values,
                                             double value, uint32_t mode, KivTime* time);

// The lookups of every aperiodic block, whatever holds its arrays.
class AperiodicDataBlock : public IKivDataBlockImplBase {
 public:
  bool IsPeriodic() const override { return false; }
  const KivTime& GetIntervalReference() const override;
  KivResult FindSample(KivTime lo, KivTime hi, KivTime t, int32_t mode, uint32_t* index) override;
  KivResult GetTimeAt(uint32_t index, KivTime* time) override;
  KivResult FindTimeOfValue(double value, uint32_t mode, KivTime* time) override;
  KivResult GetValueAt(KivTime t, uint32_t mode, double* value) override;
  int64_t FirstIndexAtOrAfter(KivTime t) override;
  int64_t LastIndexAtOrBefore(KivTime t) override;

 protected:
  using IKivDataBlockImplBase::IKivDataBlockImplBase;

 private:
  // Times and refreshed values.
  [[nodiscard]] KivResult Arrays(std::span<const KivTime>* times, std::span<const double>* values);
};

// An aperiodic block on a source's section. At offset 0 it reads the
// section's time array; otherwise a private copy with the offset added.
class CAperiodicOutingDataBlock final : public AperiodicDataBlock {
 public:
  // `section` must be aperiodic (else E_INVALIDARG); `timeOffset` as SetTimeOffset.
  [[nodiscard]] static KivResult Create(std::shared_ptr<const DataSection> section, uint32_t blockIndex,
                                        KivTime timeOffset, bool continuous,
                                        ComPtr<CAperiodicOutingDataBlock>* out);

  uint32_t GetSampleCount() const override { return section_->sampleCount(); }
  const std::shared_ptr<const DataSection>& section() const { return section_; }
  KivResult TimesArray(std::span<const KivTime>* times) override;
  KivResult ValuesArray(bool refresh, std::span<const double>* values) override;
  bool timesShared() const { return timesShared_; }

 private:
  explicit CAperiodicOutingDataBlock(std::shared_ptr<const DataSection> section);
  KivResult ApplyOffset(KivTime oldOffset, KivTime newOffset) override;

  std::shared_ptr<const DataSection> section_;
  LockedArray<KivTime> times_;
  bool timesShared_ = true;
};

// A block over a section, periodic or not as the section is.
[[nodiscard]] KivResult MakeOutingDataBlock(std::shared_ptr<const DataSection> section, uint32_t blockIndex,
                                            KivTime timeOffset, bool continuous,
                                            ComPtr<IKivDataBlockImplBase>* out);

}  // namespace velmar
