// Points the machine-wide registry at a temporary file whose
// "Software\Halvane\Kivara" key names a branding module (or none), for as
// long as the object lives. The process branding and the mandatory data
// factory list are read again on the way in and on the way out.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "core/branding_module.h"
#include "core/data_factory_branding.h"
#include "core/test_branding_tables.h"
#include "platform/registry/registry_file.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {

// The test branding module built beside the tests.
inline std::u16string TestBrandingModule() { return Utf8ToWide(VELMAR_TEST_BRANDING); }

class ScopedBranding {
 public:
  // `module`: the "ActiveBrandDLL" text; nothing leaves the key empty.
  explicit ScopedBranding(std::optional<std::u16string> module, bool broken = false)
      : hive_(std::make_shared<RegistryFile>(dir_ / "machine.json")), override_(std::in_place, RegHive::kLocalMachine, hive_) {
    if (module) SetValue(RegData(*module));
    if (broken) ::setenv(kBrandingModeVariable, "broken", 1);
    ReloadDataFactoryBranding();
  }
  ~ScopedBranding() {
    ::unsetenv(kBrandingModeVariable);
    override_.reset();
    ReloadDataFactoryBranding();
  }

  // Writes the value (of any type) afresh.
  void SetValue(RegData data) {
    RegistryKey key;
    ASSERT_EQ(RegistryKey::Create(RegHive::kLocalMachine, kBrandingMachineKey, &key), S_OK);
    ASSERT_EQ(key.SetValue(kActiveBrandValue, std::move(data)), S_OK);
  }

 private:
  TempDir dir_;
  std::shared_ptr<RegistryFile> hive_;
  std::optional<ScopedHiveOverride> override_;
};

}  // namespace velmar::testing
