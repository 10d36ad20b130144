// A branding module for the tests: hides a data factory and a tool, turns
// feature 1 on and names labels 1 and 11 its own way.
#include <cstdlib>
#include <cstring>

#include "core/test_branding_tables.h"

using namespace velmar::testing;

namespace {

bool Broken() {
  const char* mode = std::getenv(kBrandingModeVariable);
  return mode && std::strcmp(mode, "broken") == 0;
}

const KivBrandingGuid kFactoryList[] = {kBrandingHiddenFactory, kBrandingHiddenMandatory, {}};
const char16_t* const kToolList[] = {kBrandingHiddenTool, u"Test.Hidden.Tool", nullptr};

struct BrokenTables {
  const char16_t* tools[kBrokenToolListLength];
  char16_t endlessText[8192];
  BrokenTables() {
    for (auto& t : tools) t = u"Broken.Tool";
    for (auto& c : endlessText) c = u'x';
  }
};

const BrokenTables& Tables() {
  static const BrokenTables tables;
  return tables;
}

}  // namespace

KIV_BRANDING_EXPORT const char16_t* GetBrandingName() { return u"Test Brand"; }

KIV_BRANDING_EXPORT const char16_t* GetBrandingText(uint32_t labelId, uint32_t form, uint32_t version) {
  if (Broken()) return labelId == 11 ? Tables().endlessText : nullptr;
  if (version != KIV_BRANDING_INTERFACE_VERSION) return nullptr;
  switch (labelId) {
    case 1:
      return kBrandingIdLabel;
    case 11:
      return form == KIV_BRANDING_FORM_LOWER ? kBrandingLapLower : kBrandingLapStored;
    default:
      return nullptr;  // the library's own word
  }
}

KIV_BRANDING_EXPORT int32_t FeatureSupported(uint32_t feature) {
  return !Broken() && feature == KIV_BRANDING_FEATURE_TOOL_NODE ? 1 : 0;
}

KIV_BRANDING_EXPORT const KivBrandingGuid* GetDataFactoryExclusionList() { return Broken() ? nullptr : kFactoryList; }

KIV_BRANDING_EXPORT const char16_t* const* GetToolExclusionList() { return Broken() ? Tables().tools : kToolList; }
