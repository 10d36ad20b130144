// What a plug-in channel and a plug-in event set share: the name, the status
// worked out by reading the plug-in once, and the news their clients hear.
// The plug-in's own reports (its state, data or availability changed, or it
// goes) drop what was read and reach the clients as the library's data
// notifications: the internal one first, then the change (or removal). An
// item whose plug-in waited for a library item still being fetched is
// pending, and reads again when that item changes.
//
// Client thread only.
#pragma once

#include <memory>
#include <string>

#include "core/notifications_impl.h"
#include "managed/plugin_seam.h"
#include "velmar/channel.h"

namespace velmar::managed {

template <class Owner, class Interface, class Plugin>
class CDotNetDataItem
    : public KivObject<Interface, IKivNotificationsImpl<Owner, IKivInternalDataNotifications, IKivDataNotifications2>>,
      private PluginDataListener {
 public:
  KivResult GetName(std::u16string* name) override {
    if (!name) return E_POINTER;
    *name = name_;
    return S_OK;
  }
  KivResult GetStatus(uint32_t* status) override {
    if (!status) return E_POINTER;
    if (status_ == DataStatus::kUnknown || status_ == DataStatus::kPending) (void)Read();
    *status = static_cast<uint32_t>(status_);
    return S_OK;
  }

 protected:
  CDotNetDataItem(std::u16string name, std::unique_ptr<Plugin> plugin)
      : name_(std::move(name)), plugin_(std::move(plugin)) {
    try {
      plugin_->Listen(this);
    } catch (const PluginError&) {
    }
  }
  ~CDotNetDataItem() override {
    StopWaiting();
    try {
      plugin_->Listen(nullptr);
    } catch (const PluginError&) {
    }
  }

  const std::u16string& name() const { return name_; }
  Plugin& plugin() { return *plugin_; }

  // Reads the plug-in's data unless it is read: S_OK, KIV_E_PENDING, or
  // E_FAIL for an item "not available".
  KivResult Read() {
    if (status_ == DataStatus::kAvailable) return S_OK;
    if (status_ == DataStatus::kNotAvailable) return E_FAIL;
    StopWaiting();
    try {
      status_ = Fetch() ? DataStatus::kAvailable : DataStatus::kNotAvailable;
    } catch (const PluginPending& pending) {
      status_ = DataStatus::kPending;
      WaitFor(pending.input.Get());
      return KIV_E_PENDING;
    } catch (const PluginError&) {
      status_ = DataStatus::kNotAvailable;
    }
    if (status_ != DataStatus::kAvailable) Forget();
    return status_ == DataStatus::kAvailable ? S_OK : E_FAIL;
  }

  // Reads everything from the plug-in; false when what it gave can't be
  // laid out. Throws what the plug-in throws.
  virtual bool Fetch() = 0;
  // Drops what Fetch kept.
  virtual void Forget() = 0;

 private:
  // Tells the library when the input the plug-in waited for changes.
  class Waiter final : public CDataNotifications2Receiver {
   public:
    explicit Waiter(CDotNetDataItem& item) : item_(item) {}
    void OnDataChanged(IKivData*, KivTime, KivTime) override { item_.OnStateChanged(); }
    void OnDataRemoved(IKivData*) override { item_.OnStateChanged(); }
    void OnDataFailed(IKivData*) override { item_.OnStateChanged(); }

   private:
    CDotNetDataItem& item_;
  };

  IKivData* AsData() { return static_cast<IKivData*>(static_cast<Interface*>(this)); }

  void WaitFor(IKivUnknown* input) {
    if (!input) return;
    waitSink_ = MakeKiv<CDataNotifications2Sink<>>();
    waitSink_->SetReceiver(&waiter_);
    waited_ = input;
    if (!waitSink_->Connect(input)) StopWaiting();
  }
  void StopWaiting() {
    if (!waitSink_) return;
    waitSink_->SetReceiver(nullptr);
    (void)waitSink_->Disconnect(waited_.Get());
    waitSink_ = nullptr;
    waited_ = nullptr;
  }

  void Changed(KivTime from, KivTime to) {
    ComPtr<IKivUnknown> keep(static_cast<Interface*>(this));  // a sink may let go of the item
    StopWaiting();
    Forget();
    status_ = DataStatus::kUnknown;
    (void)this->FireNotification(&IKivInternalDataNotifications::OnInternalDataChanged, AsData());
    (void)this->FireNotification(&IKivDataNotifications::OnDataChanged, AsData(), from, to);
  }

  // PluginDataListener
  void OnStateChanged() override { Changed(kTimeMin, kTimeMax); }
  void OnDataChanged(KivTime from, KivTime to) override { Changed(from, to); }
  void OnAvailabilityChanged() override { Changed(kTimeMin, kTimeMax); }
  void OnTerminating() override {
    ComPtr<IKivUnknown> keep(static_cast<Interface*>(this));
    StopWaiting();
    Forget();
    status_ = DataStatus::kNotAvailable;
    (void)this->FireNotification(&IKivInternalDataNotifications::OnInternalDataChanged, AsData());
    (void)this->FireNotification(&IKivDataNotifications::OnDataRemoved, AsData());
  }

  std::u16string name_;
  std::unique_ptr<Plugin> plugin_;
  DataStatus status_ = DataStatus::kUnknown;
  Waiter waiter_{*this};
  ComPtr<CDataNotifications2Sink<>> waitSink_;
  ComPtr<IKivUnknown> waited_;
};

}  // namespace velmar::managed
