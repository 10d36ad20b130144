// The standard channel properties: the 24 settings and key parts a channel
// key has in the channel property database, their types and defaults, and
// how older databases spelled them. Version texts ("1_0" ... "12_0") name a
// database's version; each version maps the names it used to property ids.
//
// Built once; read-only afterwards, so any thread may read it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "velmar/variant.h"

namespace velmar {

enum class PropertyType { kText, kI32, kF64, kBool, kObject };

struct PropertyDefinition {
  int32_t id = 0;
  std::u16string name;
  PropertyType type = PropertyType::kText;
  bool key = false;  // part of the channel's identity, not a setting
};

class CStandardProperties {
 public:
  using NamesById = std::map<std::u16string, int32_t>;

  virtual ~CStandardProperties() = default;
  // True when `name` is the current name of `id`; false for an unknown id.
  virtual bool IsPropertyName(int32_t id, const std::u16string& name) const;
  virtual bool GetPropertyDefinition(int32_t id, PropertyDefinition* definition) const = 0;
  virtual int32_t GetLastPropertyId() const = 0;
  // The current name, or nothing.
  virtual std::optional<std::u16string> GetPropertyName(int32_t id) const;
  // False when the id has no default.
  virtual bool GetDefaultValue(int32_t id, Variant* value) const = 0;
  virtual int32_t GetFirstPropertyId() const { return 1; }
  virtual int32_t GetPropertyCount() const { return GetLastPropertyId() - GetFirstPropertyId() + 1; }
  virtual int32_t GetFirstVersion() const { return 0; }
  virtual int32_t GetLastVersion() const = 0;
  virtual void BuildVersionNames() = 0;
  virtual void BuildVersionMap() = 0;

  // The version a database's version text names, or nothing.
  std::optional<int32_t> VersionOf(const std::u16string& text) const;
  // The id a property had under `name` in `version`, or nothing.
  std::optional<int32_t> IdOf(int32_t version, const std::u16string& name) const;

 protected:
  std::map<std::u16string, int32_t> versions_;
  std::map<int32_t, NamesById> namesByVersion_;
};

class CStandardChannelProperties final : public CStandardProperties {
 public:
  // Built and filled.
  static const CStandardChannelProperties& Instance();
  CStandardChannelProperties();

  bool GetPropertyDefinition(int32_t id, PropertyDefinition* definition) const override;
  int32_t GetLastPropertyId() const override { return 24; }
  bool GetDefaultValue(int32_t id, Variant* value) const override;
  int32_t GetLastVersion() const override { return 6; }
  void BuildVersionNames() override;
  void BuildVersionMap() override;
};

}  // namespace velmar
