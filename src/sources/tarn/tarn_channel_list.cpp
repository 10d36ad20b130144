#include "sources/tarn/tarn_channel_list.h"

#include <algorithm>

#include "velmar/channel_key.h"

namespace velmar {

TarnChannelMap BuildChannelMap(std::span<const TarnChannelDescription> records, QuantityId maxQuantity) {
  TarnChannelMap map;
  for (const TarnChannelDescription& r : records) {
    if (!r.tagName || !*r.tagName || r.quantityId < 0) continue;
    uint32_t quantity = r.quantityId > maxQuantity ? 0 : static_cast<uint32_t>(r.quantityId);
    CChannelKey key(r.tagName, quantity);
    if (!key.valid() || r.sampleType >= kTarnSampleTypeCount) continue;
    map.try_emplace(key.text(), TarnChannelEntry{r.id, r.sampleType});
  }
  return map;
}

QuantityId KnownMaxQuantity() {
  ComPtr<IKivUnitTable> table;
  std::vector<QuantityId> ids;
  if (Failed(CreateUnitsComponent(&table)) || Failed(table->GetQuantityIds(&ids)) || ids.empty()) return 0;
  return *std::max_element(ids.begin(), ids.end());
}

TarnChannelListChange ReconcileChannelList(const std::map<std::u16string, uint64_t>& held,
                                           const TarnChannelMap& read) {
  TarnChannelListChange change;
  for (const auto& [name, id] : held) {
    auto it = read.find(name);
    if (it == read.end()) {
      change.removed.push_back(name);
    } else if (it->second.id == id) {
      change.kept.push_back(name);
    } else {
      change.replaced.push_back(name);
    }
  }
  for (const auto& [name, entry] : read) {
    auto it = held.find(name);
    if (it == held.end() || it->second != entry.id) change.added.push_back(name);
  }
  return change;
}

}  // namespace velmar
