// A channel's samples as clients read them: blocks of samples on the common
// time base (KivTime ticks of 100 ns), the list of a channel's blocks, and the
// iterator that finds a time in them.
//
// A periodic block promises one constant interval; an aperiodic block carries
// a time for every sample. Reference forms hand out the block's own arrays,
// valid while the block lives, so a client reads samples without a copy.
// Blocks, block lists and iterators are used on the client thread only.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// Search modes of FindBlock, GetSampleAtTime and GetSampleTime.
inline constexpr int32_t kFindNextAfter = 0;    // the next sample strictly after the time
inline constexpr int32_t kFindLastBefore = 1;   // the last sample strictly before the time
inline constexpr int32_t kFindNearest = 2;      // the nearest sample; half way goes to the later
// Modes of GetValueAtTime.
inline constexpr uint32_t kValueExact = 0;        // a sample at exactly that time only
inline constexpr uint32_t kValueHold = 1;         // hold the previous value
inline constexpr uint32_t kValueInterpolate = 2;  // linear interpolation
// Modes of FindTimeOfValue, with a flag.
inline constexpr uint32_t kCrossingSampleBefore = 1;  // the sample before a crossing
inline constexpr uint32_t kCrossingInterpolated = 2;  // the interpolated crossing
inline constexpr uint32_t kCrossingAcrossBreaks = 4;  // flag: interpolate across a break too
// Ranges of every search.
inline constexpr uint32_t kRangeWholeChannel = 0;
inline constexpr uint32_t kRangeSelection = 1;  // the time range of the bound data selection

struct IKivDataBlock : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{F6BD3E44-2D9E-4463-B5C3-31FF29A3BE9C}");
  // Whether this block continues the previous one without a break.
  virtual KivResult GetContinuous(KivBool* continuous) = 0;
  virtual KivResult GetPeriodic(KivBool* periodic) = 0;
  // Time of the first and last sample, the channel's offset included.
  virtual KivResult GetStartTime(KivTime* start) = 0;
  virtual KivResult GetEndTime(KivTime* end) = 0;
  // Periodic: the spacing in ticks. Aperiodic: 0 and E_UNEXPECTED.
  virtual KivResult GetInterval(KivTime* interval) = 0;
  // A copy of the sample times; the caller owns it.
  virtual KivResult GetTimes(std::vector<KivTime>* times) = 0;
  // The block's own time array, valid while the block lives.
  virtual KivResult GetTimesReference(std::span<const KivTime>* times) = 0;
  virtual KivResult GetValues(std::vector<double>* values) = 0;
  virtual KivResult GetValuesReference(std::span<const double>* values) = 0;
};

struct IKivDataBlocks : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{9C660D71-947A-416C-941D-BAA6D1FE3706}");
  virtual KivResult GetCount(uint32_t* count) = 0;
  // `index` counts from 1; out of range gives DISP_E_BADINDEX and null.
  virtual KivResult GetBlock(uint32_t index, IKivDataBlock** block) = 0;
};

// Finds times and values in a channel's blocks. A bad mode (negative or
// above 2) or range (above 1) gives E_INVALIDARG. "No sample" is S_FALSE.
struct IKivChannelIterator : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{3C01E6A0-7BCA-4375-8C22-3A5E096994A4}");
  // E_FAIL when the iterator has no blocks.
  virtual KivResult GetDataBlocks(IKivDataBlocks** blocks) = 0;
  // The block (number from 1) and sample index for `time`. On anything but
  // S_OK the block number is 1.
  virtual KivResult FindBlock(KivTime time, int32_t mode, uint32_t range, uint32_t* block,
                              uint32_t* sampleIndex) = 0;
  // The sample found for `time`. On anything but S_OK: the time the search
  // ended on (it may move `time` to just outside the range) and value 0.
  virtual KivResult GetSampleAtTime(KivTime time, int32_t mode, uint32_t range, KivTime* sampleTime,
                                    double* value) = 0;
  // When `value` is first met or crossed. S_FALSE for a time interpolated
  // across a gap between blocks; E_FAIL when never met.
  virtual KivResult FindTimeOfValue(double value, uint32_t mode, uint32_t range, KivTime* time) = 0;
  // The value at `time`: S_OK on a sample, S_FALSE when held or
  // interpolated, E_FAIL outside the data.
  virtual KivResult GetValueAtTime(KivTime time, uint32_t mode, uint32_t range, double* value) = 0;
  // As GetSampleAtTime, the time only.
  virtual KivResult GetSampleTime(KivTime time, int32_t mode, uint32_t range, KivTime* sampleTime) = 0;
};

struct IKivChannelIterator2 : IKivChannelIterator {
  static constexpr Guid iid = Guid::Literal("{BF403A10-F63C-4486-8DD3-EE585346EF67}");
  using Parent = IKivChannelIterator;
  // The last sample of the last block. E_FAIL with no blocks, as the two below.
  virtual KivResult GetLastSample(KivTime* time, double* value) = 0;
  virtual KivResult GetEndTime(KivTime* end) = 0;
  virtual KivResult GetLastValue(double* value) = 0;
};

}  // namespace velmar
