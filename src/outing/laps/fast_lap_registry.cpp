#include "outing/laps/fast_lap_registry.h"

#include <cstdint>
#include <optional>
#include <vector>

#include "velmar/registry.h"

namespace velmar {
namespace {

// The little-endian number in exactly `size` bytes; nothing when the value
// is missing, of another type or of another size.
std::optional<uint64_t> ReadBytes(std::u16string_view name, size_t size) {
  RegistryKey key;
  if (Failed(RegistryKey::Open(RegHive::kCurrentUser, kOutingFactoryKey, &key))) return std::nullopt;
  std::vector<uint8_t> bytes;
  if (Failed(key.QueryBinary(name, &bytes)) || bytes.size() != size) return std::nullopt;
  uint64_t value = 0;
  for (size_t i = size; i-- > 0;) value = (value << 8) | bytes[i];
  return value;
}

KivResult WriteBytes(std::u16string_view name, uint64_t value, size_t size) {
  RegistryKey key;
  if (KivResult r = RegistryKey::Create(RegHive::kCurrentUser, kOutingFactoryKey, &key); Failed(r)) return r;
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
  return key.SetBinary(name, std::move(bytes));
}

}  // namespace

bool ReadFastLapFilterEnabled() {
  const std::optional<uint64_t> value = ReadBytes(kFastLapFilterEnabledValue, sizeof(KivBool));
  return value && *value != 0;
}

KivTime ReadFastLapMinimumTime() {
  const std::optional<uint64_t> value = ReadBytes(kFastLapMinimumTimeValue, sizeof(KivTime));
  return value ? static_cast<KivTime>(*value) : kDefaultFastLapMinimumTime;
}

FastLapSettings ReadFastLapSettings() { return FastLapSettings{ReadFastLapFilterEnabled(), ReadFastLapMinimumTime()}; }

KivResult WriteFastLapFilterEnabled(bool enabled) {
  return WriteBytes(kFastLapFilterEnabledValue, static_cast<uint16_t>(ToKivBool(enabled)), sizeof(KivBool));
}

KivResult WriteFastLapMinimumTime(KivTime minimum) {
  return WriteBytes(kFastLapMinimumTimeValue, static_cast<uint64_t>(minimum), sizeof(KivTime));
}

}  // namespace velmar
