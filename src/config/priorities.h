// CPriorities: the event priorities of the settings file ("Priorities"),
// at most eight, each an id, a name and two colours. Every edit is reported
// to the root through the parent callback, which rewrites the stream.
//
// Stream: u16 version 0; u32 default foreground; u32 default background;
// u16 count; per priority u16 version 0, i32 id, u32 foreground, u32
// background, text name.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/persisted_object.h"
#include "core/velmar_parts.h"
#include "velmar/priorities.h"

namespace velmar {

class CPriorities;

class CPriority final : public KivObject<IKivPriority> {
 public:
  CPriority(CPriorities* owner, int32_t id, uint32_t fore, uint32_t back, std::u16string name)
      : owner_(owner), id_(id), fore_(fore), back_(back), name_(std::move(name)) {}

  KivResult SetBackColor(uint32_t colour) override { return Store(back_, colour); }
  KivResult GetBackColor(uint32_t* colour) override { return Give(back_, colour); }
  KivResult SetForeColor(uint32_t colour) override { return Store(fore_, colour); }
  KivResult GetForeColor(uint32_t* colour) override { return Give(fore_, colour); }
  KivResult GetId(int32_t* id) override { return Give(id_, id); }
  KivResult SetName(const std::u16string& name) override { return Store(name_, name); }
  KivResult GetName(std::u16string* name) override { return Give(name_, name); }

  // The priority left the list: edits are kept but reported to no one.
  void Detach() { owner_ = nullptr; }
  int32_t Id() const { return id_; }
  void Write(IKivStream* stream) const;

 private:
  template <class T>
  static KivResult Give(const T& field, T* out) {
    if (!out) return E_POINTER;
    *out = field;
    return S_OK;
  }
  template <class T>
  KivResult Store(T& field, const T& value);

  CPriorities* owner_;
  int32_t id_;
  uint32_t fore_;
  uint32_t back_;
  std::u16string name_;
};

class CPriorities final : public KivObject<IKivPriorities, IKivPrioritiesInternal, CPersistedObject> {
 public:
  static constexpr int32_t kMaximumCount = 8;
  static constexpr uint32_t kDefaultForeColor = 0xFF0000;
  static constexpr uint32_t kDefaultBackColor = 0xFFFFFF;

  ~CPriorities() override;

  KivResult GetCount(int32_t* count) override;
  KivResult SetDefaultForeColor(uint32_t colour) override;
  KivResult GetDefaultForeColor(uint32_t* colour) override;
  KivResult SetDefaultBackColor(uint32_t colour) override;
  KivResult GetDefaultBackColor(uint32_t* colour) override;
  KivResult GetByIndex(int32_t index, IKivPriority** priority) override;
  KivResult GetById(int32_t id, IKivPriority** priority) override;
  KivResult GetMaximumCount(int32_t* count) override;
  KivResult Add(int32_t id, IKivPriority** priority) override;
  KivResult Remove(int32_t index) override;

  KivResult SetParentCallback(CPrioritiesParentCallback* parent) override;

  // CPersistedObject. Reset sets the four defaults only while the list is
  // empty; Load replaces the list (STG_E_OLDDLL for a version word other
  // than 0, E_FAIL for a short stream or a repeated or bad id).
  KivResult Reset() override;
  KivResult Load(IKivStream* stream) override;
  KivResult Save(IKivStream* stream) override;

  KivResult Edited();

 private:
  KivResult SetDefault(uint32_t& field, uint32_t colour);
  void Append(ComPtr<CPriority> priority);
  void Clear();

  uint32_t defaultForeColor_ = kDefaultForeColor;
  uint32_t defaultBackColor_ = kDefaultBackColor;
  std::vector<ComPtr<CPriority>> priorities_;
  std::map<int32_t, size_t> byId_;
  CPrioritiesParentCallback* parent_ = nullptr;
};

template <class T>
KivResult CPriority::Store(T& field, const T& value) {
  if (field == value) return S_OK;
  field = value;
  return owner_ ? owner_->Edited() : S_OK;
}

}  // namespace velmar
