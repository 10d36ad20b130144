// The settings file a session's root keeps its configuration in
// (`--settings FILE.kvs`): opened and loaded, or made with the defaults and
// written when it is missing. Commands that change it save it; the others
// leave it as it was on disk.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/persist.h"
#include "velmar/storage.h"
#include "velmar/velmar.h"

namespace velmar::cli {

class SettingsFile {
 public:
  // Throws HostError naming the file when it can't be read or made.
  SettingsFile(IKivVelmar* root, const std::string& path);
  ~SettingsFile();
  SettingsFile(const SettingsFile&) = delete;
  SettingsFile& operator=(const SettingsFile&) = delete;

  // Writes what the root holds and commits the file. Throws HostError.
  void Save();
  // The version the file had on disk before the root brought it up to date.
  uint32_t StoredVersion() const { return storedVersion_; }

 private:
  std::string path_;
  ComPtr<IKivPersistStorage> persist_;
  ComPtr<IKivStorage> storage_;
  uint32_t storedVersion_ = 0;
};

}  // namespace velmar::cli
