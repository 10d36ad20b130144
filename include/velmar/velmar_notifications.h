// Notifications the root object raises: the family IKivVelmarNotifications,
// generations 1 to 7, with its receivers and sinks (see
// velmar/notification_family.h for what each generation declares).
//
// Every notification's first argument is the root. A client connects to the
// one generation it knows and hears what that generation and all earlier ones
// define; a notification reaches the sinks of the generation that introduced
// it first, then each later generation in turn.
#pragma once

#include <cstdint>

#include "velmar/notification_family.h"

namespace velmar {

struct IKivVelmar;
struct IKivChannelPropertyFactory;
struct IKivCircuitMapData;
struct IKivGroupFactory;
struct IKivEventPropertyFactory;

// One list per generation, in slot order (slot 3 is the first entry of
// generation 1). The lists stay defined so that code can generate
// per-notification code from them, as the tests do.
#define KIV_VELMAR_NOTIFICATIONS_1(X)                                                                   \
  X(ChannelPropertyFactoryChanged, (IKivVelmar* velmar, IKivChannelPropertyFactory* factory),           \
    (velmar, factory))                                                                                  \
  X(CircuitMapDataChanged, (IKivVelmar* velmar, IKivCircuitMapData* map), (velmar, map))                \
  X(CommonChannelsChanged, (IKivVelmar* velmar), (velmar))                                              \
  X(GroupFactoryChanged, (IKivVelmar* velmar, IKivGroupFactory* factory), (velmar, factory))            \
  X(RealTimeSettingsChanged, (IKivVelmar* velmar), (velmar))                                            \
  /* Kept for the slot order; this library never raises it. */                                          \
  X(Reserved8, (IKivVelmar* velmar), (velmar))                                                          \
  X(Closing, (IKivVelmar* velmar), (velmar))

#define KIV_VELMAR_NOTIFICATIONS_2(X)                                                                   \
  X(OutingCaptionFormatChanged, (IKivVelmar* velmar), (velmar))                                         \
  X(TimeFormatChanged, (IKivVelmar* velmar, uint32_t format), (velmar, format))

#define KIV_VELMAR_NOTIFICATIONS_3(X)                                                                   \
  X(PrioritiesChanged, (IKivVelmar* velmar), (velmar))                                                  \
  X(SpareSettingAChanged, (IKivVelmar* velmar), (velmar))                                               \
  X(SpareSettingBChanged, (IKivVelmar* velmar), (velmar))                                               \
  X(EventPropertyFactoryChanged, (IKivVelmar* velmar, IKivEventPropertyFactory* factory),               \
    (velmar, factory))                                                                                  \
  X(TimePrecisionChanged, (IKivVelmar* velmar), (velmar))

#define KIV_VELMAR_NOTIFICATIONS_4(X)                                                                   \
  X(PerformanceFormatChanged, (IKivVelmar* velmar, uint32_t format), (velmar, format))                  \
  X(SpeedUnitChanged, (IKivVelmar* velmar, uint32_t unit), (velmar, unit))                              \
  X(SpeedPrecisionChanged, (IKivVelmar* velmar, uint16_t precision), (velmar, precision))

#define KIV_VELMAR_NOTIFICATIONS_5(X) X(FavoritesChanged, (IKivVelmar* velmar), (velmar))

#define KIV_VELMAR_NOTIFICATIONS_6(X) X(ColourTableChanged, (IKivVelmar* velmar), (velmar))

#define KIV_VELMAR_NOTIFICATIONS_7(X)                                                                   \
  X(DisplayOutingLabelsChanged, (IKivVelmar* velmar), (velmar))                                         \
  X(OutingLabelInitializationChanged, (IKivVelmar* velmar, uint32_t initialization),                    \
    (velmar, initialization))

KIV_NOTIFICATION_FAMILY(VelmarNotifications, "{4181EB61-4CFB-46F9-B078-AA172A5A70D1}",
                        KIV_VELMAR_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(VelmarNotifications, 2, , "{C38F59A9-06FB-4B0B-9AC7-775E3C172ECD}",
                            KIV_VELMAR_NOTIFICATIONS_2)
KIV_NOTIFICATION_GENERATION(VelmarNotifications, 3, 2, "{0EF28E19-0D5D-4A61-B897-8DFF2FAFBC1A}",
                            KIV_VELMAR_NOTIFICATIONS_3)
KIV_NOTIFICATION_GENERATION(VelmarNotifications, 4, 3, "{EB884A8F-93E0-401C-A78D-59F59391F8BB}",
                            KIV_VELMAR_NOTIFICATIONS_4)
KIV_NOTIFICATION_GENERATION(VelmarNotifications, 5, 4, "{79D9F553-02FB-471D-AC0A-15D8BC75EFB8}",
                            KIV_VELMAR_NOTIFICATIONS_5)
KIV_NOTIFICATION_GENERATION(VelmarNotifications, 6, 5, "{644D4F9F-0A55-45FD-ABF2-7DD0A3358A37}",
                            KIV_VELMAR_NOTIFICATIONS_6)
KIV_NOTIFICATION_GENERATION(VelmarNotifications, 7, 6, "{1A63B7ED-8E0A-4A6A-AA23-546F96DC6AA5}",
                            KIV_VELMAR_NOTIFICATIONS_7)

// The complete do-nothing set, for clients that override a few.
class CVelmarNotificationsReceiverImpl : public CVelmarNotifications7Receiver {};

}  // namespace velmar
