// CDataProxy: what a data selection's factories hand out. A proxy is named
// once and forwards to the real item of that name in the selection's
// current outing; when the outing changes it is bound again, and its
// clients hear a change over all time in between. Without a real item it
// stays good and answers "no data" (KIV_E_PENDING from reads, GetActive
// false, status 2).
//
// The factory keeps each proxy only as a plain pointer; a proxy tells it
// when its last client let it go (IProxyFactoryLink), and the factory tells
// the proxy when it goes first (ForgetFactory).
//
// Client thread only.
#pragma once

#include <string>

#include "outing/status/data_status_item.h"
#include "velmar/filter.h"

namespace velmar {

// What a proxy asks of the selection it belongs to.
class IProxyOwner {
 public:
  // The value offset the selection keeps for a channel name (0 when none).
  virtual double ChannelOffset(const std::u16string& name) const = 0;
  // Stores it; false when that changed nothing.
  virtual bool SetChannelOffset(const std::u16string& name, double offset) = 0;
  // The selection shuts down: its proxies raise nothing more.
  virtual bool closing() const = 0;
  // The selection itself, as a filter's parent.
  virtual IKivUnknown* OwnerUnknown() = 0;

 protected:
  ~IProxyOwner() = default;
};

class IProxyFactoryLink {
 public:
  virtual void ProxyGone(const std::u16string& name) = 0;

 protected:
  ~IProxyFactoryLink() = default;
};

template <class Self, class Interface, class... Extra>
class CDataProxy : public IKivDataImpl<Self, Interface, IKivDataProxy, Extra...>,
                   private CDataNotifications2Receiver {
 public:
  using Data = Interface;

  // Set-up by the factory, once.
  void Attach(std::u16string name, IProxyFactoryLink* link, ComPtr<IKivUnknown> selection, IProxyOwner* owner) {
    this->SetName(std::move(name));
    link_ = link;
    selection_ = std::move(selection);
    owner_ = owner;
  }

  // Binds to `real`, or to nothing; the clients hear a change over all time.
  void Bind(Interface* real) {
    if (real == real_.Get()) return;
    if (real_) sink_->Disconnect(real_.Get());
    ComPtr<Interface> old = std::move(real_);
    real_ = real;
    if (real_) (void)sink_->Connect(real_.Get());
    static_cast<Self*>(this)->OnRebound(old.Get());
    this->SetStatusRange(DataStatus::kUnknown, kTimeMin, kTimeMax);
  }
  // The factory went first.
  void ForgetFactory() { link_ = nullptr; }

  Interface* real() const { return real_.Get(); }

  // IKivDataProxy
  KivResult GetActive(KivBool* active) override {
    if (!active) return E_POINTER;
    *active = ToKivBool(static_cast<bool>(real_));
    return S_OK;
  }

 protected:
  CDataProxy() : sink_(MakeKiv<CDataNotifications2Sink<>>()) {
    sink_->SetReceiver(static_cast<CDataNotifications2Receiver*>(this));
  }
  ~CDataProxy() override {
    if (real_) sink_->Disconnect(real_.Get());
    sink_->SetReceiver(nullptr);
    if (link_) link_->ProxyGone(this->name());
  }

  // The real item changed over [from, to]; a channel widens it over its filters.
  virtual void RealChanged(KivTime from, KivTime to) { this->SetStatusRange(DataStatus::kUnknown, from, to); }
  // After a new real item (or none) was taken; `old` is the one before.
  void OnRebound(Interface*) {}

  IProxyOwner* owner() const { return owner_; }
  IKivUnknown* selection() const { return selection_.Get(); }

  bool PrepareData() override { return true; }
  void OnInputReset() override {}
  DataStatus InputsStatus() override {
    uint32_t status = 0;
    if (!real_ || Failed(real_->GetStatus(&status))) return DataStatus::kNotAvailable;
    return static_cast<DataStatus>(status);
  }
  void OnStatusChanged(DataStatus status, KivTime from, KivTime to) override {
    if (owner_ && owner_->closing()) return;
    IKivDataImpl<Self, Interface, IKivDataProxy, Extra...>::OnStatusChanged(status, from, to);
  }
  uint32_t GetDetail() override {
    uint32_t detail = kDetailHasSamples;
    if (auto data2 = QueryAs<IKivData2>(real_.Get())) (void)data2->GetDetailedStatus(&detail);
    return detail;
  }

 private:
  // CDataNotifications2Receiver: the real item's news.
  void OnDataChanged(IKivData*, KivTime from, KivTime to) override { RealChanged(from, to); }
  void OnDataRemoved(IKivData*) override { this->SetStatusRange(DataStatus::kUnknown, kTimeMin, kTimeMax); }
  void OnDataFailed(IKivData*) override { this->NotifyDataFailed(); }

  ComPtr<Interface> real_;
  ComPtr<CDataNotifications2Sink<>> sink_;
  IProxyFactoryLink* link_ = nullptr;
  ComPtr<IKivUnknown> selection_;
  IProxyOwner* owner_ = nullptr;
};

}  // namespace velmar
