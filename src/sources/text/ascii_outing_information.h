// The information object of a text outing: the properties its
// {OutingInformation} block fills (driver, track, session...), and the fast
// lap worked out from the outing's lap markers. Changes to the block go
// through a transaction, which rewrites the file and reloads; the reload
// makes a new information object.
//
// Client thread only.
#pragma once

#include <vector>

#include "outing/information/outing_information_base.h"
#include "sources/text/text_format.h"

namespace velmar {

struct AsciiOutingData;

class CAsciiOutingInformation final : public COutingInformationBase {
 public:
  explicit CAsciiOutingInformation(const std::vector<InformationProperty>& properties,
                                   FastLapInput fastLap = {}, COutingInformationCache* cache = nullptr);
};

// What the fast lap is worked out from: a load's markers and time ranges.
FastLapInput FastLapInputOf(const AsciiOutingData& data);

}  // namespace velmar
