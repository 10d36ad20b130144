#include "core/module/module_registration.h"

#include <vector>

#include "velmar/classes.h"
#include "velmar/module.h"

namespace velmar {
namespace {

// What the root adds for its use as a control: its miscellaneous status and
// the bitmap a control palette shows.
constexpr char16_t kRootMiscStatus[] = u"132497";
constexpr char16_t kRootBitmap[] = u", 204";
constexpr char16_t kTypeLibName[] = u"Velmar 12.0 Type Library";

std::u16string ProgId(const KivClassRow& row) { return u"KivVelmar." + std::u16string(row.word) + u".1"; }
std::u16string IndependentProgId(const KivClassRow& row) { return u"KivVelmar." + std::u16string(row.word); }
std::u16string ClassPath(const Guid& clsid) { return u"CLSID\\" + clsid.ToWide(); }

KivResult SetDefault(const RegistryKey& parent, const std::u16string& sub, const std::u16string& value) {
  RegistryKey key;
  if (KivResult r = parent.CreateSubKey(sub, &key); Failed(r)) return r;
  return key.SetString(u"", value);
}

KivResult WriteControlEntries(const RegistryKey& key, const std::u16string& module) {
  RegistryKey control;
  if (KivResult r = key.CreateSubKey(u"Control", &control); Failed(r)) return r;
  if (KivResult r = SetDefault(key, u"MiscStatus\\1", kRootMiscStatus); Failed(r)) return r;
  return SetDefault(key, u"ToolboxBitmap32", module + kRootBitmap);
}

// The class's script: its identity key and the program-id keys.
KivResult WriteScript(const RegistryKey& classes, const KivClassRow& row, const std::u16string& module) {
  RegistryKey key;
  const std::u16string clsid = row.clsid.ToWide();
  if (KivResult r = classes.CreateSubKey(ClassPath(row.clsid), &key); Failed(r)) return r;
  RegistryKey server;
  const std::pair<const char16_t*, std::u16string> defaults[] = {
      {u"", row.word},
      {u"ProgID", ProgId(row)},
      {u"VersionIndependentProgID", IndependentProgId(row)},
      {u"TypeLib", LIBID_KivVelmar.ToWide()},
      {u"InprocServer32", module},
  };
  for (const auto& [sub, value] : defaults) {
    if (KivResult r = SetDefault(key, sub, value); Failed(r)) return r;
  }
  if (KivResult r = key.OpenSubKey(u"InprocServer32", &server); Failed(r)) return r;
  if (KivResult r = server.SetString(u"ThreadingModel", u"Apartment"); Failed(r)) return r;
  if (row.clsid == CLSID_KivVelmar) {
    if (KivResult r = WriteControlEntries(key, module); Failed(r)) return r;
  }
  const std::pair<std::u16string, std::u16string> progIds[] = {
      {ProgId(row) + u"\\CLSID", clsid},
      {IndependentProgId(row) + u"\\CLSID", clsid},
      {IndependentProgId(row) + u"\\CurVer", ProgId(row)},
  };
  for (const auto& [sub, value] : progIds) {
    if (KivResult r = SetDefault(classes, sub, value); Failed(r)) return r;
  }
  return S_OK;
}

std::vector<Guid> CategoriesOf(const ClassRegistry& registry, const Guid& clsid) {
  std::vector<Guid> categories;
  if (Failed(registry.GetCategories(clsid, &categories))) categories.clear();
  return categories;
}

KivResult WriteCategories(const RegistryKey& classes, const ClassRegistry& registry, const Guid& clsid) {
  for (const Guid& category : CategoriesOf(registry, clsid)) {
    RegistryKey key;
    const std::u16string path = ClassPath(clsid) + u"\\Implemented Categories\\" + category.ToWide();
    if (KivResult r = classes.CreateSubKey(path, &key); Failed(r)) return r;
  }
  return S_OK;
}

// A key that is not there any more is as good as removed.
KivResult Remove(const RegistryKey& parent, const std::u16string& sub) {
  const KivResult r = parent.DeleteSubKey(sub);
  return r == REG_E_NOTFOUND ? S_OK : r;
}

KivResult TypeLibKey(const RegistryKey& classes, RegistryKey* out) {
  return classes.CreateSubKey(u"TypeLib\\" + LIBID_KivVelmar.ToWide() + u"\\12.0", out);
}

}  // namespace

KivResult RegisterClassTable(const RegistryKey& classes, const std::u16string& module,
                             const ClassRegistry& registry) {
  for (const KivClassRow& row : kKivClassTable) {
    if (KivResult r = WriteScript(classes, row, module); Failed(r)) return r;
    if (KivResult r = WriteCategories(classes, registry, row.clsid); Failed(r)) return r;
  }
  RegistryKey typeLib;
  if (KivResult r = TypeLibKey(classes, &typeLib); Failed(r)) return r;
  if (KivResult r = typeLib.SetString(u"", kTypeLibName); Failed(r)) return r;
  if (KivResult r = SetDefault(typeLib, u"0\\linux", module); Failed(r)) return r;
  return SetDefault(typeLib, u"FLAGS", u"0");
}

KivResult UnregisterClassTable(const RegistryKey& classes) {
  for (const KivClassRow& row : kKivClassTable) {
    const std::u16string removals[] = {
        ClassPath(row.clsid) + u"\\Implemented Categories",
        ClassPath(row.clsid),
        ProgId(row),
        IndependentProgId(row),
    };
    for (const std::u16string& sub : removals) {
      if (KivResult r = Remove(classes, sub); Failed(r)) return r;
    }
  }
  return Remove(classes, u"TypeLib\\" + LIBID_KivVelmar.ToWide());
}

}  // namespace velmar
