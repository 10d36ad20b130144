// The per-file shared side of an outing: one cache per (source type, path),
// however many outing objects point to it.
//
// COutingCacheStateChanges is what every cache offers (creation of a new
// data set, the caption, a reference count). COutingCacheBase<Cache,
// StateChanges> adds what every cache holds: type, path, caption, outing id,
// and its clients, the outing objects attached to it in order of attachment,
// each seen through its StateChanges interface. File caches add loading
// (file_outing_cache.h).
//
// Ownership: counted. The registry of the source type holds one reference
// (outing_cache_registry.h), each attached outing object one, and a walk over
// the clients one for its length. When the last client detaches, the cache
// takes itself out of its registry; it ends with the last reference.
//
// Client thread only: no locks. Client lists are copied, with a reference on
// each client, before every walk, since a notification may close an outing.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "velmar/guid.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

template <class Cache>
class COutingCacheRegistry;

// The caption of an outing with no information.
inline constexpr std::u16string_view kEmptyOutingCaption = u"<---:---:--->";

// Level of the writer message for an event set that already exists.
inline constexpr uint32_t kEventExistsLevel = 2;
// "Event <name> already exists in the outing."
std::u16string EventExistsMessage(std::u16string_view eventSetName);

class COutingCacheStateChanges {
 public:
  COutingCacheStateChanges(const COutingCacheStateChanges&) = delete;
  COutingCacheStateChanges& operator=(const COutingCacheStateChanges&) = delete;

  // Makes a new, empty data set at the cache's path. True when the work was
  // queued; the outing that asked hears the outcome by OnCreatedNotify.
  // False when the folder cannot be written or the source cannot create.
  virtual bool CreateDataSet() = 0;
  virtual ~COutingCacheStateChanges();
  // The caption, rebuilt first when it is stale.
  virtual std::u16string GetCaption() = 0;

  // Atomic, though every holder lives on the client thread today.
  virtual uint32_t AddRef();
  virtual uint32_t Release();

 protected:
  COutingCacheStateChanges() = default;

 private:
  std::atomic<uint32_t> refs_{0};
};

template <class Cache, class StateChanges>
class COutingCacheBase : public COutingCacheStateChanges {
 public:
  using Client = StateChanges;
  using Registry = COutingCacheRegistry<Cache>;

  const uint32_t& outing_type() const { return outingType_; }
  const std::u16string& path() const { return path_; }
  const Guid& outing_id() const { return outingId_; }
  // The native store replaces the factory's type GUID by the data set's own.
  void SetOutingId(const Guid& id) { outingId_ = id; }
  // The registry that holds this cache; null once taken out.
  Registry* registry() const { return registry_; }

  // Appends an outing object; it stays attached until Detach.
  void Attach(StateChanges* client) {
    if (client) clients_.push_back(client);
  }
  // Takes the client out. When no client is left, the cache leaves its
  // registry, which lets go of its reference: a later open of the same path
  // makes a new cache.
  void Detach(StateChanges* client) {
    auto it = std::find(clients_.begin(), clients_.end(), client);
    if (it == clients_.end()) return;
    clients_.erase(it);
    if (clients_.empty() && registry_) {
      ComPtr<Cache> keep(Self());  // alive to the end of this call
      registry_->Remove(Self());
    }
  }
  size_t client_count() const { return clients_.size(); }
  bool IsAttached(const StateChanges* client) const {
    return std::find(clients_.begin(), clients_.end(), client) != clients_.end();
  }
  // The same, for a client seen through a base of StateChanges.
  template <class Base>
  bool IsAttachedAs(const Base* client) const {
    return std::any_of(clients_.begin(), clients_.end(),
                       [client](const StateChanges* c) { return static_cast<const Base*>(c) == client; });
  }

  std::u16string GetCaption() override {
    if (captionDirty_) {
      caption_ = BuildCaption();
      captionDirty_ = false;
    }
    return caption_;
  }
  // The caption is rebuilt on the next GetCaption.
  void InvalidateCaption() { captionDirty_ = true; }
  bool caption_dirty() const { return captionDirty_; }

  // A writer message to every client.
  void PostMessage(uint32_t level, const std::u16string& text) {
    ForEachClient([&](StateChanges& client) { client.OnWriterMessage(level, text); });
  }
  // Tells every client that an event set of that name exists already.
  void PostEventExists(std::u16string_view eventSetName) {
    PostMessage(kEventExistsLevel, EventExistsMessage(eventSetName));
  }
  // The first data selection binding that a client holds, in attachment order.
  ComPtr<IKivUnknown> GetSelection() {
    ComPtr<IKivUnknown> binding;
    ForEachClient([&](StateChanges& client) {
      if (!binding && client.GetSelectionBinding(binding.Put()) != S_OK) binding = nullptr;
    });
    return binding;
  }

 protected:
  COutingCacheBase(OutingType type, std::u16string path, const Guid& outingId)
      : outingType_(static_cast<uint32_t>(type)), path_(std::move(path)), outingId_(outingId) {}
  ~COutingCacheBase() override = default;

  // The caption text, when GetCaption finds it stale.
  virtual std::u16string BuildCaption() { return std::u16string(kEmptyOutingCaption); }

  // Calls fn(client) for each client attached now, in attachment order, over
  // a copy that holds a reference on each: a client detaching meanwhile is
  // still called, and nothing ends under the walk. The cache itself is held
  // too, so it may lose its last other reference during the walk; the caller
  // must not touch the cache after the walk unless it holds a reference.
  template <class Fn>
  void ForEachClient(Fn&& fn) {
    ComPtr<Cache> keep(Self());
    std::vector<ComPtr<StateChanges>> copy(clients_.begin(), clients_.end());
    for (const ComPtr<StateChanges>& client : copy) fn(*client);
  }
  // The most recently attached client; null without clients.
  StateChanges* LastClient() const { return clients_.empty() ? nullptr : clients_.back(); }

  Cache* Self() { return static_cast<Cache*>(this); }

 private:
  friend Registry;

  const uint32_t outingType_;
  Registry* registry_ = nullptr;
  const std::u16string path_;
  std::u16string caption_{kEmptyOutingCaption};
  Guid outingId_;
  bool captionDirty_ = true;
  std::vector<StateChanges*> clients_;
};

}  // namespace velmar
