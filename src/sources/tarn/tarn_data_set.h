// A whole outing in plain values, as it goes into a new `.trn` file: the
// form every source's data takes on its way to the store (the CLI's
// convert, an export), and the form tests make files from.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sources/tarn/tarn_properties.h"
#include "velmar/guid.h"
#include "velmar/tarn_store.h"
#include "velmar/units.h"

namespace velmar {

// One block of samples: periodic when `period` is above 0 (then `times` is
// unused), else one time per value.
struct TarnDataSetBlock {
  KivTime firstTime = 0;
  KivTime period = 0;
  std::vector<KivTime> times;
  std::vector<double> values;
  bool continuous = false;
};

struct TarnDataSetChannel {
  std::u16string name;  // the tag name
  QuantityId quantity = kQuantityDimensionless;
  UnitId unit = kBaseUnit;
  double displayMinimum = 0.0;
  double displayMaximum = 0.0;
  std::u16string userType;
  uint32_t decimalPlaces = 2;
  uint32_t colour = 0;
  bool autoscale = false;
  std::vector<TarnDataSetBlock> blocks;
};

struct TarnDataSetEvent {
  KivTime time = 0;
  std::u16string name;  // the event set it joins
  std::u16string source;
  std::u16string message;
  std::vector<uint8_t> payload;
  std::array<uint8_t, kTarnEventFixedDataSize> fixedData{};
  uint32_t kind = 0;
};

struct TarnDataSetConstant {
  std::u16string name;
  double value = 0.0;
  std::optional<std::u16string> text;  // a text constant
  std::u16string unit;
};

struct TarnDataSetBlob {
  Guid type;
  std::u16string name;
  std::vector<uint8_t> bytes;
};

struct TarnDataSetLapMarker {
  KivTime time = 0;
  double distanceOrigin = 0.0;
  bool crossing = true;
};

struct TarnDataSet {
  // The details, by the property names of tarn_properties.h; what is missing
  // is written as nothing (texts) or 0.
  TarnPropertyMap details;
  // The outing's span; without it the store takes the span of the samples.
  std::optional<std::pair<KivTime, KivTime>> outingRange;
  std::optional<std::pair<KivTime, KivTime>> movementRange;
  std::vector<TarnDataSetChannel> channels;
  std::vector<TarnDataSetEvent> events;
  std::vector<TarnDataSetConstant> constants;
  std::vector<TarnDataSetBlob> blobs;
  std::vector<TarnDataSetLapMarker> lapMarkers;  // recorded markers
};

// The details record of a property map; texts point into `map`, which must
// outlive the record. Lap numbers missing from the map are written so that
// the store reads no fast and no last lap back.
TarnOutingRecord DetailsRecord(const TarnPropertyMap& map);

// The description record this library writes for a channel; the texts point
// into `channel` and `keyText`.
TarnChannelDescription ChannelDescription(const TarnDataSetChannel& channel, const std::u16string& keyText);
// E_INVALIDARG for a block the store can't take: no values, more than
// 2^31 - 1, or times that do not match the values of an aperiodic block.
[[nodiscard]] KivResult CheckBlock(const TarnDataSetBlock& block);
// The store's record of a block; it points into `block`.
TarnChannelData BlockRecord(const TarnDataSetBlock& block);

}  // namespace velmar
