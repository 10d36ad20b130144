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
  if (KivResult r = WriteTarnDataSet(path, data); Failed(r)) return r;
  if (counts) *counts = {data.channels.size(), data.events.size(), data.constants.size()};
  return S_OK;
}

}  // namespace velmar
