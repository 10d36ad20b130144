#include "sources/text/ascii_outing_information.h"

#include "sources/text/ascii_outing_job_item.h"

namespace velmar {
namespace {

PropertyList ToList(const std::vector<InformationProperty>& properties) {
  PropertyList list;
  for (const auto& p : properties) list.push_back({p.property, p.value});
  return list;
}

}  // namespace

CAsciiOutingInformation::CAsciiOutingInformation(const std::vector<InformationProperty>& properties,
                                                 FastLapInput fastLap, COutingInformationCache* cache)
    : COutingInformationBase(ToList(properties), std::move(fastLap), cache) {}

FastLapInput FastLapInputOf(const AsciiOutingData& data) {
  FastLapInput input;
  for (const TextLapMarker& marker : data.lapMarkers) input.markers.push_back(marker.time);
  input.hasChannels = !data.channels.empty();
  input.channelStart = data.channelStart;
  input.channelEnd = data.channelEnd;
  input.outingStart = data.outingStart;
  input.outingEnd = data.outingEnd;
  return input;
}

}  // namespace velmar
