#include "sources/tarn/tarn_data_set.h"

#include <limits>

namespace velmar {
namespace {

const char16_t* TextOf(const TarnPropertyMap& map, std::u16string_view name) {
  auto it = map.find(std::u16string(name));
  if (it == map.end()) return nullptr;
  const std::u16string* text = it->second.AsText();
  return text ? text->c_str() : nullptr;
}

std::optional<double> NumberOf(const TarnPropertyMap& map, std::u16string_view name) {
  auto it = map.find(std::u16string(name));
  return it == map.end() ? std::nullopt : it->second.ToDouble();
}

template <class T>
T NumberOr(const TarnPropertyMap& map, std::u16string_view name, T fallback) {
  auto v = NumberOf(map, name);
  return v ? static_cast<T>(*v) : fallback;
}

}  // namespace

TarnOutingRecord DetailsRecord(const TarnPropertyMap& map) {
  namespace p = tarn_property;
  TarnOutingRecord r{};
  auto fastTime = map.find(std::u16string(p::kFastLapTime));
  if (fastTime != map.end()) r.fastLapTime = fastTime->second.AsTime().value_or(0);
  r.createDate = NumberOr<double>(map, p::kCreateDate, 0.0);
  r.trackName = TextOf(map, p::kTrackName);
  r.driverName = TextOf(map, p::kDriverName);
  r.shortComment = TextOf(map, p::kShortComment);
  r.longComment = TextOf(map, p::kLongComment);
  r.timeZone = TextOf(map, p::kTimeZone);
  r.systemDetails = TextOf(map, p::kSystemDetails);
  r.carName = TextOf(map, p::kCarName);
  r.sessionNumber = NumberOr<uint32_t>(map, p::kSessionNumber, 0);
  r.outingNumber = NumberOr<uint32_t>(map, p::kOutingNumber, 0);
  r.firstLapNumber = NumberOr<uint32_t>(map, p::kFirstLapNumber, 1);
  // Without them, a last lap below the first and a fast lap outside the range.
  r.lastLapNumber = NumberOr<uint32_t>(map, p::kLastLapNumber, r.firstLapNumber ? r.firstLapNumber - 1 : 0);
  r.fastLapNumber = NumberOr<uint32_t>(map, p::kFastLapNumber, UINT32_MAX);
  r.datasetType = NumberOr<uint32_t>(map, p::kDatasetType, 0);
  r.utcDifference = NumberOr<int32_t>(map, p::kUtcDifference, 0);
  r.engineTest = NumberOr<double>(map, p::kEngineTest, 0.0) != 0.0 ? 1 : 0;
  return r;
}

TarnChannelDescription ChannelDescription(const TarnDataSetChannel& c, const std::u16string& keyText) {
  TarnChannelDescription d{};
  d.displayMaximum = c.displayMaximum;
  d.displayMinimum = c.displayMinimum;
  d.rangeHigh = 1000.0;
  d.rangeLow = 0.0;
  d.displayName = keyText.c_str();
  d.tagName = c.name.c_str();
  d.userType = c.userType.c_str();
  d.decimalPlaces = c.decimalPlaces;
  d.quantityId = c.quantity;
  d.unitId = c.unit;
  d.colour = c.colour;
  d.revision = 1;
  d.flags = 7;
  d.sampleType = static_cast<uint32_t>(TarnSampleType::kDouble);
  d.autoscale = c.autoscale ? 1 : 0;
  d.reserved = 0;
  return d;
}

[[nodiscard]] KivResult CheckBlock(const TarnDataSetBlock& b) {
  if (b.values.empty() || b.values.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
    return E_INVALIDARG;
  if (b.period <= 0 && b.times.size() != b.values.size()) return E_INVALIDARG;
  return S_OK;
}

TarnChannelData BlockRecord(const TarnDataSetBlock& b) {
  TarnChannelData d{};
  d.periodic = b.period > 0 ? 1 : 0;
  d.times = d.periodic ? &b.period : b.times.data();
  d.firstTime = d.periodic ? b.firstTime : b.times.front();
  d.samples = b.values.data();
  d.count = static_cast<int32_t>(b.values.size());
  d.continuous = b.continuous ? 1 : 0;
  return d;
}

}  // namespace velmar
