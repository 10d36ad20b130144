#include "core/data_factory_branding_helper.h"

#include <optional>

namespace velmar {

namespace {

Guid FromBrandingGuid(const KivBrandingGuid& g) {
  Guid out;
  out.data1 = g.data1;
  out.data2 = g.data2;
  out.data3 = g.data3;
  for (size_t i = 0; i < out.data4.size(); ++i) out.data4[i] = g.data4[i];
  return out;
}

// A module's text, or nothing when it is null or has no end within the limit.
std::optional<std::u16string> ReadText(const char16_t* text) {
  if (!text) return std::nullopt;
  for (size_t n = 0; n <= kMaxBrandingTextLength; ++n) {
    if (text[n] == u'\0') return std::u16string(text, n);
  }
  return std::nullopt;
}

}  // namespace

CDataFactoryBrandingHelper::CDataFactoryBrandingHelper()
    : CDataFactoryBrandingHelper(kBrandingMachineKey, kActiveBrandValue) {}

CDataFactoryBrandingHelper::CDataFactoryBrandingHelper(std::u16string registryKey, std::u16string valueName)
    : registryKey_(std::move(registryKey)), valueName_(std::move(valueName)) {
  if (FindBrandingModuleName(registryKey_, valueName_, &moduleName_) != S_OK) return;
  // A module that is named but can't be loaded counts as none.
  if (Failed(BrandingModule::Load(moduleName_, &module_))) return;
  entries_ = module_->entries();
  ReadExclusionLists();
}

CDataFactoryBrandingHelper::CDataFactoryBrandingHelper(const BrandingEntryPoints& entries) : entries_(entries) {
  ReadExclusionLists();
}

void CDataFactoryBrandingHelper::ReadExclusionLists() {
  std::set<Guid> factories;
  std::set<std::u16string> tools;
  if (entries_.getDataFactoryExclusionList) {
    if (const KivBrandingGuid* list = entries_.getDataFactoryExclusionList()) {
      for (size_t i = 0; i < kMaxBrandingListEntries; ++i) {
        const Guid clsid = FromBrandingGuid(list[i]);
        if (clsid.IsNull()) break;
        factories.insert(clsid);
      }
    }
  }
  if (entries_.getToolExclusionList) {
    if (const char16_t* const* list = entries_.getToolExclusionList()) {
      for (size_t i = 0; i < kMaxBrandingListEntries && list[i]; ++i) {
        if (auto name = ReadText(list[i])) tools.insert(std::move(*name));
      }
    }
  }
  exclusions_ = DataFactoryBranding(std::move(factories), std::move(tools), {});
}

bool CDataFactoryBrandingHelper::IsAllowed(const DataFactoryRecord& record) const {
  return exclusions_.IsAllowed(record);
}

bool CDataFactoryBrandingHelper::FeatureSupported(uint32_t feature) const {
  return entries_.featureSupported && entries_.featureSupported(feature) != 0;
}

std::u16string CDataFactoryBrandingHelper::GetLabel(uint32_t id, LabelForm form) const {
  if (entries_.getBrandingText) {
    const char16_t* text =
        entries_.getBrandingText(id, static_cast<uint32_t>(form), KIV_BRANDING_INTERFACE_VERSION);
    if (auto taken = ReadText(text)) return std::move(*taken);
  }
  const auto label = DefaultLabel(id);
  return label ? ApplyLabelForm(*label, form) : std::u16string();
}

DataFactoryBranding CDataFactoryBrandingHelper::Snapshot() const {
  std::set<uint32_t> features;
  if (FeatureSupported(kBrandingFeatureToolNode)) features.insert(kBrandingFeatureToolNode);
  return DataFactoryBranding(ExcludedFactories(), ExcludedTools(), std::move(features));
}

}  // namespace velmar
