#include "core/branding_module.h"

#include <dlfcn.h>

#include <system_error>

#include "velmar/registry.h"
#include "velmar/runtime_module.h"
#include "velmar/text.h"

namespace velmar {

namespace {

void* OpenModule(const std::filesystem::path& file) { return ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL); }

template <class Fn>
Fn Resolve(void* handle, const char* name) {
  return reinterpret_cast<Fn>(::dlsym(handle, name));
}

}  // namespace

KivResult FindBrandingModuleName(const std::u16string& keyPath, const std::u16string& valueName,
                                 std::u16string* name) {
  if (!name) return E_POINTER;
  name->clear();
  RegistryKey key;
  RegData data;
  if (Failed(RegistryKey::Open(RegHive::kLocalMachine, keyPath, &key)) || Failed(key.QueryValue(valueName, &data))) {
    return S_FALSE;
  }
  const auto* text = std::get_if<std::u16string>(&data);
  if (!text) return S_FALSE;
  // The value as the platform stores it: the text and its ending null.
  if ((text->size() + 1) * sizeof(char16_t) > kActiveBrandValueBytes) return S_FALSE;
  std::u16string taken = text->substr(0, text->find(u'\0'));
  if (taken.empty()) return S_FALSE;
  *name = std::move(taken);
  return S_OK;
}

std::filesystem::path LibraryFolder() { return LibraryBinaryFolder(); }

BrandingModule::BrandingModule(void* handle) : handle_(handle) {
  entries_.getBrandingName = Resolve<KivGetBrandingNameFn>(handle, "GetBrandingName");
  entries_.getBrandingText = Resolve<KivGetBrandingTextFn>(handle, "GetBrandingText");
  entries_.getBrandingBitmap = Resolve<KivGetBrandingBitmapFn>(handle, "GetBrandingBitmap");
  entries_.featureSupported = Resolve<KivFeatureSupportedFn>(handle, "FeatureSupported");
  entries_.getActiveXControlExclusionList =
      Resolve<KivGetActiveXControlExclusionListFn>(handle, "GetActiveXControlExclusionList");
  entries_.getDotNetControlExclusionList =
      Resolve<KivGetDotNetControlExclusionListFn>(handle, "GetDotNetControlExclusionList");
  entries_.getDataFactoryExclusionList =
      Resolve<KivGetDataFactoryExclusionListFn>(handle, "GetDataFactoryExclusionList");
  entries_.getToolExclusionList = Resolve<KivGetToolExclusionListFn>(handle, "GetToolExclusionList");
}

BrandingModule::~BrandingModule() { ::dlclose(handle_); }

KivResult BrandingModule::Load(const std::u16string& name, std::unique_ptr<BrandingModule>* out) {
  if (!out) return E_POINTER;
  out->reset();
  const std::filesystem::path file(WideToUtf8(name));
  void* handle = nullptr;
  const std::filesystem::path folder = LibraryFolder();
  if (!folder.empty()) handle = OpenModule(folder / file);
  // A bare name goes to the search path; a name with a folder is a path.
  if (!handle) handle = OpenModule(file);
  if (!handle) return E_MOD_NOT_FOUND;
  out->reset(new BrandingModule(handle));
  return S_OK;
}

}  // namespace velmar
