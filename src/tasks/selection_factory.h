// CSelectionDataFactory<Proxy, Factory>: one of a data selection's three
// factories (channels, event sets, media channels), a facet of the
// selection object as an outing's factories are of the outing (see
// outing/outing_data_factory.h).
//
// It lists the names of its sources (the outing's factory of its kind
// first, then host sources and data factory add-ins in the order added) and
// hands out a proxy per name. A proxy is bound to the
// first source that has an item of its name; when a source goes, its
// proxies go back to none, and when one comes they bind to it. Names that
// came, changed or went are told through the selection's data factory
// point, with the factory's kind.
//
// Client thread only.
#pragma once

#include <algorithm>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "outing/factory/data_factory_impl.h"
#include "tasks/data_proxy.h"
#include "velmar/channel_key.h"
#include "velmar/outing_notifications.h"

namespace velmar {

// What a selection factory asks of the selection it is a facet of.
class ISelectionFactoryOwner : public IProxyOwner {
 public:
  virtual void FireItems(IKivDataFactory* factory, uint32_t kind, const NameList& added, const NameList& changed,
                         const NameList& removed) = 0;
  // The names of a source ahead of `later` came, went or changed: `later`
  // may compute from them.
  virtual void InputsMoved(IKivDataFactory* later) = 0;

