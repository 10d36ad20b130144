#include "regions/regions_classes.h"

#include <new>

#include "regions/lap_finder.h"
#include "regions/outing_finder.h"
#include "regions/time_region_navigator.h"
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
  ClassRegistry::ClassInfo navigator;
  navigator.clsid = CLSID_KivTimeRegionNavigator;
  navigator.prog_id = u"KivVelmar.TimeRegionNavigator.1";
  navigator.display_name = u"TimeRegionNavigator";
  navigator.create = &CreateTimeRegionNavigator;
  for (KivResult r : {AddFinder<CLapFinder>(registry, u"KivVelmar.LapFinder.1", u"LapFinder"),
                      AddFinder<COutingFinder>(registry, u"KivVelmar.OutingFinder.1", u"OutingFinder"),
                      registry.Register(std::move(navigator))}) {
    if (Failed(r)) return r;
  }
  return S_OK;
}

KivResult CreateRegionsClass(const Guid& clsid, IKivUnknown** out) {
  if (clsid == CLSID_KivLapFinder) return MakeFinder<CLapFinder>(out);
  if (clsid == CLSID_KivOutingFinder) return MakeFinder<COutingFinder>(out);
  if (clsid == CLSID_KivTimeRegionNavigator) return CreateTimeRegionNavigator(out);
  if (out) *out = nullptr;
  return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace velmar
