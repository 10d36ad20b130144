// The source side of notifications: an owner's fixed table of points, and
// IKivNotifications over it.
//
// An owner names the newest generation of each family it raises; each brings
// one point per generation, oldest first, in the order listed. The root:
//
//   class CVelmar : public KivObject<IKivVelmar7,
//                                    IKivNotificationsImpl<CVelmar, IKivVelmarNotifications7,
//                                                          IKivObjectNodeNotifications>> {
//     ...
//     FireNotification(&IKivVelmarNotifications::Closing, this);
//   };
//
// has points 1..7 for IKivVelmarNotifications..7 and point 8 for
// IKivObjectNodeNotifications. FireNotification takes the operation of the
// generation that introduced the notification and calls it on that
// generation's sinks, then on each later generation's, all with one start
// mark, so a sink connected during the walk is not called.
//
// The owner must stay alive across a FireNotification call (its caller holds
// it); a sink may disconnect itself or others, and connect new sinks, while
// it is being called. Client thread only.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>

#include "core/notification_point.h"
#include "velmar/notifications.h"
#include "velmar/unknown.h"

namespace velmar {

namespace notification_detail {

template <class... T>
struct TypeList {};

template <class... Lists>
struct Concat;
template <>
struct Concat<> {
  using type = TypeList<>;
};
template <class... A>
struct Concat<TypeList<A...>> {
  using type = TypeList<A...>;
};
template <class... A, class... B, class... Rest>
struct Concat<TypeList<A...>, TypeList<B...>, Rest...> {
  using type = typename Concat<TypeList<A..., B...>, Rest...>::type;
};

// I and each older generation of its family (its Parent chain), oldest first.
template <class I>
struct Generations {
  using type = typename Concat<typename Generations<typename unknown_detail::ParentOf<I>::type>::type,
                               TypeList<I>>::type;
};
template <>
struct Generations<IKivUnknown> {
  using type = TypeList<>;
};

template <class Owner, class List>
struct PointTuple;
template <class Owner, class... I>
struct PointTuple<Owner, TypeList<I...>> {
  using type = std::tuple<KivNotificationPointDynamic<Owner, I>...>;
};

}  // namespace notification_detail

// The fixed table of an owner's points; see the top of this file.
template <class Owner, class... Families>
class KivNotificationPoints {
  using Interfaces = typename notification_detail::Concat<typename notification_detail::Generations<Families>::type...>::type;
  using Points = typename notification_detail::PointTuple<Owner, Interfaces>::type;

 public:
  static constexpr size_t kPointCount = std::tuple_size_v<Points>;
  static_assert(kPointCount > 0 && kPointCount <= 0xFFFF, "a cookie holds the point number in 16 bits");

  KivNotificationPoints() = default;
  KivNotificationPoints(const KivNotificationPoints&) = delete;
  KivNotificationPoints& operator=(const KivNotificationPoints&) = delete;

  [[nodiscard]] KivResult Advise(const Guid& iid, IKivUnknown* sink, uint32_t* cookie) {
    return notification_detail::AdviseOnPoints(Locators(), iid, sink, cookie);
  }
  [[nodiscard]] KivResult AdviseByName(const std::u16string& iid, IKivUnknown* sink, uint32_t* cookie) {
    return notification_detail::AdviseOnPointsByName(Locators(), iid, sink, cookie);
  }
  [[nodiscard]] KivResult Unadvise(uint32_t cookie) {
    return notification_detail::UnadviseOnPoints(Locators(), cookie);
  }

  // Calls `method` on the sinks of the generation that declares it, then on
  // those of each later generation. The result of the last call made, S_OK
  // when none was.
  template <class I, class... P>
  KivResult Fire(KivResult (I::*method)(P...), std::type_identity_t<P>... args) {
    static_assert(HasPointFor<I>(), "the owner has no point for the interface that declares this notification");
    const uint64_t mark = notification_detail::CurrentSinkSerial();
    std::optional<KivResult> last;
    std::apply([&](auto&... point) { (WalkIfNewer<I>(point, last, mark, method, args...), ...); }, points_);
    return last.value_or(S_OK);
  }

  // The point for interface I, which must be in the table.
  template <class I>
  KivNotificationPointDynamic<Owner, I>& Point() {
    return std::get<KivNotificationPointDynamic<Owner, I>>(points_);
  }

 private:
  template <class I>
  static constexpr bool HasPointFor() {
    return []<class... Point>(std::tuple<Point...>*) {
      return (std::is_same_v<I, typename Point::InterfaceType> || ...);
    }(static_cast<Points*>(nullptr));
  }

  template <class I, class Point, class Method, class... A>
  static void WalkIfNewer(Point& point, std::optional<KivResult>& last, uint64_t mark, Method method,
                          const A&... args) {
    if constexpr (std::is_base_of_v<I, typename Point::InterfaceType>) {
      if (auto result = point.Walk(mark, method, args...)) last = result;
    }
  }

  std::array<KivNotificationPointLocator*, kPointCount> Locators() {
    return std::apply([](auto&... point) { return std::array<KivNotificationPointLocator*, kPointCount>{&point...}; },
                      points_);
  }

  Points points_;
};

// IKivNotifications for an owner; list it among the interfaces of the
// owner's KivObject. Families are the newest generation of each family the
// owner raises, in table order.
template <class Owner, class... Families>
class IKivNotificationsImpl : public IKivNotifications {
 public:
  KivResult AdviseByName(const std::u16string& iid, IKivUnknown* sink, uint32_t* cookie) override {
    return points_.AdviseByName(iid, sink, cookie);
  }
  KivResult Advise(const Guid& iid, IKivUnknown* sink, uint32_t* cookie) override {
    return points_.Advise(iid, sink, cookie);
  }
  KivResult Unadvise(uint32_t cookie) override { return points_.Unadvise(cookie); }

 protected:
  IKivNotificationsImpl() = default;
  ~IKivNotificationsImpl() = default;

  // Raises a notification; see KivNotificationPoints::Fire.
  template <class I, class... P>
  KivResult FireNotification(KivResult (I::*method)(P...), std::type_identity_t<P>... args) {
    return points_.Fire(method, args...);
  }
  KivNotificationPoints<Owner, Families...>& NotificationPoints() { return points_; }

 private:
  KivNotificationPoints<Owner, Families...> points_;
};

}  // namespace velmar
