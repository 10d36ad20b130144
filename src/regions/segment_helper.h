// CSegmentHelper: the passages of a car through the segments of a circuit
// map, between two instants, from the map-position channel (distance along
// the lap against time). A boundary is crossed at the instant interpolated
// between the two samples around it, cut toward zero; passing the line from
// the last segment to the first is taken at the sample before the wrap. A
// jump over several segments between two samples is one crossing, into the
// segment the sample landed in.
//
// Lives for one populate of a finder; holds the map, so the arrays it reads
// stay valid. Client thread only.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "velmar/circuit_map.h"
#include "velmar/data_block.h"

namespace velmar {

struct SegmentCrossing {
  KivTime start = 0;  // first instant inside the segment
  KivTime end = 0;    // last instant
  int32_t segmentIndex = 0;
  std::u16string name;
};

class CSegmentHelper {
 public:
  // A call on the map or the iterator that fails leaves its part empty, and
  // FindCrossings then finds nothing.
  CSegmentHelper(IKivCircuitMapData2* map, IKivChannelIterator* iterator);
  virtual ~CSegmentHelper() = default;
  CSegmentHelper(const CSegmentHelper&) = delete;
  CSegmentHelper& operator=(const CSegmentHelper&) = delete;

  // The passages over [start, end], in time order; empty when nothing could
  // be worked out.
  std::vector<SegmentCrossing> FindCrossings(KivTime start, KivTime end);

  // The segment a distance lies in, with its bounds: the first segment
  // reaches down without limit, the last up without limit, and a distance
  // in a gap belongs to the next segment. False with no segments.
  bool FindSegment(double distance, int32_t* index, double* low, double* high) const;

 private:
  // Where the walk begins or ends: a sample position and the value there.
  struct WalkEnd {
    KivTime time = 0;
    double value = 0;
    uint32_t block = 0;  // from 1
    uint32_t index = 0;
  };
  bool FindStart(KivTime start, WalkEnd* at);
  bool FindEnd(KivTime end, WalkEnd* at);
  double MarkerDistance(int32_t marker) const;
  std::u16string SegmentName(int32_t index) const;

  float lapLength_ = 0;
  IKivChannelIterator* iterator_;
  ComPtr<IKivCircuitMapData2> map_;
  ComPtr<IKivDataBlocks> blocks_;
  std::span<const CircuitSegment> segments_;
  std::span<const CircuitMarker> markers_;
  std::span<const uint8_t> extraList_;
  bool haveSegments_ = false;
  bool haveMarkers_ = false;
  bool haveExtraList_ = false;
};

}  // namespace velmar
