// Time regions: named stretches of an outing (laps, warm-up, the whole run)
// and the finders that work them out. A finder watches one outing and keeps
// its list of regions true as the outing changes: every change throws the
// list away and the next read builds it again.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/notification_family.h"
#include "velmar/outing.h"
#include "velmar/property_factories.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// A live view of a finder's regions, in order of start time. Indexes count
// from 1; an index out of range gives E_INVALIDARG and 0. A null out pointer
// gives E_POINTER.
struct IKivTimeRegions : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{5B0D7E0A-7F39-4C7B-9A64-2C1E0D8B4F11}");
  virtual KivResult GetCount(int32_t* count) = 0;
  // One region's name when first equals last, else "<first> - <last>";
  // "Unknown" for indexes out of range or last before first.
  virtual KivResult GetName(int32_t first, int32_t last, std::u16string* name) = 0;
  virtual KivResult GetStart(int32_t index, KivTime* start) = 0;
  // The last instant of the region, inclusive.
  virtual KivResult GetEnd(int32_t index, KivTime* end) = 0;
  // True for a region outside the run proper (warm-up, cool-down).
  virtual KivResult GetAuxiliary(int32_t index, KivBool* auxiliary) = 0;
};

struct IKivTimeRegionFinder : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{2E6C1F7B-8D44-4A0E-B3F2-71A9C6D5E804}");
  // Builds the regions if needed and gives a new view on them.
  virtual KivResult GetRegions(IKivTimeRegions** regions) = 0;
  // The region a client starts with (1-based); KIV_E_NO_REGION when none.
  virtual KivResult GetDefaultRegion(int32_t* index) = 0;
  // Watches `outing` (or nothing) from now; the sinks hear the change.
  virtual KivResult SetOuting(IKivOuting* outing) = 0;
};

struct IKivTimeRegionFinder2 : IKivTimeRegionFinder {
  static constexpr Guid iid = Guid::Literal("{99B75141-44F2-4ED3-BEC0-BD0E9C352313}");
  using Parent = IKivTimeRegionFinder;
  // The last region that is over (1-based); E_UNEXPECTED with no regions.
  virtual KivResult GetLastCompleteRegion(int32_t* index) = 0;
};

struct IKivTimeRegionFinder3 : IKivTimeRegionFinder2 {
  static constexpr Guid iid = Guid::Literal("{C4A0B3E2-5F61-4D8B-9E27-0B6F3A1D2C95}");
  using Parent = IKivTimeRegionFinder2;
  // What a client calls the default region ("Fastest Lap").
  virtual KivResult GetDefaultRegionName(std::u16string* name) = 0;
};

// The library's finders, made by identity (KivCreateInstance).
inline constexpr Guid CLSID_KivLapFinder = Guid::Literal("{018B5E4F-602B-4180-A80A-1793F53CC035}");
inline constexpr Guid CLSID_KivSegmentFinder = Guid::Literal("{9B3E5C21-7A4D-4F86-B1E0-2C8D6F4A9E37}");

// GetDefaultRegion: the finder has no region to offer.
inline constexpr KivResult KIV_E_NO_REGION = static_cast<KivResult>(0x8004F021);

#define KIV_TIME_REGION_FINDER_NOTIFICATIONS_1(X) \
  X(OnRegionsChanged, (IKivTimeRegionFinder* finder), (finder))
#define KIV_TIME_REGION_FINDER_NOTIFICATIONS_2(X) \
  X(OnGlobalTimeChanged, (IKivTimeRegionFinder* finder), (finder))

KIV_NOTIFICATION_FAMILY(TimeRegionFinderNotifications, "{7D2F9A41-0C3B-4E85-8A16-93B4E5C7D208}",
                        KIV_TIME_REGION_FINDER_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(TimeRegionFinderNotifications, 2, , "{A1E8C6F3-2B49-4D70-95C1-6E3D8F0B7A52}",
                            KIV_TIME_REGION_FINDER_NOTIFICATIONS_2)

// Offered by an outing that follows live telemetry: its last lap has no end yet.
struct IKivRealtimeOuting : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{E5C27B19-6A0D-4F38-8C41-D29B7E3A5F60}");
  // Whether the outing keeps its whole history or only a recent window.
  virtual KivResult GetHistoryMode(KivBool* keepAll) = 0;
  virtual KivResult SetHistoryMode(KivBool keepAll) = 0;
};

}  // namespace velmar
