// Two small notification families and a source that raises both, for the
// tests of points, sinks and the family macros.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/notifications_impl.h"
#include "velmar/notification_family.h"
#include "velmar/text.h"

namespace velmar::testing {

// Probe: three generations.
#define KIV_PROBE_NOTIFICATIONS_1(X)               \
  X(Started, (IKivUnknown* source), (source))      \
  X(Counted, (IKivUnknown* source, uint32_t n), (source, n))
#define KIV_PROBE_NOTIFICATIONS_2(X) \
  X(Named, (IKivUnknown* source, const std::u16string& name), (source, name))
#define KIV_PROBE_NOTIFICATIONS_3(X) X(Stopped, (IKivUnknown* source), (source))

KIV_NOTIFICATION_FAMILY(ProbeNotifications, "{0B0E0001-0000-4000-8000-000000000001}", KIV_PROBE_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(ProbeNotifications, 2, , "{0B0E0001-0000-4000-8000-000000000002}",
                            KIV_PROBE_NOTIFICATIONS_2)
KIV_NOTIFICATION_GENERATION(ProbeNotifications, 3, 2, "{0B0E0001-0000-4000-8000-000000000003}",
                            KIV_PROBE_NOTIFICATIONS_3)

// Gauge: one generation.
#define KIV_GAUGE_NOTIFICATIONS_1(X) X(Moved, (IKivUnknown* source, double value), (source, value))
KIV_NOTIFICATION_FAMILY(GaugeNotifications, "{0B0E0002-0000-4000-8000-000000000001}", KIV_GAUGE_NOTIFICATIONS_1)

#undef KIV_PROBE_NOTIFICATIONS_1
#undef KIV_PROBE_NOTIFICATIONS_2
#undef KIV_PROBE_NOTIFICATIONS_3
#undef KIV_GAUGE_NOTIFICATIONS_1

// Counts live test objects so tests can see that every reference was given back.
inline int g_liveTestObjects = 0;

// Raises both families: points 1..3 are Probe 1..3, point 4 is Gauge.
class ProbeSource
    : public KivObject<IKivNotificationsImpl<ProbeSource, IKivProbeNotifications3, IKivGaugeNotifications>> {
 public:
  ProbeSource() { ++g_liveTestObjects; }
  ~ProbeSource() override { --g_liveTestObjects; }

  using IKivNotificationsImpl::FireNotification;
  using IKivNotificationsImpl::NotificationPoints;

  KivResult Start() { return FireNotification(&IKivProbeNotifications::Started, PrimaryUnknown()); }
  KivResult Count(uint32_t n) { return FireNotification(&IKivProbeNotifications::Counted, PrimaryUnknown(), n); }
  KivResult Name(const std::u16string& name) {
    return FireNotification(&IKivProbeNotifications2::Named, PrimaryUnknown(), name);
  }
  KivResult Stop() { return FireNotification(&IKivProbeNotifications3::Stopped, PrimaryUnknown()); }
  KivResult Move(double value) { return FireNotification(&IKivGaugeNotifications::Moved, PrimaryUnknown(), value); }
};

// A receiver for every probe generation that logs "<tag>:<notification>" and
// can run an action inside a call.
class ProbeLog : public CProbeNotifications3Receiver {
 public:
  ProbeLog(std::vector<std::string>* log, std::string tag) : log_(log), tag_(std::move(tag)) {}

  void Started(IKivUnknown*) override { Note("Started"); }
  void Counted(IKivUnknown*, uint32_t n) override { Note("Counted" + std::to_string(n)); }
  void Named(IKivUnknown*, const std::u16string& name) override { Note("Named" + WideToUtf8(name)); }
  void Stopped(IKivUnknown*) override { Note("Stopped"); }

  // Runs once, inside the next notification, after it is logged.
  std::function<void()> onNext;

 private:
  void Note(const std::string& what) {
    log_->push_back(tag_ + ":" + what);
    if (auto action = std::exchange(onNext, nullptr)) action();
  }
  std::vector<std::string>* log_;
  std::string tag_;
};

// A probe sink of generation `Sink` that counts itself among the live test objects.
template <class Sink>
class Counted : public Sink {
 public:
  Counted() { ++g_liveTestObjects; }
  ~Counted() override { --g_liveTestObjects; }
};

// A new sink, with one reference, forwarding to `receiver`.
template <class Sink, class Receiver>
ComPtr<Counted<Sink>> MakeSink(Receiver* receiver) {
  auto sink = MakeKiv<Counted<Sink>>();
  sink->SetReceiver(receiver);
  return sink;
}

}  // namespace velmar::testing
