// IKivOutingImpl: the base of every concrete outing object.
//
// An outing object is one client's light handle on a shared per-file cache.
// It offers IKivOuting..4, IKivNotifications with the outing's points, the
// client interface its cache calls (COutingStateChanges or a source's twin
// of it), and the facets the concrete outing lists: its data factories
// (see outing_data_factory.h), lap markers and so on, all on one object.
//
//   class CTextOuting
//       : public COutingOnCache<CTextOutingCache, CTextChannelFactory, CTextEventsFactory, ...> {...};
//
// The concrete outing supplies what only it knows (the protected pure
// virtuals below) and the factory work behind OnDataDiscarded,
// OnChannelsLoaded and the like; the notification-only client operations are
// done here.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "core/notifications_impl.h"
#include "outing/cache/outing_state_changes.h"
#include "velmar/data_factory.h"
#include "velmar/outing.h"
#include "velmar/outing_notifications.h"
#include "velmar/property_set.h"
#include "velmar/unknown.h"

namespace velmar {

// The notification points of every outing, in table order.
class COutingPointsTag;
using COutingNotifications =
    IKivNotificationsImpl<COutingPointsTag, IKivOutingNotifications2, IKivDataFactoryNotifications,
                          IKivLapMarkersNotifications2, IKivTransactionNotifications, IKivWriterNotifications>;

// Copies `text` to an out argument: E_POINTER on null, E_OUTOFMEMORY when
// the copy cannot be made.
[[nodiscard]] KivResult CopyTextOut(const std::u16string& text, std::u16string* out);

namespace outing_detail {

// `self` as Facet's IKivDataFactory table; null when Facet is no data factory.
template <class Facet, class Self>
IKivDataFactory* AsDataFactory(Self* self) {
  if constexpr (std::is_base_of_v<IKivDataFactory, Facet>) {
    return static_cast<Facet*>(self);
  } else {
    return nullptr;
  }
}

// A facet of a later generation answers only for its own interface (its walk
// stops there); it names the generation before it as OlderGeneration, and
// `self` is given out as that when asked for it. Null otherwise.
template <class Facet, class Self>
IKivUnknown* AsOlderGeneration(Self* self, const Guid& iid) {
  if constexpr (requires { typename Facet::OlderGeneration; }) {
    using Older = typename Facet::OlderGeneration;
    if (iid == Older::iid) return static_cast<Older*>(static_cast<Facet*>(self));
  }
  return nullptr;
}

}  // namespace outing_detail

template <class StateChanges, class... Facets>
class IKivOutingImpl : public KivObject<IKivOuting4, COutingNotifications, StateChanges, Facets...> {
  static_assert(std::is_base_of_v<COutingStateChanges, StateChanges>);

 public:
  // --- IKivOuting ---------------------------------------------------------
  KivResult GetCaption(std::u16string* caption) override {
    if (!caption) return E_POINTER;
    return CopyTextOut(OutingCaption(), caption);
  }
  KivResult GetOutingInformation(IKivPropertySet** information) override {
    if (!information) return E_POINTER;
    *information = nullptr;
    return OutingInformation(information);
  }
  KivResult GetFileName(std::u16string* path) override { return CopyTextOut(OutingPath(), path); }
  KivResult GetOutingType(uint32_t* type) override {
    if (!type) return E_POINTER;
    *type = OutingTypeField();
    return S_OK;
  }
  KivResult CloseData() override { return CloseOutingData(); }
  KivResult SetTimeOffset(KivTime offset) override { return ApplyTimeOffset(offset); }
  // --- IKivOuting2..4 -----------------------------------------------------
  KivResult GetOutingId(std::u16string* id) override {
    if (!id) return E_POINTER;
    return CopyTextOut(OutingIdField().ToWide(), id);
  }
  KivResult GetStatusChannelDefinitions(IKivStatusChannelDefinitions** definitions) override {
    if (!definitions) return E_POINTER;
    *definitions = nullptr;
    return StatusChannelDefinitions(definitions);
  }
  KivResult GetOverrideProperties(KivBool* overrideProperties) override {
    if (!overrideProperties) return E_POINTER;
    *overrideProperties = ToKivBool(overrideProperties_);
    return S_OK;
  }

  // --- The cache's calls --------------------------------------------------
  // The factory work is the concrete outing's; these do nothing here.
  void OnDataDiscarded() override {}
  void OnChannelsLoaded() override {}
  void OnChannelsRemoved(const NameList&) override {}
  void OnChannelsAdded(const NameList&) override {}
  KivResult GetSelectionBinding(IKivUnknown** binding) override {
    if (!binding) return E_POINTER;
    *binding = nullptr;
    return S_FALSE;
  }

