// The common base of every data factory: outing-side ones (channels, event
// sets, constants of one outing) and selection-side ones alike.
//
// IKivDataFactoryImpl<Item, Factory> implements the IKivDataFactory
// operations of the factory interface `Factory` (IKivChannelFactory,
// IKivEventsFactory, ...) over an ordered map from name to Item, Item being
// a plain (not counted) pointer to the item or proxy of that name, null while
// none was made. The derived class adds Factory's GetItem and the hooks.
//
// Client thread only.
#pragma once

#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "velmar/data_factory.h"
#include "velmar/unknown.h"
#include "velmar/velmar_notifications.h"

namespace velmar {

template <class Item, class Factory>
class IKivDataFactoryImpl : public Factory {
 public:
  using ItemMap = std::map<std::u16string, Item>;

  // Fills the map first while the list is not up to date.
  KivResult GetNames(NameList* names) override {
    if (!names) return E_POINTER;
    try {
      if (!listed_) FillNames();
      NameList out;
      out.reserve(items_.size());
      for (const auto& entry : items_) out.push_back(entry.first);
      *names = std::move(out);
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  KivResult GetParent(IKivUnknown** parent) override {
    if (!parent) return E_POINTER;
    *parent = nullptr;
    if (!parent_) return E_UNEXPECTED;
    return parent_.CopyTo(parent);
  }

  // Sets when none is held and one is given, clears when one is held and
  // none is given; E_INVALIDARG otherwise.
  KivResult SetParent(IKivUnknown* parent) override {
    if (static_cast<bool>(parent_) == (parent != nullptr)) return E_INVALIDARG;
    parent_ = parent;
    OnParentSet();
    return S_OK;
  }

  KivResult GetRoot(IKivUnknown** root) override {
    if (!root) return E_POINTER;
    *root = nullptr;
    if (!root_) return E_UNEXPECTED;
    return root_.CopyTo(root);
  }

  // Once only: a second call gives E_UNEXPECTED.
  KivResult SetRoot(IKivUnknown* root) override {
    if (!root) return E_POINTER;
    if (root_) return E_UNEXPECTED;
    root_ = root;
    if (CVelmarNotifications7Receiver* receiver = RootReceiver()) {
      auto sink = MakeKiv<RootSink>();
      sink->SetReceiver(receiver);
      // A root that raises nothing leaves the factory without root news.
      if (sink->Connect(root_.Get())) rootSink_ = std::move(sink);
    }
    OnRootSet();
    return S_OK;
  }

  // The icon of the first underlying factory that has one; E_FAIL when none does.
  KivResult GetIcon(int32_t index, int32_t size, IKivUnknown** picture) override {
    if (!picture) return E_POINTER;
    *picture = nullptr;
    for (const ComPtr<IKivDataFactory>& source : IconSources()) {
      if (source && Succeeded(source->GetIcon(index, size, picture))) return S_OK;
    }
    return E_FAIL;
  }

 protected:
  IKivDataFactoryImpl() = default;
  ~IKivDataFactoryImpl() {
    if (rootSink_) {
      rootSink_->SetReceiver(nullptr);
      rootSink_->Disconnect(root_.Get());
    }
  }
  IKivDataFactoryImpl(const IKivDataFactoryImpl&) = delete;
  IKivDataFactoryImpl& operator=(const IKivDataFactoryImpl&) = delete;

  // Brings the map up to date and calls SetListed(true) when it is; may
  // leave it unlisted (data not there yet), so the next GetNames asks again.
  virtual void FillNames() { SetListed(true); }
  // The parent was set or cleared; parent() tells which.
  virtual void OnParentSet() {}
  virtual void OnRootSet() {}
  // What hears the root's notifications once SetRoot connects; none by default.
  virtual CVelmarNotifications7Receiver* RootReceiver() { return nullptr; }
  // The factories GetIcon asks, in order.
  virtual std::vector<ComPtr<IKivDataFactory>> IconSources() { return {}; }

  ItemMap& items() { return items_; }
  const ItemMap& items() const { return items_; }
  bool listed() const { return listed_; }
  void SetListed(bool listed) { listed_ = listed; }
  IKivUnknown* parent() const { return parent_.Get(); }
  IKivUnknown* root() const { return root_.Get(); }

 private:
  using RootSink = CVelmarNotifications7Sink<>;

  ItemMap items_;
  bool listed_ = false;
  ComPtr<IKivUnknown> parent_;
  ComPtr<IKivUnknown> root_;
  ComPtr<RootSink> rootSink_;
};

}  // namespace velmar
