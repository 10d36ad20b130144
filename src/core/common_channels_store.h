// The process-wide store of the sixteen common channel roles, shared by all
// roots. A change goes to the store's parent, the process-wide fan-out,
// which tells every root.
//
// Client thread only.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "velmar/result.h"
#include "velmar/storage.h"

namespace velmar {

class CCommonChannelsStore {
 public:
  static constexpr size_t kRoleCount = 16;

  // Told after a role's text changed.
  class Parent {
   public:
    virtual void CommonChannelsChanged() = 0;

   protected:
    ~Parent() = default;
  };

  CCommonChannelsStore() { ResetToDefaults(); }
  CCommonChannelsStore(const CCommonChannelsStore&) = delete;
  CCommonChannelsStore& operator=(const CCommonChannelsStore&) = delete;

  // The default text of each role, "[q]name".
  static const std::array<std::u16string_view, kRoleCount>& Defaults();

  void SetParent(Parent* parent) { parent_ = parent; }

  // E_INVALIDARG for a role out of range.
  [[nodiscard]] KivResult Get(size_t role, std::u16string* text) const;
  // Compares case sensitively: the text held gives S_FALSE and nothing more;
  // another is stored and the parent told (S_OK).
  [[nodiscard]] KivResult Set(size_t role, std::u16string_view text);

  // Whether some role names a channel of that name (the part after "[q]").
  bool NamesChannel(std::u16string_view name) const;

  // The "Common Channels" stream: u32 version (4), then the texts in role
  // order; an older version holds the roles it knew, the rest take their
  // defaults. Read: STG_E_OLDDLL above 4; a failure keeps the texts held.
  static constexpr uint32_t kStreamVersion = 4;
  [[nodiscard]] KivResult Read(IKivStream* stream);
  [[nodiscard]] KivResult Write(IKivStream* stream) const;

  // Back to the defaults, not read from a file, not written to one: the
  // state of a process that has no root.
  void ResetToDefaults();

  // Set once the store was read from a settings file, which later roots share.
  bool ReadFromFile() const { return readFromFile_; }
  void SetReadFromFile() { readFromFile_ = true; }
  // Set once the store was written to a new settings file.
  bool Written() const { return written_; }
  void SetWritten() { written_ = true; }

 private:
  std::array<std::u16string, kRoleCount> texts_;
  Parent* parent_ = nullptr;
  bool readFromFile_ = false;
  bool written_ = false;
};

}  // namespace velmar
