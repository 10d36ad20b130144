// What the data factory lists ask of the branding module: whether a data
// factory is excluded, and whether a feature is on. The process keeps one
// such answer, read from the module (core/data_factory_branding_helper.h) the
// first time it is asked for; with no module nothing is excluded and no
// feature is on.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "core/data_factory_record.h"
#include "velmar/branding.h"
#include "velmar/guid.h"

namespace velmar {

// Feature 1: make the host-side tool node.
inline constexpr uint32_t kBrandingFeatureToolNode = KIV_BRANDING_FEATURE_TOOL_NODE;

class DataFactoryBranding {
 public:
  DataFactoryBranding() = default;
  DataFactoryBranding(std::set<Guid> excludedFactories, std::set<std::u16string> excludedTools,
                      std::set<uint32_t> features)
      : excludedFactories_(std::move(excludedFactories)),
        excludedTools_(std::move(excludedTools)),
        features_(std::move(features)) {}

  // A native record unless its class is on the factory exclusion list, a
  // managed one unless its type name (case sensitive) is on the tool
  // exclusion list; any other kind is not allowed.
  bool IsAllowed(const DataFactoryRecord& record) const;
  bool FeatureSupported(uint32_t feature) const { return features_.contains(feature); }
  const std::set<Guid>& ExcludedFactories() const { return excludedFactories_; }
  const std::set<std::u16string>& ExcludedTools() const { return excludedTools_; }

 private:
  std::set<Guid> excludedFactories_;
  std::set<std::u16string> excludedTools_;
  std::set<uint32_t> features_;
};

// The branding in force in this process: what was installed, else what the
// branding module gave when first asked. The reference holds until the next
// Install or Reload.
const DataFactoryBranding& CurrentDataFactoryBranding();
// Installs a branding in place of the module's (a host that brands itself,
// tests); null goes back to the module's.
void InstallDataFactoryBranding(std::shared_ptr<const DataFactoryBranding> branding);
// Reads the branding module again (the registry value may have changed) and
// rebuilds the mandatory data factory list with it.
void ReloadDataFactoryBranding();

}  // namespace velmar
