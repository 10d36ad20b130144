#include "regions/regions_classes.h"

#include <new>

#include "regions/lap_finder.h"
#include "velmar/classes.h"

namespace velmar {
namespace {

template <class Finder>
KivResult MakeFinder(IKivUnknown** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  try {
    return GiveOut(MakeKiv<Finder>()->PrimaryUnknown(), out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

template <class Finder>
KivResult AddFinder(ClassRegistry& registry, const char16_t* progId, const char16_t* name) {
  ClassRegistry::ClassInfo info;
  info.clsid = Finder::kClassId;
  info.prog_id = progId;
  info.display_name = name;
  info.create = &MakeFinder<Finder>;
  return registry.Register(std::move(info));
}

}  // namespace

KivResult RegisterRegionsClasses(ClassRegistry& registry) {
  return AddFinder<CLapFinder>(registry, u"KivVelmar.LapFinder.1", u"LapFinder");
}

}  // namespace velmar
