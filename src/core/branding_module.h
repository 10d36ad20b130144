// A loaded branding module and its entry points (see velmar/branding.h for
// the interface a module exports). The module is found through the
// machine-wide registry and unloaded when this object goes.
//
// Client thread only.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "velmar/branding.h"
#include "velmar/result.h"

namespace velmar {

inline constexpr char16_t kBrandingMachineKey[] = u"Software\\Halvane\\Kivara";
inline constexpr char16_t kActiveBrandValue[] = u"ActiveBrandDLL";
// The room the value has, in bytes, with its ending null.
inline constexpr size_t kActiveBrandValueBytes = 518;

// The module's optional entry points, null where it has none.
struct BrandingEntryPoints {
  KivGetBrandingNameFn getBrandingName = nullptr;
  KivGetBrandingTextFn getBrandingText = nullptr;
  KivGetBrandingBitmapFn getBrandingBitmap = nullptr;
  KivFeatureSupportedFn featureSupported = nullptr;
  KivGetActiveXControlExclusionListFn getActiveXControlExclusionList = nullptr;
  KivGetDotNetControlExclusionListFn getDotNetControlExclusionList = nullptr;
  KivGetDataFactoryExclusionListFn getDataFactoryExclusionList = nullptr;
  KivGetToolExclusionListFn getToolExclusionList = nullptr;
};

// Reads the module's file name from the machine-wide `key` and `valueName`.
// S_OK with the name; S_FALSE when there is no usable name: no key or value,
// a value that is not text, that is empty, or that needs more than
// kActiveBrandValueBytes with its ending null. A stored text is taken up to
// its first null character.
[[nodiscard]] KivResult FindBrandingModuleName(const std::u16string& key, const std::u16string& valueName,
                                               std::u16string* name);

// The folder of the binary this library is linked into.
std::filesystem::path LibraryFolder();

class BrandingModule {
 public:
  // Loads `name` from the library's folder, else by name on the system's
  // search path. E_MOD_NOT_FOUND when neither loads; a module without any
  // of the entry points still loads.
  [[nodiscard]] static KivResult Load(const std::u16string& name, std::unique_ptr<BrandingModule>* out);

  ~BrandingModule();
  BrandingModule(const BrandingModule&) = delete;
  BrandingModule& operator=(const BrandingModule&) = delete;

  const BrandingEntryPoints& entries() const { return entries_; }

 private:
  explicit BrandingModule(void* handle);

  void* handle_;
  BrandingEntryPoints entries_;
};

}  // namespace velmar
