// CDataFactoryBrandingHelper: one user's view of the branding module named
// by "ActiveBrandDLL" under the machine-wide key "Software\Halvane\Kivara".
// Each user makes its own instance; the module stays loaded for as long as
// the instance lives. Without a module (none named, the file missing) or
// without an entry point, the answers are the library's own: nothing is
// excluded, no feature is on, the default labels stand.
//
// The exclusion lists are read once, when the module loads. A list is read
// up to its end marker, or kMaxBrandingListEntries entries at most, so a
// list that lacks its end can't run away; a text is read up to
// kMaxBrandingTextLength characters, and a longer one is not taken.
//
// Client thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "core/branding_labels.h"
#include "core/branding_module.h"
#include "core/data_factory_branding.h"
#include "core/data_factory_record.h"
#include "velmar/guid.h"

namespace velmar {

inline constexpr size_t kMaxBrandingListEntries = 4096;
inline constexpr size_t kMaxBrandingTextLength = 4096;

class CDataFactoryBrandingHelper {
 public:
  // Finds and loads the module named by the registry value.
  CDataFactoryBrandingHelper();
  CDataFactoryBrandingHelper(std::u16string registryKey, std::u16string valueName);
  // Uses entry points that the host links in itself (no module to load).
  explicit CDataFactoryBrandingHelper(const BrandingEntryPoints& entries);

  CDataFactoryBrandingHelper(CDataFactoryBrandingHelper&&) noexcept = default;
  CDataFactoryBrandingHelper& operator=(CDataFactoryBrandingHelper&&) noexcept = default;

  // A native record unless the data factory exclusion list names its class;
  // a managed one unless the tool exclusion list names its type name (case
  // sensitive). Any other kind is not allowed.
  bool IsAllowed(const DataFactoryRecord& record) const;
  // Whether the module turns `feature` on.
  bool FeatureSupported(uint32_t feature) const;
  // The module's text for a label, else the library's own in `form`. An id
  // neither knows gives an empty text.
  std::u16string GetLabel(uint32_t id, LabelForm form) const;

  bool HasModule() const { return module_ != nullptr; }
  const std::u16string& ModuleName() const { return moduleName_; }
  const std::set<Guid>& ExcludedFactories() const { return exclusions_.ExcludedFactories(); }
  const std::set<std::u16string>& ExcludedTools() const { return exclusions_.ExcludedTools(); }

  // What the data factory lists need, kept after the module is let go.
  DataFactoryBranding Snapshot() const;

 private:
  void ReadExclusionLists();

  std::u16string registryKey_;
  std::u16string valueName_;
  std::u16string moduleName_;
  std::unique_ptr<BrandingModule> module_;
  BrandingEntryPoints entries_;
  DataFactoryBranding exclusions_;  // the lists, without features
};

}  // namespace velmar