 protected:
  ~ISelectionFactoryOwner() = default;
};

template <class Proxy, class Factory, uint32_t Kind>
class CSelectionDataFactory : public IKivDataFactoryImpl<Proxy*, Factory>,
                              private IProxyFactoryLink,
                              private CDataFactoryNotificationsReceiver {
 public:
  using Parent = IKivUnknown;  // stops the identity walk: the selection answers IKivDataFactory
  using Data = typename Proxy::Data;
  using FactoryFace = Factory;

  CSelectionDataFactory() : sourceSink_(MakeKiv<CDataFactoryNotificationsSink<CBaseMultiSourceSink>>()) {
    sourceSink_->SetReceiver(static_cast<CDataFactoryNotificationsReceiver*>(this));
    this->SetListed(true);
  }
  // Once, by the selection that the factory is a facet of.
  void SetFactoryOwner(ISelectionFactoryOwner* owner) { owner_ = owner; }
  ~CSelectionDataFactory() {
    CloseFactory();
    sourceSink_->SetReceiver(nullptr);
  }

  IKivDataFactory* AsDataFactory() { return this; }

  KivResult GetItem(const std::u16string& name, Data** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    // A plain name is a name; a text that opens a key must be one.
    if (Kind == kDataKindChannels && name.starts_with(u'[')) {
      CChannelKey key;
      if (!CChannelKey::Parse(name, &key)) return E_INVALIDARG;
    }
    if (!owner_) return E_FAIL;
    auto& slot = this->items()[name];
    if (slot) return GiveOut(static_cast<Data*>(slot), item);
    ComPtr<Proxy> proxy;
    try {
      proxy = MakeKiv<Proxy>();
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    proxy->Attach(name, this, ComPtr<IKivUnknown>(owner_->OwnerUnknown()), owner_);
    proxy->ReadOffset();
    slot = proxy.Get();
    proxy->Bind(FindReal(name).Get());
    owner_->FireItems(this, Kind, {}, {name}, {});
    return GiveOut(static_cast<Data*>(proxy.Get()), item);
  }

  // A factory data can come from: proxies of its names bind to it. False
  // when it is one already, or the factory is closed. `first` puts it ahead
  // of every other source (the outing's own factory).
  bool AddSource(Factory* source, bool first = false) {
    if (!owner_ || !source || HasSource(source)) return false;
    sources_.emplace(first ? sources_.begin() : sources_.end(), source);
    (void)sourceSink_->Connect(source);
    (void)source->SetParent(owner_->OwnerUnknown());
    NameList names;
    (void)source->GetNames(&names);
    TakeNames(names);
    TellLaterSources(source);
    return true;
  }

  // What a source placed at `stop` computes from: the names and items of
  // the sources ahead of it (all of them while `stop` is none of them).
  NameList NamesBefore(Factory* stop) {
    NameList all;
    std::set<std::u16string> seen;
    for (const ComPtr<Factory>& source : SourcesBefore(stop)) {
      NameList names;
      if (Failed(source->GetNames(&names))) continue;
      for (std::u16string& name : names) {
        if (seen.insert(name).second) all.push_back(std::move(name));
      }
    }
    return all;
  }

  ComPtr<Data> FindRealBefore(const std::u16string& name, Factory* stop) {
    for (const ComPtr<Factory>& source : SourcesBefore(stop)) {
      ComPtr<Data> item;
      if (Succeeded(source->GetItem(name, item.Put())) && item) return item;
    }
    return nullptr;
  }

  bool HasSource(Factory* source) const {
    return std::find(sources_.begin(), sources_.end(), source) != sources_.end();
  }

  // The source goes: its names leave unless another source has them, and
  // the proxies it served are bound again.
  void RemoveSource(Factory* source) {
    auto it = std::find(sources_.begin(), sources_.end(), source);
    if (it == sources_.end()) return;
    ComPtr<Factory> gone = *it;
    const std::ptrdiff_t place = it - sources_.begin();
    sources_.erase(it);
    sourceSink_->Disconnect(gone.Get());
    ComPtr<IKivUnknown> parent;
    if (owner_ && Succeeded(gone->GetParent(parent.Put())) && parent.Get() == owner_->OwnerUnknown())
      (void)gone->SetParent(nullptr);
    NameList names;
    (void)gone->GetNames(&names);
    DropNames(names);
    TellLaterSources(gone.Get(), place);
  }

  void RemoveAllSources() {
    while (!sources_.empty()) RemoveSource(sources_.back().Get());
  }

  // The selection shuts down: proxies stay with their clients, bound to
  // nothing, and forget this factory.
  void CloseFactory() {
    RemoveAllSources();
    for (auto& [name, proxy] : this->items()) {
      if (!proxy) continue;
      proxy->ForgetFactory();
      proxy->Bind(nullptr);
    }
    this->items().clear();
    owner_ = nullptr;
  }

  // Every live proxy, for the selection's own walks.
  template <class Fn>
  void ForEachProxy(Fn&& fn) {
    std::vector<ComPtr<Proxy>> live;
    for (auto& [name, proxy] : this->items())
      if (proxy) live.emplace_back(proxy);
    for (auto& proxy : live) fn(*proxy);
  }

 private:
  ComPtr<Data> FindReal(const std::u16string& name) { return FindRealBefore(name, nullptr); }

  std::vector<ComPtr<Factory>> SourcesBefore(Factory* stop) const {
    auto end = std::find(sources_.begin(), sources_.end(), stop);
    return {sources_.begin(), end};
  }

  // Each source after the one at `from` (the moved source's place) hears
  // that its inputs moved. A copy: a source's answer may change the list.
  void TellLaterSources(Factory* moved, std::ptrdiff_t from = -1) {
    if (!owner_) return;
    if (from < 0) from = std::find(sources_.begin(), sources_.end(), moved) - sources_.begin() + 1;
    if (from >= static_cast<std::ptrdiff_t>(sources_.size())) return;
    const std::vector<ComPtr<Factory>> later(sources_.begin() + from, sources_.end());
    for (const ComPtr<Factory>& source : later) {
      if (owner_ && HasSource(source.Get())) owner_->InputsMoved(source.Get());
    }
  }

  void SourceMoved(IKivDataFactory* factory) {
    for (const ComPtr<Factory>& source : sources_) {
      if (static_cast<IKivDataFactory*>(source.Get()) == factory) return TellLaterSources(source.Get());
    }
  }

  void TakeNames(const NameList& names) {
    NameList added, changed;
    for (const std::u16string& name : names) {
      auto [it, isNew] = this->items().try_emplace(name, nullptr);
      if (it->second) {
        it->second->Bind(FindReal(name).Get());
        changed.push_back(name);
      } else if (isNew) {
        added.push_back(name);
      }
    }
    if (owner_) owner_->FireItems(this, Kind, added, changed, {});
  }

  void DropNames(const NameList& names) {
    NameList changed, removed;
    for (const std::u16string& name : names) {
      auto it = this->items().find(name);
      if (it == this->items().end()) continue;
      ComPtr<Data> real = FindReal(name);
      if (it->second) {
        it->second->Bind(real.Get());
        changed.push_back(name);
      } else if (!real) {
        this->items().erase(it);
        removed.push_back(name);
      }
    }
    if (owner_) owner_->FireItems(this, Kind, {}, changed, removed);
  }

  // IProxyFactoryLink: the proxy's last client let go; the name stays.
  void ProxyGone(const std::u16string& name) override {
    auto it = this->items().find(name);
    if (it != this->items().end()) it->second = nullptr;
  }

  // CDataFactoryNotificationsReceiver: the sources' lists moved.
  void OnItemsAdded(IKivDataFactory* factory, uint32_t kind, const NameList& names) override {
    if (kind != Kind) return;
    TakeNames(names);
    SourceMoved(factory);
  }
  void OnItemsRemoved(IKivDataFactory* factory, uint32_t kind, const NameList& names) override {
    if (kind != Kind) return;
    DropNames(names);
    SourceMoved(factory);
  }
  void OnItemsChanged(IKivDataFactory* factory, uint32_t kind, const NameList& names) override {
    if (kind != Kind) return;
    TakeNames(names);
    SourceMoved(factory);
  }

  ISelectionFactoryOwner* owner_ = nullptr;
  std::vector<ComPtr<Factory>> sources_;
  ComPtr<CDataFactoryNotificationsSink<CBaseMultiSourceSink>> sourceSink_;
};

}  // namespace velmar
