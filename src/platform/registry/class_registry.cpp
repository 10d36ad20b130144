#include "velmar/class_registry.h"

#include <dlfcn.h>

#include <algorithm>

#include "velmar/text.h"

namespace velmar {
namespace {

// "KivVelmar.Velmar.1" -> "KivVelmar.Velmar"; a program id without a
// numeric last part has no other form.
std::u16string_view VersionIndependent(std::u16string_view prog_id) {
  size_t dot = prog_id.rfind(u'.');
  if (dot == std::u16string_view::npos || dot + 1 == prog_id.size()) return {};
  for (char16_t c : prog_id.substr(dot + 1))
    if (c < u'0' || c > u'9') return {};
  return prog_id.substr(0, dot);
}

bool MatchesProgId(const std::u16string& registered, std::u16string_view asked) {
  if (registered.empty()) return false;
  if (EqualsNoCase(registered, asked)) return true;
  std::u16string_view vi = VersionIndependent(registered);
  return !vi.empty() && EqualsNoCase(vi, asked);
}

ClassRegistry::ClassInfo InfoFromEntry(const KivClassEntry& e) {
  ClassRegistry::ClassInfo info;
  info.clsid = e.clsid;
  if (e.prog_id) info.prog_id = e.prog_id;
  if (e.display_name) info.display_name = e.display_name;
  if (KivCreateFn fn = e.create) info.create = fn;
  if (e.categories) info.categories.assign(e.categories, e.categories + e.category_count);
  return info;
}

// Collects what a module lists, so that a failing module leaves nothing.
class StagingSink : public IKivClassSink {
 public:
  KivResult AddClass(const KivClassEntry& entry) override {
    if (entry.clsid.IsNull()) return E_INVALIDARG;
    // A class listed twice spoils the whole list, whatever the module does
    // with this answer.
    for (const auto& info : staged) {
      if (info.clsid == entry.clsid) twice = true;
    }
    if (twice) return E_INVALIDARG;
    staged.push_back(InfoFromEntry(entry));
    return S_OK;
  }
  std::vector<ClassRegistry::ClassInfo> staged;
  bool twice = false;
};

}  // namespace

struct ClassRegistry::Entry {
  ClassInfo info;
};

ClassRegistry::ClassRegistry() = default;
ClassRegistry::~ClassRegistry() = default;

ClassRegistry& ClassRegistry::Process() {
  static ClassRegistry registry;
  return registry;
}

ClassRegistry::Entry* ClassRegistry::FindLocked(const Guid& clsid) {
  for (auto& e : classes_)
    if (e->info.clsid == clsid) return e.get();
  return nullptr;
}

const ClassRegistry::Entry* ClassRegistry::FindLocked(const Guid& clsid) const {
  return const_cast<ClassRegistry*>(this)->FindLocked(clsid);
}

void ClassRegistry::JoinCategoryLocked(const Guid& clsid, const Guid& category) {
  auto& members = category_members_[category];
  if (std::find(members.begin(), members.end(), clsid) == members.end()) members.push_back(clsid);
}

KivResult ClassRegistry::RegisterLocked(ClassInfo info) {
  if (info.clsid.IsNull()) return E_INVALIDARG;
  if (!info.prog_id.empty()) {
    for (const auto& e : classes_)
      if (e->info.clsid != info.clsid && EqualsNoCase(e->info.prog_id, info.prog_id))
        return E_INVALIDARG;
  }
  for (auto& [category, members] : category_members_) std::erase(members, info.clsid);
  for (const Guid& c : info.categories) JoinCategoryLocked(info.clsid, c);
  if (Entry* existing = FindLocked(info.clsid)) {
    existing->info = std::move(info);
    return S_FALSE;
  }
  classes_.push_back(std::make_unique<Entry>(Entry{std::move(info)}));
  return S_OK;
}

KivResult ClassRegistry::Register(ClassInfo info) {
  std::lock_guard lock(mu_);
  return RegisterLocked(std::move(info));
}

KivResult ClassRegistry::Register(const KivClassEntry& entry) {
  return Register(InfoFromEntry(entry));
}

KivResult ClassRegistry::Unregister(const Guid& clsid) {
  std::lock_guard lock(mu_);
  auto it = std::find_if(classes_.begin(), classes_.end(),
                         [&](const auto& e) { return e->info.clsid == clsid; });
  if (it == classes_.end()) return REGDB_E_CLASSNOTREG;
  classes_.erase(it);
  for (auto& [category, members] : category_members_) std::erase(members, clsid);
  return S_OK;
}

KivResult ClassRegistry::RegisterCategories(const Guid& clsid, std::span<const Guid> categories) {
  if (clsid.IsNull()) return E_INVALIDARG;
  std::lock_guard lock(mu_);
  if (!FindLocked(clsid)) classes_.push_back(std::make_unique<Entry>(Entry{ClassInfo{clsid, {}, {}, {}, {}}}));
  for (const Guid& c : categories) JoinCategoryLocked(clsid, c);
  return S_OK;
}

KivResult ClassRegistry::UnregisterCategories(const Guid& clsid,
                                              std::span<const Guid> categories) {
  std::lock_guard lock(mu_);
  if (!FindLocked(clsid)) return REGDB_E_CLASSNOTREG;
  for (const Guid& c : categories) {
    auto it = category_members_.find(c);
    if (it != category_members_.end()) std::erase(it->second, clsid);
  }
  return S_OK;
}

KivResult ClassRegistry::CreateInstance(const Guid& clsid, const Guid& iid, void** out) const {
  if (!out) return E_POINTER;
  *out = nullptr;
  std::function<KivResult(IKivUnknown**)> create;
  {
    std::lock_guard lock(mu_);
    const Entry* e = FindLocked(clsid);
    if (!e) return REGDB_E_CLASSNOTREG;
    if (!e->info.create) return CLASS_E_CLASSNOTAVAILABLE;
    create = e->info.create;
  }
  ComPtr<IKivUnknown> object;
  KivResult r = create(object.Put());
  if (Failed(r)) return r;
  if (!object) return CLASS_E_CLASSNOTAVAILABLE;
  return object->QueryInterface(iid, out);
}

KivResult ClassRegistry::ProgIdToClsid(std::u16string_view prog_id, Guid* out) const {
  if (!out) return E_POINTER;
  std::lock_guard lock(mu_);
  // An exact program id wins over a version-independent one; among the
  // latter the last registered (the newest version) wins.
  const Entry* found = nullptr;
  for (const auto& e : classes_) {
    if (EqualsNoCase(e->info.prog_id, prog_id) && !prog_id.empty()) {
      *out = e->info.clsid;
      return S_OK;
    }
    if (MatchesProgId(e->info.prog_id, prog_id)) found = e.get();
  }
  if (!found) return CO_E_CLASSSTRING;
  *out = found->info.clsid;
  return S_OK;
}

KivResult ClassRegistry::ClsidToProgId(const Guid& clsid, std::u16string* out) const {
  if (!out) return E_POINTER;
  std::lock_guard lock(mu_);
  const Entry* e = FindLocked(clsid);
  if (!e) return REGDB_E_CLASSNOTREG;
  *out = e->info.prog_id;
  return out->empty() ? S_FALSE : S_OK;
}

KivResult ClassRegistry::GetUserTypeName(const Guid& clsid, std::u16string* out) const {
  if (!out) return E_POINTER;
  std::lock_guard lock(mu_);
  const Entry* e = FindLocked(clsid);
  if (!e) return REGDB_E_CLASSNOTREG;
  *out = e->info.display_name;
  return S_OK;
}

KivResult ClassRegistry::GetCategories(const Guid& clsid, std::vector<Guid>* out) const {
  if (!out) return E_POINTER;
  std::lock_guard lock(mu_);
  if (!FindLocked(clsid)) return REGDB_E_CLASSNOTREG;
  out->clear();
  for (const auto& [category, members] : category_members_) {
    if (std::find(members.begin(), members.end(), clsid) != members.end()) out->push_back(category);
  }
  return S_OK;
}

KivResult ClassRegistry::IsClassOfCategory(const Guid& clsid, const Guid& category) const {
  std::lock_guard lock(mu_);
  auto it = category_members_.find(category);
  if (it == category_members_.end()) return S_FALSE;
  return std::find(it->second.begin(), it->second.end(), clsid) != it->second.end() ? S_OK
                                                                                    : S_FALSE;
}

KivResult ClassRegistry::EnumClassesOfCategory(const Guid& category,
                                               std::vector<Guid>* out) const {
  if (!out) return E_POINTER;
  std::lock_guard lock(mu_);
  auto it = category_members_.find(category);
  if (it == category_members_.end()) out->clear();
  else *out = it->second;
  return S_OK;
}

KivResult ClassRegistry::RegisterAddIn(VelmarListClassesFn list) {
  if (!list) return E_POINTER;
  StagingSink sink;
  KivResult r = E_FAIL;
  try {
    r = list(&sink);
  } catch (...) {
    return E_FAIL;  // a module that throws keeps nothing
  }
  if (Failed(r)) return r;
  if (sink.twice) return E_INVALIDARG;
  std::lock_guard lock(mu_);
  // Check the whole list first, so that a bad entry leaves the table as it was.
  for (const ClassInfo& info : sink.staged) {
    for (const auto& e : classes_)
      if (!info.prog_id.empty() && e->info.clsid != info.clsid &&
          EqualsNoCase(e->info.prog_id, info.prog_id))
        return E_INVALIDARG;
  }
  for (ClassInfo& info : sink.staged) (void)RegisterLocked(std::move(info));
  return S_OK;
}

KivResult ClassRegistry::LoadAddIn(const std::filesystem::path& module) {
  void* handle = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) return E_MOD_NOT_FOUND;
  {
    std::lock_guard lock(mu_);
    if (std::find(modules_.begin(), modules_.end(), handle) != modules_.end()) {
      ::dlclose(handle);  // drops only the reference this call added
      return S_FALSE;
    }
  }
  auto list = reinterpret_cast<VelmarListClassesFn>(::dlsym(handle, kVelmarListClassesSymbol));
  if (!list) {
    ::dlclose(handle);
    return E_PROC_NOT_FOUND;
  }
  KivResult r = RegisterAddIn(list);
  if (Failed(r)) {
    ::dlclose(handle);
    return r;
  }
  std::lock_guard lock(mu_);
  modules_.push_back(handle);
  return S_OK;
}

}  // namespace velmar
