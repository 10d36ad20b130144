#include "sources/text/ascii_channel_write.h"

#include <algorithm>

#include "sources/text/ascii_outing.h"
#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/fast_iterator.h"
#include "velmar/channel_key.h"

namespace velmar {

namespace {

double PropertyNumber(const CExportChannel& item, const char16_t* key) {
  auto it = item.properties.find(key);
  return it == item.properties.end() ? 0.0 : it->second.ToDouble().value_or(0.0);
}

// An item's collected blocks read through a fast iterator, for the group's grid.
class ItemSampler final : public TextGroupSampler {
 public:
  explicit ItemSampler(const CExportChannel& item) {
    auto blocks = std::make_shared<DataBlockList>(item.blocks());
    fast_.Attach(MakeKiv<CChannelIterator>(std::move(blocks), nullptr, nullptr).Get());
  }
  Result At(KivTime t, double* value) override { return static_cast<Result>(fast_.GetValue(t, value)); }

 private:
  CFastIterator fast_;
};

// All of an item's samples in two arrays, times as the item holds them.
bool Flatten(const CExportChannel& item, std::vector<KivTime>* times, std::vector<double>* values) {
  for (const ComPtr<IKivDataBlockImplBase>& block : item.blocks()) {
    std::span<const KivTime> t;
    std::span<const double> v;
    if (Failed(block->TimesArray(&t)) || Failed(block->ValuesArray(false, &v))) return false;
    times->insert(times->end(), t.begin(), t.end());
    values->insert(values->end(), v.begin(), v.end());
  }
  return true;
}

}  // namespace

std::u16string TextColumnName(const CExportChannel& item) {
  CChannelKey key;
  return CChannelKey::Parse(item.GetName(), &key) ? key.name() : item.GetName();
}

std::u16string TextUnitText(const CExportChannel& item) {
  const auto quantity = static_cast<QuantityId>(PropertyNumber(item, u"Quantity"));
  std::u16string text;
  if (quantity != kQuantityDimensionless && item.converter()) {
    // The unit's short text, as a header carries it and the reader finds it again.
    const auto unit = static_cast<UnitId>(PropertyNumber(item, u"Unit"));
    auto table = QueryAs<IKivUnitTable>(item.converter());
    if (!table || Failed(table->GetUnitText(quantity, unit, &text))) {
      (void)item.converter()->GetUnitName(quantity, unit, &text);
    }
    return text;
  }
  auto it = item.properties.find(u"User type");
  return it == item.properties.end() ? std::u16string() : it->second.ToText();
}

bool CAsciiWriteBackChannelJobItem::Validate() {
  std::vector<TextColumn> columns;
  if (!access() || !access()->handles().ReadChannels(&columns).ok()) return false;
  return std::none_of(items().begin(), items().end(), [&](const std::unique_ptr<CExportChannel>& item) {
    const std::u16string name = TextColumnName(*item);
    return std::any_of(columns.begin(), columns.end(), [&](const TextColumn& c) { return c.name == name; });
  });
}

KivResult CAsciiWriteBackChannelJobItem::Write() {
  CAsciiFileHandles& file = access()->handles();
  // Values are in the destination's unit already: the items scaled them.
  if (!items().empty() && items().front()->resampled()) {
    std::vector<ItemSampler> samplers;
    samplers.reserve(items().size());
    std::vector<TextGroupChannel> group;
    for (const auto& item : items()) {
      samplers.emplace_back(*item);
      group.push_back({TextColumnName(*item), TextUnitText(*item), item->blocks().front()->StartTime(),
                       item->blocks().back()->EndTime(), item->period(), 1.0, 0.0, &samplers.back()});
    }
    return file.WriteChannelGroup(group, 0).ok() ? S_OK : E_FAIL;
  }
  for (const auto& item : items()) {
    std::vector<KivTime> times;
    std::vector<double> values;
    if (!Flatten(*item, &times, &values)) return E_FAIL;
    const TextChannelData data{TextColumnName(*item), TextUnitText(*item), times, values, 1.0, 0.0};
    if (!file.WriteChannel(data, 0).ok()) return E_FAIL;
  }
  return S_OK;
}

KivResult CAsciiOuting::WriteRequest(const WriteChannelsRequest& request) {
  OutingWriterCache<CAsciiOutingCache, CAsciiWriteBackChannelStateMachine> answers(
      cache(), channels().AsDataFactory(), cache()->channel_write_back(), [](CAsciiOutingCache& c, const std::u16string& name) {
        const NameList names = c.ChannelNames();
        return std::find(names.begin(), names.end(), name) != names.end();
      });
  return velmar::WriteChannels(answers, request);
}

}  // namespace velmar
