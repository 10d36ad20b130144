#include "sources/tarn/tarn_channel_data.h"

#include <cstdint>
#include <cstring>

namespace velmar {
namespace {

template <class T>
void Widen(const void* samples, std::span<double> out) {
  const auto* bytes = static_cast<const unsigned char*>(samples);
  for (size_t i = 0; i < out.size(); ++i) {
    T v;
    std::memcpy(&v, bytes + i * sizeof(T), sizeof(T));  // the store's arrays need not be aligned
    out[i] = static_cast<double>(v);
  }
}

// Doubles that the records hold aligned are kept where they are, the
// records alive with them; any other type is widened into a new array.
LockedArray<double> Values(const TarnChannelData& r, uint32_t sampleType, const std::shared_ptr<const void>& owner) {
  const auto count = static_cast<uint32_t>(r.count);
  if (owner && sampleType == static_cast<uint32_t>(TarnSampleType::kDouble) &&
      reinterpret_cast<uintptr_t>(r.samples) % alignof(double) == 0) {
    return LockedArray<double>::Borrow({static_cast<const double*>(r.samples), count}, owner);
  }
  return SamplesAsDoubles(r.samples, count, sampleType);
}

[[nodiscard]] KivResult MakeSection(const TarnChannelData& r, uint32_t sampleType,
                                    const std::shared_ptr<const void>& owner,
                                    std::shared_ptr<const DataSection>* out) {
  const auto count = static_cast<uint32_t>(r.count);
  LockedArray<double> values = Values(r, sampleType, owner);
  if (values.empty()) return E_INVALIDARG;
  if (r.periodic) return DataSection::MakePeriodic(std::move(values), r.firstTime, r.times[0], out);
  return DataSection::MakeAperiodic(std::move(values), LockedArray<KivTime>::Copy({r.times, count}), out);
}

}  // namespace

bool ValidChannelData(std::span<const TarnChannelData> records) {
  for (const TarnChannelData& r : records) {
    if (r.count <= 0 || !r.samples || !r.times) return false;
    if (!r.periodic && r.times[0] != r.firstTime) return false;
  }
  return true;
}

LockedArray<double> SamplesAsDoubles(const void* samples, uint32_t count, uint32_t sampleType) {
  if (count == 0 || !samples || sampleType >= kTarnSampleTypeCount) return {};
  auto values = LockedArray<double>::Uninitialized(count);
  std::span<double> out = values.Writable();
  switch (static_cast<TarnSampleType>(sampleType)) {
    case TarnSampleType::kUInt8: Widen<uint8_t>(samples, out); break;
    case TarnSampleType::kUInt16: Widen<uint16_t>(samples, out); break;
    case TarnSampleType::kUInt32: Widen<uint32_t>(samples, out); break;
    case TarnSampleType::kInt8: Widen<int8_t>(samples, out); break;
    case TarnSampleType::kInt16: Widen<int16_t>(samples, out); break;
    case TarnSampleType::kInt32: Widen<int32_t>(samples, out); break;
    case TarnSampleType::kFloat: Widen<float>(samples, out); break;
    case TarnSampleType::kDouble: Widen<double>(samples, out); break;
  }
  return values;
}

ChannelSections ChannelBlocks(std::span<const TarnChannelData> records, uint32_t sampleType,
                              const std::shared_ptr<const void>& owner) {
  if (!ValidChannelData(records)) return {};
  ChannelSections blocks;
  blocks.reserve(records.size());
  for (const TarnChannelData& r : records) {
    ChannelSection block{nullptr, r.continuous != 0};
    if (Failed(MakeSection(r, sampleType, owner, &block.data))) return {};
    blocks.push_back(std::move(block));
  }
  return blocks;
}

}  // namespace velmar
