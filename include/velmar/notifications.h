// Connecting to an object's notifications: the interface every notifying
// object offers, and the small counted sink objects a client puts between a
// source and its own receiver class.
//
// The source holds a reference to the sink, never to the client, so a client
// can go away while the source lives on. Teardown from the client side is,
// in this order: clear the sink's receiver, disconnect, release the sink.
// A notification already under way then finds no receiver and does nothing.
//
// Threading: connect, disconnect and notifications happen on the client
// thread; only a sink's reference count may be touched from other threads.
//
// The interfaces, receivers and sinks of each notification family are
// declared with the macros of velmar/notification_family.h.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "velmar/unknown.h"

namespace velmar {

// Offered by every object that raises notifications. Each notification
// interface generation has its own point on the object; a sink connects to
// the one generation it implements.
struct IKivNotifications : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{41B098B1-F507-48C9-A950-C7BC2F79357B}");
  // As Advise, with the interface identity in braced text form. E_POINTER if
  // the sink or cookie is null; E_FAIL if the text is no identity or the sink
  // does not offer that interface.
  virtual KivResult AdviseByName(const std::u16string& iid, IKivUnknown* sink, uint32_t* cookie) = 0;
  // Connects `sink` to the point for interface `iid`; the cookie takes it back.
  // E_POINTER if the sink or cookie is null; E_FAIL if the object has no point
  // for `iid`, the sink does not offer it, or the point is full.
  virtual KivResult Advise(const Guid& iid, IKivUnknown* sink, uint32_t* cookie) = 0;
  // E_FAIL if the cookie names no point of this object; E_INVALIDARG if it
  // names no connected sink on that point.
  virtual KivResult Unadvise(uint32_t cookie) = 0;
};

// Counted identity of a sink: answers IKivUnknown and Interface only (an
// older generation of Interface is not offered; a client connects to the one
// generation it implements). The count is atomic; the last release deletes.
template <class Interface>
class CSimpleUnknownImpl : public KivObject<Interface> {
 public:
  KivResult QueryInterface(const Guid& iid, void** out) override {
    if (out && iid != IKivUnknown::iid && iid != Interface::iid) {
      *out = nullptr;
      return E_NOINTERFACE;
    }
    return KivObject<Interface>::QueryInterface(iid, out);
  }
};

namespace notification_detail {

// Advises `sink` for Interface on `source`; 0 if that failed.
template <class Interface, class Source>
uint32_t AdviseOn(Source* source, IKivUnknown* sink) {
  auto notifications = QueryAs<IKivNotifications>(source);
  uint32_t cookie = 0;
  if (!notifications || Failed(notifications->Advise(Interface::iid, sink, &cookie))) return 0;
  return cookie;
}

template <class Source>
bool UnadviseOn(Source* source, uint32_t cookie) {
  auto notifications = QueryAs<IKivNotifications>(source);
  return notifications && Succeeded(notifications->Unadvise(cookie));
}

}  // namespace notification_detail

// A sink connected to at most one source. The source is not held: the client
// passes it again to Disconnect.
template <class Interface>
class CBaseSingleSourceSink : public CSimpleUnknownImpl<Interface> {
 public:
  // False if already connected or the source refused; true once connected.
  template <class Source>
  [[nodiscard]] bool Connect(Source* source) {
    if (cookie_ != 0 || !source) return false;
    cookie_ = notification_detail::AdviseOn<Interface>(source, this->PrimaryUnknown());
    return cookie_ != 0;
  }
  // Takes the connection back; true if one was held and the source accepted.
  template <class Source>
  bool Disconnect(Source* source) {
    if (cookie_ == 0 || !source) return false;
    // Cleared first: the source's release may be this sink's last reference.
    const uint32_t cookie = std::exchange(cookie_, 0);
    return notification_detail::UnadviseOn(source, cookie);
  }
  bool IsConnected() const { return cookie_ != 0; }
  uint32_t Cookie() const { return cookie_; }

 private:
  uint32_t cookie_ = 0;
};

// A sink connected to any number of sources, keyed by each source's identity.
// It holds a reference to each source, so a source and this sink keep each
// other alive until Disconnect or DisconnectAll.
template <class Interface>
class CBaseMultiSourceSink : public CSimpleUnknownImpl<Interface> {
 public:
  // False if already connected to that source or the source refused.
  template <class Source>
  [[nodiscard]] bool Connect(Source* source) {
    ComPtr<IKivUnknown> identity = QueryAs<IKivUnknown>(source);
    if (!identity || sources_.contains(identity.Get())) return false;
    const uint32_t cookie = notification_detail::AdviseOn<Interface>(identity.Get(), this->PrimaryUnknown());
    if (cookie == 0) return false;
    IKivUnknown* key = identity.Get();
    sources_.emplace(key, Connection{std::move(identity), cookie});
    return true;
  }
  // True if the source was connected.
  template <class Source>
  bool Disconnect(Source* source) {
    ComPtr<IKivUnknown> identity = QueryAs<IKivUnknown>(source);
    auto it = identity ? sources_.find(identity.Get()) : sources_.end();
    if (it == sources_.end()) return false;
    Connection gone = std::move(it->second);
    sources_.erase(it);
    (void)notification_detail::UnadviseOn(gone.source.Get(), gone.cookie);
    return true;
  }
  void DisconnectAll() {
    // Taken out first: an Unadvise may release this sink's last reference.
    auto all = std::exchange(sources_, {});
    for (auto& [key, connection] : all) {
      (void)notification_detail::UnadviseOn(connection.source.Get(), connection.cookie);
    }
  }
  template <class Source>
  bool IsConnectedTo(Source* source) const {
    ComPtr<IKivUnknown> identity = QueryAs<IKivUnknown>(source);
    return identity && sources_.contains(identity.Get());
  }
  size_t SourceCount() const { return sources_.size(); }

 private:
  struct Connection {
    ComPtr<IKivUnknown> source;
    uint32_t cookie = 0;
  };
  std::map<IKivUnknown*, Connection> sources_;
};

// The receiver a family sink forwards to. Not counted: the client owns it
// and clears it before it goes away.
template <class Receiver>
class CBaseNotificationsSink {
 public:
  void SetReceiver(Receiver* receiver) { receiver_ = receiver; }
  Receiver* GetReceiver() const { return receiver_; }

 private:
  Receiver* receiver_ = nullptr;
};

// The layers under every family sink: the connection base (single or multi
// source) for Interface, and the receiver.
template <class ConnectionBase, class Receiver>
class CNotificationsSinkBase : public ConnectionBase, public CBaseNotificationsSink<Receiver> {};

}  // namespace velmar
