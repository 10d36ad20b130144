// The base of every data item a client reads: channels, event sets,
// constants, proxies and media channels.
//
// IKivDataImpl<Owner, Interface, Extra...> implements IKivData (through
// Interface, which must extend it), IKivData2 and IKivNotifications for the
// item `Owner`, over the one status machine (data_status.h). It raises, on
// each status change, in this order: the internal notification, then the
// change on the IKivDataNotifications sinks, then on the
// IKivDataNotifications2 sinks. A reference on the item is held across
// every walk, so a sink may let the item go.
//
// A computed item enters its inputs with AddInput; their changes, removal,
// failures and internal notifications reach it through OnInput... below.
// A source item has none.
//
// The derived item supplies PrepareData (data_status.h), OnInputReset, and
// may override GetDetail, OnStatusChanged (calling this one) and
// NotifyDataFailed.
//
//   class CMyConstant final : public IKivDataImpl<CMyConstant, IKivConstant> {
//     bool PrepareData() override { ... }
//     void OnInputReset() override {}
//     ...
//   };
//
// Client thread only.
#pragma once

#include <new>
#include <string>
#include <type_traits>
#include <utility>

#include "core/notifications_impl.h"
#include "outing/status/data_status.h"
#include "outing/status/data_status_input.h"
#include "velmar/channel.h"

namespace velmar {

// The notification points of an item: every item raises the internal and
// the data families; an item with news of its own (a channel proxy's value
// offset) specialises this to add its family after them.
template <class Owner>
struct DataNotificationPointsOf {
  using type = IKivNotificationsImpl<Owner, IKivInternalDataNotifications, IKivDataNotifications2>;
};
template <class Owner>
using CDataNotificationPoints = typename DataNotificationPointsOf<Owner>::type;

template <class Owner, class Interface, class... Extra>
class IKivDataImpl : public KivObject<Interface, IKivData2, CDataNotificationPoints<Owner>, Extra...>,
                     public CDataStatusMachine,
                     private CDataInputHost {
  static_assert(std::is_base_of_v<IKivData, Interface>, "an item's interface extends IKivData");

 public:
  // IKivData
  KivResult GetName(std::u16string* name) override {
    if (!name) return E_POINTER;
    try {
      *name = name_;
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_FAIL;
    }
  }
  KivResult GetStatus(uint32_t* status) override {
    if (!status) return E_POINTER;
    *status = StatusCode(QueryStatus());
    return S_OK;
  }
  // IKivData2
  KivResult GetDetailedStatus(uint32_t* status) override {
    if (!status) return E_POINTER;
    *status = QueryStatus() == DataStatus::kAvailable ? GetDetail() : StatusCode(DataStatus::kNotAvailable);
    return S_OK;
  }

  const std::u16string& name() const { return name_; }
  // The item as the notifications name it.
  IKivData* AsData() { return static_cast<IKivData*>(static_cast<Interface*>(this)); }

  // Enters an input under `key` (walked in key order), replacing one of the
  // same key. The item's status is worked out again. E_POINTER for null.
  [[nodiscard]] KivResult AddInput(const std::u16string& key, IKivUnknown* input, bool optional) {
    const KivResult hr = inputs_.Add(*this, key, input, optional);
    if (Succeeded(hr)) SetStatusRange(DataStatus::kUnknown, TimeRange::Whole());
    return hr;
  }
  // False when no input has that key.
  bool RemoveInput(const std::u16string& key) {
    if (!inputs_.Remove(key)) return false;
    SetStatusRange(DataStatus::kUnknown, TimeRange::Whole());
    return true;
  }
  size_t input_count() const { return inputs_.size(); }

  // Fires the data failure on the IKivDataNotifications2 sinks.
  virtual void NotifyDataFailed() {
    ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
    this->FireNotification(&IKivDataNotifications2::OnDataFailed, AsData());
  }

 protected:
  IKivDataImpl() = default;
  explicit IKivDataImpl(std::u16string name) : name_(std::move(name)) {}
  ~IKivDataImpl() override = default;

  void SetName(std::u16string name) { name_ = std::move(name); }

  void OnStatusChanged(DataStatus status, KivTime from, KivTime to) override {
    (void)status;
    ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
    IKivData* item = AsData();
    this->FireNotification(&IKivInternalDataNotifications::OnInternalDataChanged, item);
    this->FireNotification(&IKivDataNotifications::OnDataChanged, item, from, to);
  }
  // Tells the sinks that the item is gone: the IKivDataNotifications sinks,
  // then the IKivDataNotifications2 sinks. Its inputs are let go.
  void FireRemoved() {
    ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
    this->FireNotification(&IKivDataNotifications::OnDataRemoved, AsData());
    inputs_.Clear();
  }

  // An input raised its internal notification; a source item does nothing.
  virtual void OnInputReset() = 0;
  // The detail of an available item.
  virtual uint32_t GetDetail() { return kDetailHasSamples; }

  DataStatus InputsStatus() override { return inputs_.Status(); }
  void KeepAlive(bool hold) override {
    if (hold) this->AddRef();
    else this->Release();
  }

 private:
  // CDataInputHost
  void InputChanged(KivTime from, KivTime to) override { CDataStatusMachine::OnInputChanged(from, to); }
  void InputRemoved() override { CDataStatusMachine::OnInputRemoved(); }
  void InputFailed() override { NotifyDataFailed(); }
  void InputInternal() override {
    if (resetting_) return;
    resetting_ = true;
    OnInputReset();
    resetting_ = false;
  }

  std::u16string name_;
  CDataInputs inputs_;
  bool resetting_ = false;
};

}  // namespace velmar
