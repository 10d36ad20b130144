// Where a property database keeps itself in the settings file: one stream
// "Properties" in the storage the root gives it, read and written whole.
// The stream starts with u32 version 1 and u32 entry count; each entry is
// its key (written by the database) and its properties: u32 count, then per
// property its name (text), u8 kind and value. Object values are not kept
// (they belong to the host) and load as empty.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/property_set.h"
#include "velmar/storage.h"

namespace velmar {

inline constexpr uint32_t kPropertyStreamVersion = 1;

// Bytes out, little-endian.
class PropertyWriter {
 public:
  void U32(uint32_t v) { Raw(&v, sizeof v); }
  void I32(int32_t v) { Raw(&v, sizeof v); }
  void Text(const std::u16string& text);
  void Properties(const PropertyList& list);
  const std::string& Bytes() const { return bytes_; }
  void Raw(const void* p, size_t n) { bytes_.append(static_cast<const char*>(p), n); }

 private:
  void Value(const Variant& value);
  std::string bytes_;
};

// Bytes in; a short or damaged buffer throws CSerialiseException (E_FAIL).
class PropertyReader {
 public:
  explicit PropertyReader(std::string_view bytes) : bytes_(bytes) {}
  uint32_t U32();
  int32_t I32() { return static_cast<int32_t>(U32()); }
  std::u16string Text();
  PropertyList Properties();
  // The header: the entry count; STG_E_OLDDLL for a newer version.
  uint32_t Header();

 private:
  void Raw(void* p, size_t n);
  Variant Value(int depth);
  std::string_view bytes_;
  size_t at_ = 0;
};

class CPropertyDatabaseStore {
 public:
  // E_POINTER for null, E_UNEXPECTED while one is held. InitNew writes
  // `empty`; Load hands back the stream's bytes.
  [[nodiscard]] KivResult InitNew(IKivStorage* storage, const std::string& empty);
  [[nodiscard]] KivResult Load(IKivStorage* storage, std::string* bytes);
  // Into the held storage (committing it), or into another one.
  [[nodiscard]] KivResult Save(IKivStorage* storage, bool sameAsLoad, const std::string& bytes);
  [[nodiscard]] KivResult SaveCompleted(IKivStorage* storage);
  void HandsOff();

 private:
  ComPtr<IKivStorage> storage_;
  ComPtr<IKivStream> stream_;
};

}  // namespace velmar