  void OnInformationLoaded(bool informationChanged) override {
    ReloadEventSets();
    if (informationChanged) OnInformationChanged();
  }
  void OnInformationChanged() override { this->FireNotification(&IKivOutingNotifications::OnInformationChanged, Self()); }
  void OnCreatedNotify(bool success) override {
    this->FireNotification(&IKivOutingNotifications::OnCreated, Self(), ToKivBool(success));
  }
  void OnLapMarkersReset() override { this->FireNotification(&IKivLapMarkersNotifications::OnLapMarkersReset); }
  void OnLapMarkersChanged(KivTime from, KivTime to) override {
    this->FireNotification(&IKivLapMarkersNotifications::OnLapMarkersChanged, Self(), from, to);
  }
  void OnLapMarkersShifted(KivTime from, KivTime to) override {
    this->FireNotification(&IKivLapMarkersNotifications2::OnLapMarkersShifted, Self(), from, to);
  }
  void OnTransactionBegin() override { this->FireNotification(&IKivTransactionNotifications::OnTransactionStarted); }
  void OnTransactionEnd() override { this->FireNotification(&IKivTransactionNotifications::OnTransactionFinished); }
  void OnTransactionProgress(uint32_t done, uint32_t total) override {
    this->FireNotification(&IKivTransactionNotifications::OnTransactionProgress, total, done);
  }
  void OnTransactionStatus(const std::u16string& text) override {
    this->FireNotification(&IKivTransactionNotifications::OnTransactionMessage, text);
  }
  void OnWriterMessage(uint32_t level, const std::u16string& text) override {
    this->FireNotification(&IKivWriterNotifications::OnWriterMessage, level, text);
  }

  // The offset every channel or event set made from now starts with.
  KivTime time_offset() const { return timeOffset_; }
  bool override_properties() const { return overrideProperties_; }
  // Set by the outing factory after making the object.
  void SetOverrideProperties(bool overrideProperties) { overrideProperties_ = overrideProperties; }

 protected:
  explicit IKivOutingImpl(bool overrideProperties) : overrideProperties_(overrideProperties) {}

  // What the concrete outing supplies, in this order.
  // `information` is already null; S_OK with a reference once loaded, else S_FALSE.
  virtual KivResult OutingInformation(IKivPropertySet** information) = 0;
  virtual KivResult CloseOutingData() = 0;
  virtual const std::u16string& OutingPath() = 0;
  virtual std::u16string OutingCaption() = 0;
  // Shifts the outing's channels and event sets; stores the offset with
  // set_time_offset where the source does.
  virtual KivResult ApplyTimeOffset(KivTime offset) = 0;
  virtual const uint32_t& OutingTypeField() = 0;
  virtual const Guid& OutingIdField() = 0;
  // `definitions` is already null. Only the native store and real-time
  // sources have status channels.
  virtual KivResult StatusChannelDefinitions(IKivStatusChannelDefinitions** definitions) {
    (void)definitions;
    return E_NOTIMPL;
  }
  // OnInformationLoaded's first step: event sets from the loaded events.
  virtual void ReloadEventSets() {}

  void set_time_offset(KivTime offset) { timeOffset_ = offset; }

  // A factory's name-list notifications, with the kind of data it holds
  // (kDataKind...); an empty list raises nothing.
  void FireItemsAdded(IKivDataFactory* factory, uint32_t kind, const NameList& names) {
    if (!names.empty()) this->FireNotification(&IKivDataFactoryNotifications::OnItemsAdded, factory, kind, names);
  }
  void FireItemsRemoved(IKivDataFactory* factory, uint32_t kind, const NameList& names) {
    if (!names.empty()) this->FireNotification(&IKivDataFactoryNotifications::OnItemsRemoved, factory, kind, names);
  }
  void FireItemsChanged(IKivDataFactory* factory, uint32_t kind, const NameList& names) {
    if (!names.empty()) this->FireNotification(&IKivDataFactoryNotifications::OnItemsChanged, factory, kind, names);
  }

  // IKivDataFactory is answered by the first factory facet: each facet
  // answers only for its own interface (see outing_data_factory.h).
  KivResult QueryExtra(const Guid& iid, void** out) override {
    IKivUnknown* found = nullptr;
    if (iid == IKivDataFactory::iid) {
      ((found || (found = outing_detail::AsDataFactory<Facets>(this))), ...);
    } else {
      ((found || (found = outing_detail::AsOlderGeneration<Facets>(this, iid))), ...);
    }
    if (!found) return E_NOINTERFACE;
    found->AddRef();
    *out = found;
    return S_OK;
  }

 private:
  IKivOuting* Self() { return this; }

  bool overrideProperties_;
  KivTime timeOffset_ = 0;
};

}  // namespace velmar
