// What the root asks of the branding module: whether a data factory is
// excluded, and whether a feature is on. The module itself is loaded by its
// own layer, which installs what it read here; with no module loaded nothing
// is excluded and no feature is on.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "core/data_factory_record.h"
#include "velmar/guid.h"

namespace velmar {

// Feature 1: make the host-side tool node.
inline constexpr uint32_t kBrandingFeatureToolNode = 1;

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

 private:
  std::set<Guid> excludedFactories_;
  std::set<std::u16string> excludedTools_;
  std::set<uint32_t> features_;
};

// The branding in force in this process.
const DataFactoryBranding& CurrentDataFactoryBranding();
// Installs what a branding module gave; null goes back to no module.
void InstallDataFactoryBranding(std::shared_ptr<const DataFactoryBranding> branding);

}  // namespace velmar
