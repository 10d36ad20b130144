#include "sources/tarn/tarn_channel_write.h"

#include <algorithm>
#include <limits>

#include "sources/tarn/tarn_records.h"
#include "velmar/channel_key.h"

namespace velmar {

namespace {

double NumberOr(const std::map<std::u16string, Variant>& properties, const char16_t* key, double fallback) {
  auto it = properties.find(key);
  if (it == properties.end()) return fallback;
  return it->second.ToDouble().value_or(fallback);
}

std::u16string TextOr(const std::map<std::u16string, Variant>& properties, const char16_t* key,
                      std::u16string fallback) {
  auto it = properties.find(key);
  return it == properties.end() ? std::move(fallback) : it->second.ToText();
}

// The item's block as the store takes it, pointing into the block's own
// arrays (the job holds the items until the store has copied them), times as
// the item holds them.
KivResult ExportedBlockRecord(IKivDataBlockImplBase& block, TarnChannelData* out) {
  std::span<const double> values;
  if (Failed(block.ValuesArray(false, &values)) || values.empty() ||
      values.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
    return E_FAIL;
  }
  *out = {};
  out->samples = values.data();
  out->count = static_cast<int32_t>(values.size());
  out->continuous = block.continuous() ? 1 : 0;
  out->periodic = block.IsPeriodic() ? 1 : 0;
  if (out->periodic) {
    out->times = &block.GetIntervalReference();
    out->firstTime = block.StartTime();
    return S_OK;
  }
  std::span<const KivTime> times;
  if (Failed(block.TimesArray(&times)) || times.size() != values.size()) return E_FAIL;
  out->times = times.data();
  out->firstTime = times.front();
  return S_OK;
}

// A display limit of the property database (the quantity's base unit, as
// every value the library hands out) in the unit the channel is stored in.
double StoredDisplayLimit(const CExportChannel& item, QuantityId quantity, UnitId unit, double limit) {
  if (quantity == kQuantityDimensionless || unit == kBaseUnit) return limit;
  auto table = QueryAs<IKivUnitTable>(item.converter());
  double converted = limit;
  if (table && Succeeded(table->ConvertValue(quantity, kBaseUnit, unit, limit, &converted))) return converted;
  return limit * item.factor() + item.offset();
}

std::u16string StoredKey(const TarnDataSetChannel& channel) {
  return CChannelKey(channel.name, static_cast<uint32_t>(std::max(channel.quantity, 0))).text();
}

}  // namespace

KivResult ExportedTarnChannel(const CExportChannel& item, TarnDataSetChannel* channel) {
  CChannelKey key;
  if (!CChannelKey::Parse(item.GetName(), &key)) key = CChannelKey(item.GetName(), 0);
  const auto& p = item.properties;
  channel->name = TextOr(p, u"Tag name", key.name());
  channel->quantity = static_cast<QuantityId>(NumberOr(p, u"Quantity", key.id()));
  channel->unit = static_cast<UnitId>(NumberOr(p, u"Unit", kBaseUnit));
  const auto limit = [&](const char16_t* key) {
    return StoredDisplayLimit(item, channel->quantity, channel->unit, NumberOr(p, key, 0.0));
  };
  channel->displayMaximum = limit(u"Display maximum");
  channel->displayMinimum = limit(u"Display minimum");
  channel->userType = TextOr(p, u"User type", {});
  channel->decimalPlaces = static_cast<uint32_t>(NumberOr(p, u"Decimal places", 2));
  channel->colour = static_cast<uint32_t>(NumberOr(p, u"Color", 0));
  channel->autoscale = NumberOr(p, u"Autoscale", 0) != 0;
  return S_OK;
}

bool CWBTarnWriteChannelJobItem::Validate() {
  TarnConnection* store = access() ? access()->connection() : nullptr;
  ComPtr<IKivTarnChannelRecords> records;
  if (!store || !store->channels || Failed(store->channels->GetChannelList(kTarnWaitForever, records.Put()))) {
    return false;
  }
  for (const TarnChannelDescription& r : Items(records)) {
    if (!r.tagName || r.quantityId < 0) continue;
    const std::u16string stored = CChannelKey(r.tagName, static_cast<uint32_t>(r.quantityId)).text();
    // The key each item is stored under: a plain name takes its recorded quantity.
    const bool clash = std::any_of(items().begin(), items().end(), [&](const std::unique_ptr<CExportChannel>& item) {
      TarnDataSetChannel written;
      (void)ExportedTarnChannel(*item, &written);
      return item->GetName() == stored || StoredKey(written) == stored;
    });
    if (clash) return false;
  }
  return true;
}

KivResult CWBTarnWriteChannelJobItem::Write() {
  ComPtr<IKivTarnChannelWriter> writer = access() ? access()->Writer<IKivTarnChannelWriter>() : nullptr;
  if (!writer) return E_FAIL;
  std::vector<TarnDataSetChannel> channels(items().size());
  std::vector<std::u16string> keys;
  std::vector<TarnChannelDescription> descriptions;
  for (size_t i = 0; i < items().size(); ++i) {
    if (Failed(ExportedTarnChannel(*items()[i], &channels[i]))) return E_FAIL;
    keys.push_back(StoredKey(channels[i]));
  }
  for (size_t i = 0; i < channels.size(); ++i) descriptions.push_back(ChannelDescription(channels[i], keys[i]));
  std::vector<uint64_t> ids;
  if (Failed(writer->AddChannels(static_cast<uint32_t>(descriptions.size()), descriptions.data(), &ids)) ||
      ids.size() != descriptions.size()) {
    return E_FAIL;
  }
  std::vector<uint64_t> blockChannels;
  std::vector<TarnChannelData> blocks;
  for (size_t i = 0; i < channels.size(); ++i) {
    for (const ComPtr<IKivDataBlockImplBase>& block : items()[i]->blocks()) {
      blockChannels.push_back(ids[i]);
      if (Failed(ExportedBlockRecord(*block, &blocks.emplace_back()))) return E_FAIL;
    }
  }
  std::vector<uint64_t> blockIds;
  if (blocks.empty()) return S_OK;
  return Failed(writer->AddChannelData(static_cast<uint32_t>(blocks.size()), blockChannels.data(), blocks.data(),
                                       &blockIds))
             ? E_FAIL
             : S_OK;
}

}  // namespace velmar
