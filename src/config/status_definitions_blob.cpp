#include "config/status_definitions_blob.h"

#include <array>
#include <cstring>

#include "platform/byte_cursor.h"

namespace velmar {

namespace {

constexpr std::array<uint8_t, 4> kMagic = {'K', 'S', 'D', '1'};
// The fewest bytes each record can take, so that a count is checked against
// the bytes left before anything is reserved.
constexpr size_t kMinEntry = 12;
constexpr size_t kMinField = 24;
constexpr size_t kMinDefinition = 12;

bool ReadField(ByteReader& in, StatusBitField* field) {
  uint32_t count = 0;
  in.Text(&field->textA);
  in.Text(&field->textB);
  in.U32(&field->valueA);
  in.Text(&field->textC);
  in.U32(&field->valueB);
  if (!in.Count(kMinEntry, &count)) return false;
  field->entries.resize(count);
  for (auto& entry : field->entries) {
    in.Text(&entry.text);
    in.U32(&entry.valueA);
    in.U32(&entry.valueB);
  }
  return in.ok();
}

bool ReadDefinition(ByteReader& in, StatusDefinitionSource* definition) {
  uint32_t count = 0;
  in.Text(&definition->name);
  in.U32(&definition->value);
  if (!in.Count(kMinField, &count)) return false;
  definition->fields.resize(count);
  for (auto& field : definition->fields) {
    if (!ReadField(in, &field)) return false;
  }
  return true;
}

}  // namespace

KivResult ParseStatusDefinitionsBlob(std::span<const uint8_t> blob, std::vector<StatusDefinitionSource>* definitions) {
  if (!definitions) return E_POINTER;
  if (blob.size() > kMaxStatusDefinitionsBlob || blob.size() < kMagic.size() ||
      std::memcmp(blob.data(), kMagic.data(), kMagic.size()) != 0) {
    return E_FAIL;
  }
  ByteReader in(blob.subspan(kMagic.size()));
  uint32_t count = 0;
  if (!in.Count(kMinDefinition, &count)) return E_FAIL;
  std::vector<StatusDefinitionSource> read(count);
  for (auto& definition : read) {
    if (!ReadDefinition(in, &definition)) return E_FAIL;
  }
  if (in.left() != 0) return E_FAIL;
  *definitions = std::move(read);
  return S_OK;
}

std::vector<uint8_t> WriteStatusDefinitionsBlob(const std::vector<StatusDefinitionSource>& definitions) {
  std::vector<uint8_t> bytes(kMagic.begin(), kMagic.end());
  ByteWriter out(&bytes);
  out.U32(static_cast<uint32_t>(definitions.size()));
  for (const auto& definition : definitions) {
    out.Text(definition.name);
    out.U32(definition.value);
    out.U32(static_cast<uint32_t>(definition.fields.size()));
    for (const auto& field : definition.fields) {
      out.Text(field.textA);
      out.Text(field.textB);
      out.U32(field.valueA);
      out.Text(field.textC);
      out.U32(field.valueB);
      out.U32(static_cast<uint32_t>(field.entries.size()));
      for (const auto& entry : field.entries) {
        out.Text(entry.text);
        out.U32(entry.valueA);
        out.U32(entry.valueB);
      }
    }
  }
  return bytes;
}

}  // namespace velmar
