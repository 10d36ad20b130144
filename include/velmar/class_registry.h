// Component services: the table of creatable classes, by class identity
// and program id, with the component categories each class belongs to.
//
// The library registers its own classes at start; add-in modules register
// theirs through an exported C function:
//
//   extern "C" velmar::KivResult VelmarListClasses(velmar::IKivClassSink* sink);
//
// which calls sink->AddClass once per class. LoadAddIn loads the module and
// takes all of its classes, or none when the function fails. Modules stay
// loaded to the end of the process, since their objects may live that long.
//
// Thread-safety: all members may be called from any thread; creation
// functions run without the table's lock held, so they may use the table.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmar/guid.h"
#include "velmar/result.h"
#include "velmar/unknown.h"

namespace velmar {

// Makes a new object and hands out one reference to it.
using KivCreateFn = KivResult (*)(IKivUnknown** out);

// One class as a module lists it: plain data, so that it passes between
// separately built modules.
struct KivClassEntry {
  Guid clsid;
  const char16_t* prog_id = nullptr;       // e.g. u"KivVelmar.Velmar.1"; may be null
  const char16_t* display_name = nullptr;  // the short user type name; may be null
  KivCreateFn create = nullptr;            // null: known, but not creatable here
  const Guid* categories = nullptr;
  uint32_t category_count = 0;
};

struct IKivClassSink {
  virtual KivResult AddClass(const KivClassEntry& entry) = 0;

 protected:
  ~IKivClassSink() = default;
};

extern "C" {
typedef KivResult (*VelmarListClassesFn)(IKivClassSink* sink);
}
inline constexpr const char* kVelmarListClassesSymbol = "VelmarListClasses";

class ClassRegistry {
 public:
  struct ClassInfo {
    Guid clsid;
    std::u16string prog_id;
    std::u16string display_name;
    std::function<KivResult(IKivUnknown** out)> create;  // empty: not creatable
    std::vector<Guid> categories;
  };

  ClassRegistry();
  ~ClassRegistry();
  ClassRegistry(const ClassRegistry&) = delete;
  ClassRegistry& operator=(const ClassRegistry&) = delete;

  // The process-wide table.
  static ClassRegistry& Process();

  // Adds a class, or replaces the one with the same identity (S_FALSE then;
  // its category memberships are replaced too). A null identity or a
  // program id already used by another class gives E_INVALIDARG.
  KivResult Register(ClassInfo info);
  KivResult Register(const KivClassEntry& entry);
  // REGDB_E_CLASSNOTREG when the class is not known.
  KivResult Unregister(const Guid& clsid);

  // Category membership, as the platform's category manager keeps it: a
  // class not yet in the table is entered without a creation function.
  KivResult RegisterCategories(const Guid& clsid, std::span<const Guid> categories);
  KivResult UnregisterCategories(const Guid& clsid, std::span<const Guid> categories);

  // Makes an object of the class and asks it for `iid`. REGDB_E_CLASSNOTREG
  // for an unknown class, CLASS_E_CLASSNOTAVAILABLE for a class without a
  // creation function, E_NOINTERFACE when the object lacks `iid`, or the
  // creation function's own failure.
  KivResult CreateInstance(const Guid& clsid, const Guid& iid, void** out) const;
  template <class T>
  KivResult CreateInstance(const Guid& clsid, ComPtr<T>* out) const {
    if (!out) return E_POINTER;
    return CreateInstance(clsid, T::iid, out->PutVoid());
  }

  // Program id (or its version-independent form, without the trailing
  // ".N") to class, any letter case. CO_E_CLASSSTRING when unknown.
  KivResult ProgIdToClsid(std::u16string_view prog_id, Guid* out) const;
  // REGDB_E_CLASSNOTREG for an unknown class; S_FALSE and an empty text
  // for a class without a program id.
  KivResult ClsidToProgId(const Guid& clsid, std::u16string* out) const;
  // The short user type name; REGDB_E_CLASSNOTREG for an unknown class.
  KivResult GetUserTypeName(const Guid& clsid, std::u16string* out) const;

  // The categories of a class, in identity order;
  // REGDB_E_CLASSNOTREG for an unknown class.
  KivResult GetCategories(const Guid& clsid, std::vector<Guid>* out) const;
  // S_OK when the class is in the category, S_FALSE when not.
  KivResult IsClassOfCategory(const Guid& clsid, const Guid& category) const;
  // Classes of a category in the order they joined it.
  KivResult EnumClassesOfCategory(const Guid& category, std::vector<Guid>* out) const;

  // Loads an add-in module and registers the classes it lists. S_FALSE when
  // the module was loaded before. E_MOD_NOT_FOUND when it cannot be loaded,
  // E_PROC_NOT_FOUND when it lacks VelmarListClasses, or the function's own
  // failure (then none of its classes is kept).
  KivResult LoadAddIn(const std::filesystem::path& module);
  // The registration step of LoadAddIn, for a listing function at hand.
  KivResult RegisterAddIn(VelmarListClassesFn list);

 private:
  struct Entry;
  // REQUIRES: mu_ held.
  Entry* FindLocked(const Guid& clsid);
  const Entry* FindLocked(const Guid& clsid) const;
  KivResult RegisterLocked(ClassInfo info);
  void JoinCategoryLocked(const Guid& clsid, const Guid& category);

  mutable std::mutex mu_;
  std::vector<std::unique_ptr<Entry>> classes_;          // GUARDED_BY(mu_), in registration order
  std::map<Guid, std::vector<Guid>> category_members_;   // GUARDED_BY(mu_)
  std::vector<void*> modules_;                           // GUARDED_BY(mu_), never unloaded
};

}  // namespace velmar
