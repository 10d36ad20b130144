// Data selections and tasks: what the user has chosen to look at.
//
// A task (a host's worksheet or page) holds data selections in display
// order. A selection binds one outing to one time span, with a colour and a
// label; a client reads through the selection's channel, event-set and media
// factories, whose items are proxies that outlive a change of outing. The
// selection's navigator moves its span over a finder's regions.
//
// Client thread only. Indexes count from 1; a null out pointer gives
// E_POINTER.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/guid.h"
#include "velmar/notification_family.h"
#include "velmar/outing.h"
#include "velmar/time_regions.h"
#include "velmar/types.h"
#include "velmar/unknown.h"
#include "velmar/variant.h"

namespace velmar {

struct IKivTask;
struct IKivTimeRegionNavigator;
struct IKivDataSelection;

// What Update sets; flags combine.
inline constexpr uint32_t kSelectionColour = 1;
inline constexpr uint32_t kSelectionNavigator = 2;
inline constexpr uint32_t kSelectionOuting = 4;
inline constexpr uint32_t kSelectionSpan = 8;
inline constexpr uint32_t kSelectionIncludeAuxiliary = 16;

// Update of the span already held: a success that changed nothing.
inline constexpr KivResult KIV_S_SPAN_UNCHANGED = static_cast<KivResult>(0x0004F005);

struct IKivDataSelection : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{FF0C508C-E55D-46BE-95A7-A52E49AC924B}");
  virtual KivResult GetRealTime(KivBool* realTime) = 0;
  // Rebuilt on each call: "<label> : <outing caption> : <region>", "Empty".
  virtual KivResult GetCaption(std::u16string* caption) = 0;
  virtual KivResult GetColour(uint32_t* colour) = 0;
  virtual KivResult GetEndTime(KivTime* end) = 0;
  // E_UNEXPECTED without one.
  virtual KivResult GetNavigator(IKivTimeRegionNavigator** navigator) = 0;
  // S_FALSE and null without an outing.
  virtual KivResult GetOuting(IKivOuting** outing) = 0;
  virtual KivResult GetStartTime(KivTime* start) = 0;
  // E_FAIL without one.
  virtual KivResult GetTask(IKivTask** task) = 0;
  virtual KivResult GetTimeOffset(KivTime* offset) = 0;
  virtual KivResult SetTimeOffset(KivTime offset) = 0;
  // "Lap 3", "Lap 2 - Lap 4" when the span matches regions exactly, else "Unknown".
  virtual KivResult GetRegionName(std::u16string* name) = 0;
  virtual KivResult GetIncludeAuxiliary(KivBool* include) = 0;
  // Sets what `flags` names (kSelection...). The outing given is opened
  // again privately. KIV_S_SPAN_UNCHANGED when the span was already held;
  // E_FAIL once closing; E_INVALIDARG for the navigator flag without one.
  virtual KivResult Update(uint32_t flags, IKivOuting* outing, IKivTimeRegionNavigator* navigator,
                           uint32_t colour, KivTime start, KivTime end, KivBool includeAuxiliary) = 0;
};

struct IKivDataSelection2 : IKivDataSelection {
  static constexpr Guid iid = Guid::Literal("{BF523277-2456-4FBE-9E28-865FCA271BA1}");
  using Parent = IKivDataSelection;
  // A flag kept for the client; the library does not act on it.
  virtual KivResult GetClientFlag(KivBool* flag) = 0;
  virtual KivResult SetClientFlag(KivBool flag) = 0;
};

struct IKivDataSelection3 : IKivDataSelection2 {
  static constexpr Guid iid = Guid::Literal("{70E06045-DC35-49B5-84EC-4BD063D742BC}");
  using Parent = IKivDataSelection2;
  // By default the outing's "Car name".
  virtual KivResult GetLabel(std::u16string* label) = 0;
  virtual KivResult SetLabel(const std::u16string& label) = 0;
};

struct IKivDataSelection4 : IKivDataSelection3 {
  static constexpr Guid iid = Guid::Literal("{C3F9E6E1-45E6-4659-926F-110B4641E071}");
  using Parent = IKivDataSelection3;
  // Real-time selections only, else E_UNEXPECTED.
  virtual KivResult GetPopUpAlarms(KivBool* popUp) = 0;
  // S_FALSE when unchanged.
  virtual KivResult SetPopUpAlarms(KivBool popUp) = 0;
};

// A live view of a task's selections.
struct IKivDataSelections : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{119201B2-6204-42CB-828E-1619864B5D22}");
  virtual KivResult GetCount(int32_t* count) = 0;
  // DISP_E_BADINDEX out of range.
  virtual KivResult GetItem(int32_t index, IKivDataSelection4** selection) = 0;
  virtual KivResult GetEnumerator(IKivUnknown** enumerator) = 0;
};

