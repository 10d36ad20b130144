// The channel objects of one outing object, by name: each made on first
// demand and kept with a use count, so that every request for a name gets
// the same object. What an outing's channel factory keeps behind GetItem.
//
// A channel leaves the table by Release (its count falls to 0) or by Drop
// (the outing's data was discarded); either way it is detached: its sinks
// hear of the removal and it lets go of its blocks, iterator and cache.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "velmar/channel.h"
#include "velmar/unknown.h"

namespace velmar {

template <class Channel>
class CChannelTable {
 public:
  // Makes and binds the channel of a name (time offset included).
  using Maker = std::function<KivResult(const std::u16string& name, ComPtr<Channel>* channel)>;

  // The lookup of GetItem: E_POINTER for a null out; E_INVALIDARG for a name
  // the factory does not list (`listed` false); E_FAIL with no selection
  // binding. Otherwise the channel of that name, made on first demand with
  // `make`, its use count raised by one.
  [[nodiscard]] KivResult Get(const std::u16string& name, bool listed, bool hasBinding, const Maker& make,
                              IKivChannel** channel) {
    if (!channel) return E_POINTER;
    *channel = nullptr;
    if (!listed) return E_INVALIDARG;
    if (!hasBinding) return E_FAIL;
    try {
      auto it = entries_.find(name);
      if (it == entries_.end()) {
        ComPtr<Channel> made;
        const KivResult hr = make(name, &made);
        if (Failed(hr)) return hr;
        if (!made) return E_FAIL;
        it = entries_.emplace(name, Entry{std::move(made), 0}).first;
      }
      ++it->second.uses;
      return GiveOut(static_cast<IKivChannel*>(it->second.channel.Get()), channel);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  // One use of `name` fewer; at 0 the channel is detached and leaves.
  // False when the table has no such name.
  bool Release(const std::u16string& name) {
    auto it = entries_.find(name);
    if (it == entries_.end()) return false;
    if (--it->second.uses == 0) Drop(name);
    return true;
  }

  // Detaches and removes the channel of `name`, whatever its count.
  bool Drop(const std::u16string& name) {
    auto it = entries_.find(name);
    if (it == entries_.end()) return false;
    ComPtr<Channel> channel = std::move(it->second.channel);
    entries_.erase(it);  // before Detach: a sink may come back to this table
    channel->Detach();
    return true;
  }

  // Detaches every channel, in name order.
  void DropAll() {
    std::vector<std::u16string> names;
    for (const auto& entry : entries_) names.push_back(entry.first);
    for (const std::u16string& name : names) (void)Drop(name);
  }

  // Passes a time offset to every channel made, in name order; stops at the
  // first failure and gives it.
  [[nodiscard]] KivResult SetTimeOffset(KivTime offset) {
    for (auto& [name, entry] : entries_) {
      const KivResult hr = entry.channel->SetTimeOffset(offset);
      if (Failed(hr)) return hr;
    }
    return S_OK;
  }

  Channel* Find(const std::u16string& name) const {
    auto it = entries_.find(name);
    return it == entries_.end() ? nullptr : it->second.channel.Get();
  }
  uint32_t uses(const std::u16string& name) const {
    auto it = entries_.find(name);
    return it == entries_.end() ? 0 : it->second.uses;
  }
  size_t size() const { return entries_.size(); }

 private:
  struct Entry {
    ComPtr<Channel> channel;
    uint32_t uses = 0;
  };
  std::map<std::u16string, Entry> entries_;
};

}  // namespace velmar
