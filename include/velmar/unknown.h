// Reference-counted interfaces: the identity interface every object offers,
// a smart pointer for them, and a helper that implements identity and
// counting for a class and its list of interfaces.
//
// An interface is an abstract struct with `static constexpr Guid iid` and,
// for a later generation, `using Parent = <previous generation>;` so that a
// newer generation answers for every older identity with the same pointer.
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "velmar/guid.h"
#include "velmar/result.h"

namespace velmar {

struct IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{00000000-0000-0000-C000-000000000046}");
  virtual KivResult QueryInterface(const Guid& iid, void** out) = 0;
  virtual uint32_t AddRef() = 0;
  virtual uint32_t Release() = 0;

 protected:
  ~IKivUnknown() = default;
};

// Counted reference to an interface. Copy adds a reference; destruction releases.
template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}
  // Takes a new reference on p.
  ComPtr(T* p) : p_(p) { if (p_) p_->AddRef(); }
  ComPtr(const ComPtr& o) : ComPtr(o.p_) {}
  ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  ComPtr(const ComPtr<U>& o) : ComPtr(static_cast<T*>(o.Get())) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  ComPtr(ComPtr<U>&& o) noexcept : p_(o.Detach()) {}
  ~ComPtr() { Reset(); }

  ComPtr& operator=(ComPtr o) noexcept { std::swap(p_, o.p_); return *this; }
  ComPtr& operator=(std::nullptr_t) { Reset(); return *this; }

  // Adopts an existing reference without adding one.
  static ComPtr Adopt(T* p) { ComPtr c; c.p_ = p; return c; }
  T* Detach() { return std::exchange(p_, nullptr); }
  void Reset() { if (T* p = std::exchange(p_, nullptr)) p->Release(); }

  T* Get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }

  // For out arguments: releases what is held and gives the slot to fill.
  T** Put() { Reset(); return &p_; }
  void** PutVoid() { return reinterpret_cast<void**>(Put()); }

  // Hands a new reference to an out argument. E_POINTER on null.
  KivResult CopyTo(T** out) const {
    if (!out) return E_POINTER;
    *out = p_;
    if (p_) p_->AddRef();
    return S_OK;
  }

  // QueryInterface for U.
  template <class U>
  KivResult As(ComPtr<U>* out) const {
    if (!p_) return E_POINTER;
    return p_->QueryInterface(U::iid, out->PutVoid());
  }
  template <class U>
  ComPtr<U> As() const {
    ComPtr<U> r;
    if (p_) (void)p_->QueryInterface(U::iid, r.PutVoid());
    return r;
  }

  friend bool operator==(const ComPtr& a, const ComPtr& b) { return a.p_ == b.p_; }
  friend bool operator==(const ComPtr& a, std::nullptr_t) { return a.p_ == nullptr; }

 private:
  T* p_ = nullptr;
};

// Queries `from` for U; the typed form of QueryInterface.
template <class U, class T>
ComPtr<U> QueryAs(T* from) {
  ComPtr<U> r;
  if (from) (void)from->QueryInterface(U::iid, r.PutVoid());
  return r;
}

// Hands a new reference of p to an out argument (null out gives E_POINTER).
template <class T, class U>
KivResult GiveOut(U* p, T** out) {
  if (!out) return E_POINTER;
  *out = p;
  if (p) p->AddRef();
  return S_OK;
}

// The module's count of live objects: every counted object, job item and
// state machine adds 1 when made and takes 1 when it goes, so the module
// may be unloaded only at 0. Atomic, since job items die on worker threads.
// Each loaded module keeps its own count (the function is local to it).
inline std::atomic<int32_t>& KivLiveObjects() noexcept {
  static std::atomic<int32_t> count{0};
  return count;
}

// A base that keeps the live count for its object's lifetime.
class KivLiveCounted {
 protected:
  KivLiveCounted() noexcept { KivLiveObjects().fetch_add(1, std::memory_order_relaxed); }
  KivLiveCounted(const KivLiveCounted&) noexcept : KivLiveCounted() {}
  KivLiveCounted& operator=(const KivLiveCounted&) noexcept { return *this; }
  ~KivLiveCounted() { KivLiveObjects().fetch_sub(1, std::memory_order_acq_rel); }
};

namespace unknown_detail {

template <class I, class = void>
struct ParentOf { using type = IKivUnknown; };
template <class I>
struct ParentOf<I, std::void_t<typename I::Parent>> { using type = typename I::Parent; };

// Walks I, I::Parent, … up to (not including) IKivUnknown.
template <class I, class Self>
bool Find(Self* self, const Guid& iid, void** out) {
  if constexpr (std::is_same_v<I, IKivUnknown>) {
    return false;
  } else {
    if (iid == I::iid) {
      *out = static_cast<I*>(self);
      return true;
    }
    return Find<typename ParentOf<I>::type>(self, iid, out);
  }
}

template <class First, class...>
struct FirstOf { using type = First; };

}  // namespace unknown_detail

// Implements IKivUnknown for a class offering Interfaces (and, through their
// Parent chains, each older generation). Counts are atomic: objects may die
// on worker threads. A new object starts at 0; hold it in a ComPtr at once
// (MakeKiv does that).
template <class... Interfaces>
class KivObject : public Interfaces..., private KivLiveCounted {
 public:
  KivResult QueryInterface(const Guid& iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IKivUnknown::iid) {
      *out = PrimaryUnknown();
    } else if (!(unknown_detail::Find<Interfaces>(this, iid, out) || ...)) {
      if (QueryExtra(iid, out) != S_OK || !*out) {
        *out = nullptr;
        return E_NOINTERFACE;
      }
      return S_OK;  // QueryExtra added its own reference
    }
    AddRef();
    return S_OK;
  }
  uint32_t AddRef() override { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }
  uint32_t Release() override {
    uint32_t n = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (n == 0) delete this;
    return n;
  }

  // The one identity pointer of this object.
  IKivUnknown* PrimaryUnknown() {
    using First = typename unknown_detail::FirstOf<Interfaces...>::type;
    return static_cast<IKivUnknown*>(static_cast<First*>(this));
  }

 protected:
  KivObject() = default;
  virtual ~KivObject() = default;
  // Hook for identities not in the interface list (tear-offs, aggregates).
  // Must add a reference to what it gives and return S_OK, or E_NOINTERFACE.
  virtual KivResult QueryExtra(const Guid&, void**) { return E_NOINTERFACE; }

 private:
  std::atomic<uint32_t> refs_{0};
};

// Creates a counted object and holds it: the returned pointer owns one reference.
template <class T, class... Args>
ComPtr<T> MakeKiv(Args&&... args) {
  return ComPtr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace velmar