// Slots 5 and 10 are kept for the order; this library raises neither.
#define KIV_DATA_SELECTION_NOTIFICATIONS_1(X)                                                       \
  X(OnColourChanged, (IKivDataSelection* selection, uint32_t colour), (selection, colour))          \
  X(OnOutingChanged, (IKivDataSelection* selection), (selection))                                   \
  X(OnReserved5, (IKivDataSelection* selection), (selection))                                       \
  X(OnSpanChanged, (IKivDataSelection* selection), (selection))                                     \
  X(OnCaptionChanged, (IKivDataSelection* selection), (selection))                                  \
  X(OnOutingChangeFinished, (IKivDataSelection* selection), (selection))
#define KIV_DATA_SELECTION_NOTIFICATIONS_2(X)                                                       \
  X(OnIncludeAuxiliaryChanged, (IKivDataSelection* selection), (selection))                         \
  X(OnReserved10, (IKivDataSelection* selection), (selection))                                      \
  X(OnClientFlagChanged, (IKivDataSelection* selection), (selection))
#define KIV_DATA_SELECTION_NOTIFICATIONS_3(X) X(OnLabelChanged, (IKivDataSelection* selection), (selection))
#define KIV_DATA_SELECTION_NOTIFICATIONS_4(X) \
  X(OnPopUpAlarmsChanged, (IKivDataSelection* selection), (selection))

KIV_NOTIFICATION_FAMILY(DataSelectionNotifications, "{DCA224C1-8423-4A48-A70B-3D5633C02F66}",
                        KIV_DATA_SELECTION_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(DataSelectionNotifications, 2, , "{B712225D-86C0-4447-8708-64EFFFD5D39A}",
                            KIV_DATA_SELECTION_NOTIFICATIONS_2)
KIV_NOTIFICATION_GENERATION(DataSelectionNotifications, 3, 2, "{7868515D-B7BE-429B-8829-4430512402EE}",
                            KIV_DATA_SELECTION_NOTIFICATIONS_3)
KIV_NOTIFICATION_GENERATION(DataSelectionNotifications, 4, 3, "{93D00DD3-2C77-4A98-9BF6-BC7CF9756E9C}",
                            KIV_DATA_SELECTION_NOTIFICATIONS_4)

// The span navigator: first / previous / next / last over a finder's
// regions, and the span a selection starts with.
struct IKivTimeRegionNavigator : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{B9D456AA-E819-4E5E-8185-E0F9ED86D62D}");
  // E_FAIL without one.
  virtual KivResult GetFinder(IKivTimeRegionFinder** finder) = 0;
  // E_INVALIDARG for null; the finder held already changes nothing.
  virtual KivResult SetFinder(IKivTimeRegionFinder* finder) = 0;
  // True when the matching Go... would move the span. E_UNEXPECTED without
  // a finder; E_INVALIDARG for a null selection.
  virtual KivResult CanGoPrevious(IKivDataSelection* selection, KivBool* can) = 0;
  virtual KivResult CanGoNext(IKivDataSelection* selection, KivBool* can) = 0;
  virtual KivResult CanGoFirst(IKivDataSelection* selection, KivBool* can) = 0;
  virtual KivResult CanGoLast(IKivDataSelection* selection, KivBool* can) = 0;
  // S_FALSE when the span is there already; E_FAIL while following the
  // live end of a real-time outing.
  virtual KivResult GoFirst(IKivDataSelection* selection) = 0;
  virtual KivResult GoLast(IKivDataSelection* selection) = 0;
  virtual KivResult GoNext(IKivDataSelection* selection) = 0;
  virtual KivResult GoPrevious(IKivDataSelection* selection) = 0;
};

struct IKivTimeRegionNavigator2 : IKivTimeRegionNavigator {
  static constexpr Guid iid = Guid::Literal("{76996AF5-1D75-4407-9BA1-028E00C99CBA}");
  using Parent = IKivTimeRegionNavigator;
  virtual KivResult SelectDefaultRegion(IKivDataSelection* selection) = 0;
  virtual KivResult SelectLastCompleteRegion(IKivDataSelection* selection) = 0;
  virtual KivResult SelectWholeSpan(IKivDataSelection* selection) = 0;
};

#define KIV_TIME_REGION_NAVIGATOR_NOTIFICATIONS_1(X) \
  X(OnFinderChanged, (IKivTimeRegionNavigator* navigator, IKivTimeRegionFinder* finder), (navigator, finder))

KIV_NOTIFICATION_FAMILY(TimeRegionNavigatorNotifications, "{F92BD937-CD23-4760-93F6-D529D86B3545}",
                        KIV_TIME_REGION_NAVIGATOR_NOTIFICATIONS_1)

}  // namespace velmar
