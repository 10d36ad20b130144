// KivConvertToTarn: an outing read whole through its interfaces, then
// written as one new store file.
#include <algorithm>

#include "sources/tarn/tarn_convert.h"
#include "sources/tarn/tarn_outing_reader.h"
#include "velmar/convert.h"

namespace velmar {

KivResult KivConvertToTarn(IKivOuting* outing, const std::u16string& path, const KivWaitForData& wait,
                           KivConvertCounts* counts) {
  if (!outing) return E_POINTER;
  TarnDataSet data;
  if (KivResult r = TarnDataSetFromOuting(outing, wait, &data); Failed(r)) return r;
  // The store keeps no channel without samples.
  std::erase_if(data.channels, [](const TarnDataSetChannel& c) { return c.blocks.empty(); });
  // The store keeps a fast lap only inside its lap range: a source that
  // doesn't say its last lap has the one after its last marker as the last.
  const std::u16string lastLap = u"Last lap number";
  if (!data.details.contains(lastLap)) {
    const auto first = data.details.find(u"First lap number");
    const double firstLap = first == data.details.end() ? 1.0 : first->second.ToDouble().value_or(1.0);
    data.details[lastLap] =
        Variant::I32(static_cast<int32_t>(firstLap) + static_cast<int32_t>(data.lapMarkers.size()));
  }
  if (KivResult r = WriteTarnDataSet(path, data); Failed(r)) return r;
  if (counts) *counts = {data.channels.size(), data.events.size(), data.constants.size()};
  return S_OK;
}

}  // namespace velmar
