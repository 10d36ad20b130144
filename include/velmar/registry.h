// The registry: per-user and machine-wide trees of keys holding typed
// values, where the library keeps its user settings and finds its branding
// module (keys such as "Software\Halvane\Kivara\Velmar").
//
// Each hive is one JSON file: the user's at $VELMAR_REGISTRY_USER, else
// $XDG_CONFIG_HOME/kivara/registry.json (default ~/.config/kivara/); the
// machine's at $VELMAR_REGISTRY_MACHINE, else /etc/kivara/registry.json.
// Key paths are backslash-separated; key and value names compare without
// regard to case and keep the case they were first written with.
//
// Every change is written at once: the file is re-read under an advisory
// lock, the change applied and the file replaced atomically, so processes
// that write different values all keep theirs. Reads see changes made by
// other processes. An unreadable file reads as empty; the first write moves
// it aside (registry.json.bad) before writing a new one.
//
// Thread-safety: keys may be used from any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "velmar/result.h"

namespace velmar {

enum class RegHive { kCurrentUser, kLocalMachine };

// Value types, numbered as the platform numbers them.
enum class RegType : uint32_t { kString = 1, kBinary = 3, kU32 = 4, kU64 = 11 };

// A typed value: text, 32-bit number, 64-bit number or bytes.
using RegData = std::variant<std::u16string, uint32_t, uint64_t, std::vector<uint8_t>>;
RegType TypeOf(const RegData& data);

struct RegValue {
  std::u16string name;
  RegData data;
};

class RegistryFile;

// An open key. A default-constructed key is not open; its operations give
// E_UNEXPECTED. Operations on a key deleted since it was opened give
// REG_E_NOTFOUND. Names are at most 255 characters a key, 16383 a value.
class RegistryKey {
 public:
  RegistryKey() = default;

  // Opens an existing key of a hive; an empty path is the hive's root.
  // REG_E_NOTFOUND when it does not exist, E_INVALIDARG for a bad path.
  static KivResult Open(RegHive hive, std::u16string_view path, RegistryKey* out);
  // Opens the key, creating it and any missing parents (written at once).
  static KivResult Create(RegHive hive, std::u16string_view path, RegistryKey* out);
  // The same on a given registry file (tools, tests).
  static KivResult Open(std::shared_ptr<RegistryFile> file, std::u16string_view path,
                        RegistryKey* out);
  static KivResult Create(std::shared_ptr<RegistryFile> file, std::u16string_view path,
                          RegistryKey* out);

  KivResult OpenSubKey(std::u16string_view path, RegistryKey* out) const;
  KivResult CreateSubKey(std::u16string_view path, RegistryKey* out) const;

  // Typed reads: REG_E_NOTFOUND for a missing value, REG_E_WRONGTYPE when
  // the value holds another type (the out argument is left alone).
  KivResult QueryValue(std::u16string_view name, RegData* out) const;
  KivResult QueryString(std::u16string_view name, std::u16string* out) const;
  KivResult QueryU32(std::u16string_view name, uint32_t* out) const;
  KivResult QueryU64(std::u16string_view name, uint64_t* out) const;
  KivResult QueryBinary(std::u16string_view name, std::vector<uint8_t>* out) const;

  // Writes a value (replacing one of any type). A failed file write gives
  // its code and leaves the stored value as it was.
  KivResult SetValue(std::u16string_view name, RegData data) const;
  KivResult SetString(std::u16string_view name, std::u16string_view text) const;
  KivResult SetU32(std::u16string_view name, uint32_t value) const;
  KivResult SetU64(std::u16string_view name, uint64_t value) const;
  KivResult SetBinary(std::u16string_view name, std::vector<uint8_t> bytes) const;

  // REG_E_NOTFOUND when the value does not exist.
  KivResult DeleteValue(std::u16string_view name) const;
  // Deletes a subkey with everything below it. REG_E_NOTFOUND when absent.
  KivResult DeleteSubKey(std::u16string_view path) const;

  // Names of the direct subkeys and the values, in case-insensitive order.
  KivResult EnumSubKeys(std::vector<std::u16string>* out) const;
  KivResult EnumValues(std::vector<RegValue>* out) const;

  bool IsOpen() const { return file_ != nullptr; }
  // The key's path from the hive root, as given when opened.
  const std::u16string& path() const { return path_; }

 private:
  RegistryKey(std::shared_ptr<RegistryFile> file, std::u16string path)
      : file_(std::move(file)), path_(std::move(path)) {}
  static KivResult OpenOrCreate(std::shared_ptr<RegistryFile> file, std::u16string_view path,
                                bool create, RegistryKey* out);
  std::u16string Join(std::u16string_view sub) const;

  std::shared_ptr<RegistryFile> file_;
  std::u16string path_;
};

}  // namespace velmar
