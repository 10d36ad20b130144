// Owned blocks: blocks that hold values an owner computes (the offset
// filter, managed channels). The owner marks ranges dirty; the next read
// that refreshes has the owner recompute them in place.
#pragma once

#include <cstdint>
#include <vector>

#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_periodic.h"

namespace velmar {

// Computes the values of owned blocks. Not counted: the owner outlives its
// blocks, or calls DetachOwner on each before it goes.
struct IKivDataBlockOwner {
  // Fill values[first..last] (indexes of `block`) in place.
  [[nodiscard]] virtual KivResult ComputeValues(IKivDataBlockImplBase& block, uint32_t first, uint32_t last,
                                                std::span<double> values) = 0;

 protected:
  ~IKivDataBlockOwner() = default;
};

// What is stale in an owned block: [first, last], none when last is -1.
class DirtyRange {
 public:
  bool IsDirty() const { return first_ != 0 || last_ != -1; }
  void Clear() { first_ = 0; last_ = -1; }
  void MarkAll(uint32_t count) { first_ = 0; last_ = static_cast<int64_t>(count) - 1; }
  // Merges with what is dirty, or replaces a clean state. An empty range does nothing.
  void Mark(int64_t first, int64_t last);
  // Moves with the samples when the first n go.
  void DropFirst(uint32_t n);
  // Cuts at the new last sample.
  void DropAfter(uint32_t lastIndex);
  uint32_t first() const { return first_; }
  int64_t last() const { return last_; }

 private:
  uint32_t first_ = 0;
  int64_t last_ = -1;
};

// The owner, values and dirty range that both owned blocks share, over the
// lookups of their spacing (PeriodicDataBlock or AperiodicDataBlock).
template <class Spacing>
class IKivDataBlockImplOwnedData : public Spacing {
 public:
  KivResult ValuesArray(bool refresh, std::span<const double>* values) override;

  void DetachOwner() { owner_ = nullptr; }
  bool IsDirty() const { return dirty_.IsDirty(); }
  void ClearDirty() { dirty_.Clear(); }
  void MarkAllDirty() { dirty_.MarkAll(this->GetSampleCount()); }
  const DirtyRange& dirtyRange() const { return dirty_; }
  // Times with the offset: every sample that touches [from, to] becomes dirty.
  void MarkDirtyRange(KivTime from, KivTime to);

  // Drop the samples before / after `t`. E_INVALIDARG when none would be left.
  [[nodiscard]] KivResult TrimBefore(KivTime t);
  [[nodiscard]] KivResult TrimAfter(KivTime t);
  // The first n samples go; the rest move down. n must leave one.
  [[nodiscard]] KivResult DropFirst(uint32_t n);
  // Samples after lastIndex go.
  [[nodiscard]] KivResult DropAfter(uint32_t lastIndex);

 protected:
  template <class... Args>
  explicit IKivDataBlockImplOwnedData(IKivDataBlockOwner* owner, Args&&... args)
      : Spacing(std::forward<Args>(args)...), owner_(owner) {}
  // A value array of `count`, all dirty.
  void Allocate(uint32_t count) {
    values_.assign(count, 0.0);
    MarkAllDirty();
  }
  std::vector<double>& values() { return values_; }
  DirtyRange& dirty() { return dirty_; }
  // The spacing's own part of dropping samples (times, first/last time, count).
  virtual void OnDropFirst(uint32_t n) = 0;
  virtual void OnDropAfter(uint32_t lastIndex) = 0;

 private:
  IKivDataBlockOwner* owner_;
  DirtyRange dirty_;
  std::vector<double> values_;
};

// A periodic block whose values its owner computes. Its time array is made
// on demand and always private.
class CPeriodicOwnedDataBlock final : public IKivDataBlockImplOwnedData<PeriodicDataBlock> {
 public:
  // `count` samples from firstTime by interval (> 0), all dirty. E_INVALIDARG
  // for a bad interval, no samples, or times out of the tick range.
  [[nodiscard]] static KivResult Create(IKivDataBlockOwner* owner, KivTime firstTime, KivTime interval,
                                        uint32_t count, ComPtr<CPeriodicOwnedDataBlock>* out);

  KivResult TimesArray(std::span<const KivTime>* times) override;
  // Shrinks, or grows the grid with dirty samples. 0 gives E_INVALIDARG.
  [[nodiscard]] KivResult Resize(uint32_t count);

 private:
  CPeriodicOwnedDataBlock(IKivDataBlockOwner* owner, KivTime firstTime, KivTime lastTime, KivTime interval,
                          uint32_t count);
  KivResult ApplyOffset(KivTime oldOffset, KivTime newOffset) override;
  void OnDropFirst(uint32_t n) override;
  void OnDropAfter(uint32_t lastIndex) override;

  LockedArray<KivTime> times_;
};

// An aperiodic block whose values its owner computes, with its own time array.
class CAPeriodicOwnedDataBlock final : public IKivDataBlockImplOwnedData<AperiodicDataBlock> {
 public:
  // `times` (without offset) never decreasing, inside the tick range; all dirty.
  [[nodiscard]] static KivResult Create(IKivDataBlockOwner* owner, std::vector<KivTime> times,
                                        ComPtr<CAPeriodicOwnedDataBlock>* out);

  uint32_t GetSampleCount() const override { return static_cast<uint32_t>(times_.size()); }
  KivResult TimesArray(std::span<const KivTime>* times) override;
  // Shrinks only: new samples would have no time. Growth or 0 gives E_INVALIDARG.
  [[nodiscard]] KivResult Resize(uint32_t count);

 private:
  CAPeriodicOwnedDataBlock(IKivDataBlockOwner* owner, std::vector<KivTime> times);
  KivResult ApplyOffset(KivTime oldOffset, KivTime newOffset) override;
  void OnDropFirst(uint32_t n) override;
  void OnDropAfter(uint32_t lastIndex) override;

  std::vector<KivTime> times_;  // offset included
};

}  // namespace velmar
