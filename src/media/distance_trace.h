// DistanceTrace: a distance channel's samples held for the distance route,
// with the three questions the route asks: the distance at a time, the
// nearest sample's, and when the car first reaches a distance.
//
// A whole clip maps thousands of frames, each asking both outings once, so
// the samples are copied out of the channel once and searched by halving;
// the first time a distance is reached is found on the running maximum, so
// a car that reverses still gives the first crossing.
//
// Immutable once read; any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "velmar/data_block.h"
#include "velmar/result.h"
#include "velmar/types.h"

namespace velmar {

class DistanceTrace {
 public:
  DistanceTrace() = default;
  // `times` ascending, as long as `values`; samples with a NaN are dropped.
  DistanceTrace(std::vector<KivTime> times, std::vector<double> values);

  // Every block of the channel behind `data`. E_FAIL when it has none,
  // the iterator's own failure when its blocks can't be read.
  [[nodiscard]] static KivResult Read(IKivChannelIterator* data, DistanceTrace* trace);

  bool empty() const { return times_.empty(); }

  // Interpolated between the samples round `time`; false outside them.
  bool ValueAt(KivTime time, double* value) const;
  // The first sample strictly after `time` (kFindNextAfter), the last
  // strictly before (kFindLastBefore), or the nearest (kFindNearest).
  bool SampleValue(KivTime time, int32_t mode, double* value) const;
  // Interpolated, else the nearest sample's value.
  bool ValueOrNearest(KivTime time, double* value) const;
  // When the distance first meets or crosses `distance`, interpolated;
  // false when it never does.
  bool TimeOf(double distance, KivTime* time) const;

 private:
  std::vector<KivTime> times_;
  std::vector<double> values_;
  std::vector<double> runningMax_;
};

}  // namespace velmar
