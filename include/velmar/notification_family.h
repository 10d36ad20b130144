// Declaring a notification family: one list per generation gives the
// interface, the client's receiver class and the sink class.
//
// A family is a numbered set of interfaces: generation n extends n-1 with
// further notifications and has an identity (and a point on the source) of
// its own. Declare it with one list macro per generation. Each entry is
//
//   X(Name, (parameters), (argument names))
//
// and every notification's first parameter is the object that raises it.
// The Velmar family (velmar/velmar_notifications.h) starts as below; each
// list macro is one logical line, continued with backslashes:
//
//   #define KIV_VELMAR_NOTIFICATIONS_1(X)
//     X(ChannelPropertyFactoryChanged,
//       (IKivVelmar* velmar, IKivChannelPropertyFactory* factory), (velmar, factory))
//     X(CommonChannelsChanged, (IKivVelmar* velmar), (velmar))
//     ...
//   #define KIV_VELMAR_NOTIFICATIONS_2(X)
//     X(TimeFormatChanged, (IKivVelmar* velmar, uint32_t format), (velmar, format))
//     ...
//   KIV_NOTIFICATION_FAMILY(VelmarNotifications, "{...}", KIV_VELMAR_NOTIFICATIONS_1)
//   KIV_NOTIFICATION_GENERATION(VelmarNotifications, 2, , "{...}", KIV_VELMAR_NOTIFICATIONS_2)
//   KIV_NOTIFICATION_GENERATION(VelmarNotifications, 3, 2, "{...}", KIV_VELMAR_NOTIFICATIONS_3)
//
// The third argument of a generation is the previous generation's number,
// left empty when that is generation 1 (whose names carry no number). For the stem `VelmarNotifications` and generation
// 3 this declares, in the enclosing namespace:
//
//   IKivVelmarNotifications3         the interface (Parent: ...Notifications2),
//                                    one pure operation per entry, in list
//                                    order, each returning KivResult;
//   CVelmarNotifications3Receiver    the client's receiver: derives from the
//                                    generation-2 receiver, one virtual void
//                                    operation per entry that does nothing;
//   CVelmarNotifications3Sink<Base>  the counted sink: each operation forwards
//                                    to the receiver when one is set and gives
//                                    S_OK in any case. Base is
//                                    CBaseSingleSourceSink (the default) or
//                                    CBaseMultiSourceSink.
//
// A client then writes:
//
//   class CMyView : public CVelmarNotifications3Receiver {
//     void TimeFormatChanged(IKivVelmar*, uint32_t format) override { ... }
//   };
//   auto sink = MakeKiv<CVelmarNotifications3Sink<>>();
//   sink->SetReceiver(&view);
//   if (!sink->Connect(velmar)) ...
//   ...
//   sink->SetReceiver(nullptr); sink->Disconnect(velmar); sink = nullptr;
//
// An object that raises the family lists its newest generation in
// IKivNotificationsImpl (core/notifications_impl.h), which gives one point per
// generation, and raises a notification with one call naming the generation
// that introduced it:
//
//   FireNotification(&IKivVelmarNotifications2::TimeFormatChanged, this, format);
//
// Families raised by components outside the library need only this
// declaration: the library connects sinks to them.
#pragma once

#include "velmar/notifications.h"

namespace velmar::notification_detail {

// Marks a receiver's default arguments as used.
template <class... T>
constexpr void Ignore(const T&...) {}

// What generation 1 builds on.
class ReceiverRoot {
 public:
  virtual ~ReceiverRoot() = default;
};
template <class Next>
using SinkOpsRoot = Next;

}  // namespace velmar::notification_detail

#define KIV_NOTIFICATION_PURE_(Name, Params, Args) virtual ::velmar::KivResult Name Params = 0;

#define KIV_NOTIFICATION_RECEIVE_(Name, Params, Args) \
  virtual void Name Params { ::velmar::notification_detail::Ignore Args; }

#define KIV_NOTIFICATION_FORWARD_(Name, Params, Args) \
  ::velmar::KivResult Name Params override {         \
    if (auto* receiver = this->GetReceiver()) {       \
      receiver->Name Args;                            \
    }                                                 \
    return ::velmar::S_OK;                            \
  }

// One generation: interface, receiver, the sink's forwarding layer and the
// sink. The sink layer of generation n sits over that of n-1, so a sink
// forwards every operation its interface has.
#define KIV_NOTIFICATION_LAYER_(Interface, ParentDecl, PrevInterface, Receiver, PrevReceiver, Ops,      \
                                PrevOps, Sink, IidText, LIST)                                           \
  struct Interface : PrevInterface {                                                                    \
    static constexpr ::velmar::Guid iid = ::velmar::Guid::Literal(IidText);                             \
    ParentDecl                                                                                          \
    LIST(KIV_NOTIFICATION_PURE_)                                                                        \
  };                                                                                                    \
  class Receiver : public PrevReceiver {                                                                \
   public:                                                                                              \
    LIST(KIV_NOTIFICATION_RECEIVE_)                                                                     \
  };                                                                                                    \
  template <class Next>                                                                                 \
  class Ops : public PrevOps<Next> {                                                                    \
   public:                                                                                              \
    LIST(KIV_NOTIFICATION_FORWARD_)                                                                     \
  };                                                                                                    \
  template <template <class> class Base = ::velmar::CBaseSingleSourceSink>                              \
  using Sink = Ops<::velmar::CNotificationsSinkBase<Base<Interface>, Receiver>>;

// Generation 1 of the family IKiv<Stem>.
#define KIV_NOTIFICATION_FAMILY(Stem, IidText, LIST)                                                 \
  KIV_NOTIFICATION_LAYER_(IKiv##Stem, , ::velmar::IKivUnknown, C##Stem##Receiver,                    \
                          ::velmar::notification_detail::ReceiverRoot, C##Stem##SinkOps,             \
                          ::velmar::notification_detail::SinkOpsRoot, C##Stem##Sink, IidText, LIST)

// Generation Gen of the family IKiv<Stem>, over generation PrevGen (empty
// for generation 1).
#define KIV_NOTIFICATION_GENERATION(Stem, Gen, PrevGen, IidText, LIST)                               \
  KIV_NOTIFICATION_LAYER_(IKiv##Stem##Gen, using Parent = IKiv##Stem##PrevGen;, IKiv##Stem##PrevGen, \
                          C##Stem##Gen##Receiver, C##Stem##PrevGen##Receiver, C##Stem##Gen##SinkOps, \
                          C##Stem##PrevGen##SinkOps, C##Stem##Gen##Sink, IidText, LIST)
