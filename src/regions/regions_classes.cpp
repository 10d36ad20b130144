#include "regions/regions_classes.h"

#include <new>

#include "regions/circuit_map.h"
#include "regions/global_time_finder.h"
#include "regions/lap_finder.h"
#include "regions/outing_finder.h"
#include "regions/segment_finder.h"
#include "regions/time_region_navigator.h"
#include "velmar/classes.h"

namespace velmar {
namespace {

template <class T>
KivResult Make(IKivUnknown** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  try {
    return GiveOut(MakeKiv<T>()->PrimaryUnknown(), out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult Add(ClassRegistry& registry, const Guid& clsid, const char16_t* progId, const char16_t* name,
              KivCreateFn create) {
  ClassRegistry::ClassInfo info;
  info.clsid = clsid;
  info.prog_id = progId;
  info.display_name = name;
  info.create = create;
  return registry.Register(std::move(info));
}

}  // namespace

KivResult RegisterRegionsClasses(ClassRegistry& registry) {
  for (KivResult r : {Add(registry, CLSID_KivLapFinder, u"KivVelmar.LapFinder.1", u"LapFinder", &Make<CLapFinder>),
                      Add(registry, CLSID_KivOutingFinder, u"KivVelmar.OutingFinder.1", u"OutingFinder",
                          &Make<COutingFinder>),
                      Add(registry, CLSID_KivSegmentFinder, u"KivVelmar.SegmentFinder.1", u"SegmentFinder",
                          &Make<CSegmentFinder>),
                      Add(registry, CLSID_KivGlobalTimeFinder, u"KivVelmar.GlobalTimeFinder.1", u"GlobalTimeFinder",
                          &Make<CGlobalTimeFinder>),
                      Add(registry, CLSID_KivTimeRegionNavigator, u"KivVelmar.TimeRegionNavigator.1",
                          u"TimeRegionNavigator", &CreateTimeRegionNavigator),
                      Add(registry, CCircuitMap::kClassId, u"KivVelmar.CircuitMap.1", u"Circuit Map",
                          &Make<CCircuitMap>)}) {
    if (Failed(r)) return r;
  }
  return S_OK;
}

KivResult CreateRegionsClass(const Guid& clsid, IKivUnknown** out) {
  if (clsid == CLSID_KivLapFinder) return Make<CLapFinder>(out);
  if (clsid == CLSID_KivOutingFinder) return Make<COutingFinder>(out);
  if (clsid == CLSID_KivSegmentFinder) return Make<CSegmentFinder>(out);
  if (clsid == CLSID_KivGlobalTimeFinder) return Make<CGlobalTimeFinder>(out);
  if (clsid == CLSID_KivTimeRegionNavigator) return CreateTimeRegionNavigator(out);
  if (out) *out = nullptr;
  return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace velmar
