// Notifications an outing object raises: its own (information, creation,
// reload), its data factories' name lists, lap markers, transactions and
// writer messages.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/data_factory.h"
#include "velmar/notification_family.h"
#include "velmar/outing.h"
#include "velmar/types.h"

namespace velmar {

#define KIV_OUTING_NOTIFICATIONS_1(X)                                   \
  X(OnInformationChanged, (IKivOuting* outing), (outing))              \
  X(OnCreated, (IKivOuting* outing, KivBool success), (outing, success))
// Raised when the outing's data was read again as a whole (a live outing's
// reload, status channel definitions arriving).
#define KIV_OUTING_NOTIFICATIONS_2(X) X(OnOutingReloaded, (IKivOuting* outing), (outing))

KIV_NOTIFICATION_FAMILY(OutingNotifications, "{24BD53E4-DB1E-4C01-9AF6-FBB141F5B9EF}",
                        KIV_OUTING_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(OutingNotifications, 2, , "{8FDC5776-979A-4107-8B76-E957015D3F08}",
                            KIV_OUTING_NOTIFICATIONS_2)

// Name lists of a data factory: names that came, went, or whose item changed.
// `kind` is the kind of data the factory holds (kDataKind...).
#define KIV_DATA_FACTORY_NOTIFICATIONS_1(X)                                                                   \
  X(OnItemsAdded, (IKivDataFactory* factory, uint32_t kind, const NameList& names), (factory, kind, names))   \
  X(OnItemsRemoved, (IKivDataFactory* factory, uint32_t kind, const NameList& names), (factory, kind, names)) \
  X(OnItemsChanged, (IKivDataFactory* factory, uint32_t kind, const NameList& names), (factory, kind, names))

KIV_NOTIFICATION_FAMILY(DataFactoryNotifications, "{006D43FF-DA3D-4350-884D-355F87230FB5}",
                        KIV_DATA_FACTORY_NOTIFICATIONS_1)

#define KIV_LAP_MARKERS_NOTIFICATIONS_1(X)                                                    \
  X(OnLapMarkersReset, (), ())                                                               \
  X(OnLapMarkersChanged, (IKivOuting* outing, KivTime from, KivTime to), (outing, from, to))
#define KIV_LAP_MARKERS_NOTIFICATIONS_2(X) \
  X(OnLapMarkersShifted, (IKivOuting* outing, KivTime from, KivTime to), (outing, from, to))

KIV_NOTIFICATION_FAMILY(LapMarkersNotifications, "{4C7C45C2-D32E-4667-AD27-374EDE631F4F}",
                        KIV_LAP_MARKERS_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(LapMarkersNotifications, 2, , "{37A82A4C-DE1F-40A1-89BE-EDB512A2391C}",
                            KIV_LAP_MARKERS_NOTIFICATIONS_2)

// Only the outing that owns a transaction raises these.
#define KIV_TRANSACTION_NOTIFICATIONS_1(X)                                      \
  X(OnTransactionStarted, (), ())                                              \
  X(OnTransactionFinished, (), ())                                             \
  X(OnTransactionMessage, (const std::u16string& text), (text))                \
  X(OnTransactionProgress, (uint32_t total, uint32_t done), (total, done))

KIV_NOTIFICATION_FAMILY(TransactionNotifications, "{8AECDF59-E461-4F19-89C7-75CCDBC0F10F}",
                        KIV_TRANSACTION_NOTIFICATIONS_1)

#define KIV_WRITER_NOTIFICATIONS_1(X) \
  X(OnWriterMessage, (uint32_t level, const std::u16string& text), (level, text))

KIV_NOTIFICATION_FAMILY(WriterNotifications, "{8BEF4BCF-1F77-4241-BF9D-BD7319712F9B}",
                        KIV_WRITER_NOTIFICATIONS_1)

#undef KIV_OUTING_NOTIFICATIONS_1
#undef KIV_OUTING_NOTIFICATIONS_2
#undef KIV_DATA_FACTORY_NOTIFICATIONS_1
#undef KIV_LAP_MARKERS_NOTIFICATIONS_1
#undef KIV_LAP_MARKERS_NOTIFICATIONS_2
#undef KIV_TRANSACTION_NOTIFICATIONS_1
#undef KIV_WRITER_NOTIFICATIONS_1

}  // namespace velmar
