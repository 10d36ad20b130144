#include "regions/regions_classes.h"

#include "regions/circuit_map.h"
#include "regions/lap_finder.h"
#include "regions/segment_finder.h"

namespace velmar {
namespace {

template <class T>
KivResult Register(ClassRegistry& registry, const char16_t* progId, const char16_t* displayName) {
  ClassRegistry::ClassInfo info;
  info.clsid = T::kClassId;
  info.prog_id = progId;
  info.display_name = displayName;
  info.create = [](IKivUnknown** out) -> KivResult {
    if (!out) return E_POINTER;
    auto object = MakeKiv<T>();
    return GiveOut(object->PrimaryUnknown(), out);
  };
  return registry.Register(std::move(info));
}

}  // namespace

KivResult RegisterRegionsClasses(ClassRegistry& registry) {
  for (KivResult r : {Register<CLapFinder>(registry, u"KivVelmar.LapFinder.1", u"Lap Finder"),
                      Register<CSegmentFinder>(registry, u"KivVelmar.SegmentFinder.1", u"Segment Finder"),
                      Register<CCircuitMap>(registry, u"KivVelmar.CircuitMap.1", u"Circuit Map")}) {
    if (Failed(r)) return r;
  }
  return S_OK;
}

}  // namespace velmar
