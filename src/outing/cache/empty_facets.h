// The facets of the empty outing: data factories with no names, and lap
// markers with none, which refuse edits.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "outing/factory/outing_data_factory.h"
#include "velmar/data_factory.h"
#include "velmar/lap_markers.h"

namespace velmar {

// A factory of interface Factory whose items are ItemInterface: an empty
// name list, and E_FAIL with null for any name.
template <class Factory, class ItemInterface>
class CEmptyDataFactory : public COutingDataFactory<ItemInterface*, Factory> {
 public:
  KivResult GetItem(const std::u16string& name, ItemInterface** item) override {
    (void)name;
    if (!item) return E_POINTER;
    *item = nullptr;
    return E_FAIL;
  }
};

using CEmptyChannelFactory = CEmptyDataFactory<IKivChannelFactory, IKivChannel>;
using CEmptyEventsFactory = CEmptyDataFactory<IKivEventsFactory, IKivEventSet>;
using CEmptyConstantFactory = CEmptyDataFactory<IKivConstantFactory, IKivConstant>;

// No markers and no outing span: the count is 0, the origin 0.0, and
// everything that needs loaded data gives E_FAIL.
class CEmptyLapMarkers : public IKivLapMarkers {
 public:
  KivResult GetLapMarkerCount(uint32_t* count) override;
  KivResult GetDistanceOrigin(double* origin) override;
  KivResult GetLapMarkerTime(uint32_t index, KivTime* time) override;
  KivResult GetLapMarkerNumber(uint32_t index, uint32_t* number) override;
  KivResult IsCarHalt(uint32_t index, KivBool* carHalt) override;
  KivResult GetOutingStart(KivTime* time) override;
  KivResult GetOutingEnd(KivTime* time) override;
  KivResult GetFirstMovement(KivTime* time) override;
  KivResult GetLastMovement(KivTime* time) override;
};

// Edits have nothing to work on: a time lies outside the (empty) outing,
// E_INVALIDARG; every other edit needs marker records, E_FAIL.
class CEmptyLapMarkerWriter : public IKivLapMarkerWriter {
 public:
  KivResult AddLapMarkerAtTime(KivTime time) override;
  KivResult AddLapMarkerAtDistance(double distance) override;
  KivResult RemoveLapMarker(uint32_t index) override;
  KivResult ShiftLapMarkers(double distance) override;
  KivResult ResetLapMarkers() override;
};

}  // namespace velmar
