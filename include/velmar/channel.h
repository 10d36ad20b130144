// Data items as clients see them: the name and status every item has
// (channels, event sets, constants, media channels), the channel with its
// iterator, the detailed status that tells an empty channel from one with
// samples, the lock on a cached item, and the notifications an item raises.
//
// Status values (u32): 0 unknown, 1 available, 2 not available, 3 pending,
// 4 evaluating (internal). A read that finds the data still being fetched
// answers KIV_E_PENDING; a change notification follows when it settles.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/data_block.h"
#include "velmar/notification_family.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// Detail of an available item (IKivData2::GetDetailedStatus).
inline constexpr uint32_t kDetailHasSamples = 1;
inline constexpr uint32_t kDetailNoSamples = 2;

struct IKivData : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{ECF7DF93-FF1B-4F7D-B416-DCD9EDF48B4F}");
  // A new copy of the name; E_FAIL when it cannot be made.
  virtual KivResult GetName(std::u16string* name) = 0;
  // Works the status out when it is unknown.
  virtual KivResult GetStatus(uint32_t* status) = 0;
};

struct IKivChannel : IKivData {
  static constexpr Guid iid = Guid::Literal("{464C73BC-B96F-41FA-9011-3954A9A29470}");
  using Parent = IKivData;
  // The channel's one iterator, made on first demand. KIV_E_PENDING while the
  // data is not there yet; out is null then.
  virtual KivResult GetIterator(IKivChannelIterator2** iterator) = 0;
};

// Offered beside IKivData by every item.
struct IKivData2 : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{705614B1-735C-4E29-A296-69D9C3E5CE70}");
  // 2 unless the status is 1; then the item's detail (kDetailHasSamples or
  // kDetailNoSamples for a channel).
  virtual KivResult GetDetailedStatus(uint32_t* status) = 0;
};

// A lock count on a cached item: its data stays while locked.
struct IKivDataCache : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{327E27B4-DE49-489E-A737-E8A2DBF22777}");
  virtual KivResult Lock() = 0;
  // KIV_E_NOT_LOCKED when the count is 0.
  virtual KivResult Unlock() = 0;
};

// What an item raises: a change of status or data over a range of time
// (from, to; the receiver asks GetStatus for the new status), its removal, and (generation 2) a failed fetch of its data.
#define KIV_DATA_NOTIFICATIONS_1(X)                                                   \
  X(OnDataChanged, (IKivData * item, KivTime from, KivTime to), (item, from, to)) \
  X(OnDataRemoved, (IKivData * item), (item))
#define KIV_DATA_NOTIFICATIONS_2(X) X(OnDataFailed, (IKivData * item), (item))
KIV_NOTIFICATION_FAMILY(DataNotifications, "{3AB7D650-610A-473E-9995-61442F3CA2E0}", KIV_DATA_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(DataNotifications, 2, , "{DE7F1BE0-D461-4288-8528-C549CB1AD957}",
                            KIV_DATA_NOTIFICATIONS_2)

// Raised first on every status change, for items computed from this one.
#define KIV_INTERNAL_DATA_NOTIFICATIONS_1(X) X(OnInternalDataChanged, (IKivData * item), (item))
KIV_NOTIFICATION_FAMILY(InternalDataNotifications, "{69AF3EBD-984F-45E6-8EDF-664562253913}",
                        KIV_INTERNAL_DATA_NOTIFICATIONS_1)

}  // namespace velmar
