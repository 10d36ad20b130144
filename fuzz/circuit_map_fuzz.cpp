// Feeds bytes to the circuit map's JSON reader. A map that is taken must
// hold only markers on the lap and segments between markers that exist, and
// must write back to JSON that reads again to the same map; a refused one
// must leave the map as it was.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "regions/circuit_map.h"

namespace {

using namespace velmar;

void Check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "circuit_map_fuzz: %s\n", what);
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CircuitMapContent content;
  std::string error;
  if (!ParseCircuitMap(text, &content, &error)) {
    Check(!error.empty(), "a refusal names no fault");
    return 0;
  }
  for (double distance : content.markerDistances) Check(distance >= 0 && distance <= content.lapLength, "marker off the lap");
  for (const auto& [start, end] : content.segmentMarkers) {
    Check(start >= 0 && end >= 0 && static_cast<size_t>(start) < content.markerDistances.size() &&
              static_cast<size_t>(end) < content.markerDistances.size(),
          "segment names a missing marker");
  }
  auto map = MakeKiv<CCircuitMap>();
  Check(map->LoadJson(text, nullptr) == S_OK, "a parsed map is refused");
  std::string saved;
  Check(map->SaveJson(&saved) == S_OK, "the map does not save");
  CircuitMapContent again;
  Check(ParseCircuitMap(saved, &again, &error), "the saved map does not read back");
  Check(again.segmentMarkers == content.segmentMarkers && again.segmentNames == content.segmentNames &&
            again.markerDistances.size() == content.markerDistances.size(),
        "the saved map differs");
  std::span<const CircuitSegment> segments;
  Check(map->GetSegments(&segments) == S_OK && segments.size() == content.segmentNames.size(), "segments lost");
  Check(map->LoadJson("{", nullptr) == E_INVALIDARG, "junk taken");
  Check(map->GetSegments(&segments) == S_OK && segments.size() == content.segmentNames.size(), "a refusal changed it");
  return 0;
}
