// Notification points: the list of sinks connected to one notification
// interface of an object, and the walk that calls them.
//
// Threading: a point is used on the client thread only and takes no locks.
// Sinks are called synchronously; a sink may connect or disconnect sinks
// (itself included) while it is being called.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "velmar/notifications.h"
#include "velmar/unknown.h"

namespace velmar {

// A point can hold this many sinks: index 0xFFFF is never handed out.
inline constexpr size_t kMaxSinksPerPoint = 65535;

// A cookie is (sink index << 16) | point number, the point number counted
// from 1 in the owner's table, so 0 is never a cookie.
constexpr uint32_t MakeNotificationCookie(uint16_t index, uint16_t pointNumber) {
  return (static_cast<uint32_t>(index) << 16) | pointNumber;
}
constexpr uint16_t CookiePointNumber(uint32_t cookie) { return static_cast<uint16_t>(cookie & 0xFFFF); }
constexpr uint16_t CookieSinkIndex(uint32_t cookie) { return static_cast<uint16_t>(cookie >> 16); }

// What the owner's IKivNotifications sees of a point.
class KivNotificationPointLocator {
 public:
  KivNotificationPointLocator() = default;
  KivNotificationPointLocator(const KivNotificationPointLocator&) = delete;
  KivNotificationPointLocator& operator=(const KivNotificationPointLocator&) = delete;
  // Releases every sink still held.
  virtual ~KivNotificationPointLocator() = default;

  virtual const Guid& GetInterfaceId() const = 0;
  // Connects `sink`, which must offer the point's interface. E_POINTER on a
  // null argument, E_NOINTERFACE if the sink lacks the interface, E_FAIL when
  // the point already holds kMaxSinksPerPoint sinks.
  [[nodiscard]] virtual KivResult Add(IKivUnknown* sink, uint16_t* index) = 0;
  // E_INVALIDARG if `index` holds no sink.
  [[nodiscard]] virtual KivResult Remove(uint16_t index) = 0;
};

template <Guid InterfaceId>
class KivNotificationPointLocatorTyped : public KivNotificationPointLocator {
 public:
  const Guid& GetInterfaceId() const final { return kInterfaceId; }

 private:
  static constexpr Guid kInterfaceId = InterfaceId;
};

namespace notification_detail {

// Each connection gets a serial from one ascending counter; a walk calls only
// sinks whose serial is not above the mark taken when the walk began, so a
// sink connected during a notification (even into a freed slot, or on a
// later generation's point) first hears the next one.
uint64_t CurrentSinkSerial();

// The sinks of one point: entries that may be empty, and a stack of the
// empty indices with the most recently freed on top. The vector never shrinks.
class SinkSlots {
 public:
  SinkSlots() = default;
  SinkSlots(const SinkSlots&) = delete;
  SinkSlots& operator=(const SinkSlots&) = delete;
  ~SinkSlots();

  // Stores `sink` (already the point's interface) in the top free slot, else
  // at the end. E_FAIL when full.
  [[nodiscard]] KivResult Add(ComPtr<IKivUnknown> sink, uint16_t* index);
  // E_INVALIDARG if `index` is past the end or already empty.
  [[nodiscard]] KivResult Remove(uint16_t index);
  // The sink at `index` if it was connected no later than `mark`; else null.
  ComPtr<IKivUnknown> At(size_t index, uint64_t mark) const;
  size_t EntryCount() const { return entries_.size(); }
  size_t ConnectedCount() const { return entries_.size() - freeSlots_.size(); }

 private:
  struct Entry {
    ComPtr<IKivUnknown> sink;
    uint64_t serial = 0;
  };
  std::vector<Entry> entries_;
  std::vector<uint16_t> freeSlots_;
};

// Advise and Unadvise over an owner's table of points (point number i + 1 is
// points[i]); the result codes of IKivNotifications.
[[nodiscard]] KivResult AdviseOnPoints(std::span<KivNotificationPointLocator* const> points, const Guid& iid,
                                       IKivUnknown* sink, uint32_t* cookie);
[[nodiscard]] KivResult AdviseOnPointsByName(std::span<KivNotificationPointLocator* const> points,
                                             const std::u16string& iid, IKivUnknown* sink, uint32_t* cookie);
[[nodiscard]] KivResult UnadviseOnPoints(std::span<KivNotificationPointLocator* const> points, uint32_t cookie);

}  // namespace notification_detail

// The point for one notification interface of Owner. Owner names the class
// whose point this is, so that the points of different owners are distinct
// types; the point does not call it.
template <class Owner, class Interface>
class KivNotificationPointDynamic : public KivNotificationPointLocatorTyped<Interface::iid> {
 public:
  using InterfaceType = Interface;

  [[nodiscard]] KivResult Add(IKivUnknown* sink, uint16_t* index) override {
    if (!sink || !index) return E_POINTER;
    ComPtr<Interface> typed = QueryAs<Interface>(sink);
    if (!typed) return E_NOINTERFACE;
    return slots_.Add(ComPtr<IKivUnknown>(std::move(typed)), index);
  }
  [[nodiscard]] KivResult Remove(uint16_t index) override { return slots_.Remove(index); }

  // Calls `method` on every sink connected now; the result of the last call,
  // S_OK when there was none. A failed call does not stop the walk.
  template <class I, class... P>
  KivResult Fire(KivResult (I::*method)(P...), std::type_identity_t<P>... args) {
    return Walk(notification_detail::CurrentSinkSerial(), method, args...).value_or(S_OK);
  }

  // The walk behind Fire, for sinks connected no later than `mark`; nothing
  // when no sink was called. Owners with several generations walk their
  // points with one mark.
  template <class I, class... P>
  std::optional<KivResult> Walk(uint64_t mark, KivResult (I::*method)(P...), std::type_identity_t<P>... args) {
    static_assert(std::is_base_of_v<I, Interface>, "the notification is not part of this point's interface");
    std::optional<KivResult> last;
    const size_t count = slots_.EntryCount();
    for (size_t i = 0; i < count; ++i) {
      // Read again at each step: the previous call may have changed the list.
      ComPtr<IKivUnknown> sink = slots_.At(i, mark);
      if (!sink) continue;
      last = (static_cast<Interface*>(sink.Get())->*method)(args...);
    }
    return last;
  }

  size_t ConnectedCount() const { return slots_.ConnectedCount(); }

 private:
  notification_detail::SinkSlots slots_;
};

}  // namespace velmar
