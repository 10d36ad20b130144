// The process-wide cache of global constants, shared by the constant
// factories of all roots: entries by name and by id, ids counted from 1 in
// the order the entries came. Every factory that serves the cache listens,
// so a change made through one root reaches the clients of all.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "velmar/result.h"

namespace velmar {

struct GlobalConstantEntry {
  double value = 0;           // a simple constant's number; 0 for a spreadsheet one
  std::u16string unit;        // may be empty
  std::u16string text;        // a spreadsheet constant's definition; empty for a simple one
  int64_t id = -1;
  uint32_t stored = 1;        // 1 while the entry is as its file holds it

  bool IsSpreadsheet() const { return !text.empty(); }
};

class CGlobalConstantsCache {
 public:
  using Names = std::vector<std::u16string>;

  class Listener {
   public:
    virtual void OnConstantsAdded(const Names& names) = 0;
    virtual void OnConstantsRemoved(const Names& names) = 0;

   protected:
    ~Listener() = default;
  };

  CGlobalConstantsCache() = default;
  CGlobalConstantsCache(const CGlobalConstantsCache&) = delete;
  CGlobalConstantsCache& operator=(const CGlobalConstantsCache&) = delete;

  void AddListener(Listener* listener);
  void RemoveListener(Listener* listener);

  // Kind 0 simple (empty text), 1 spreadsheet (text "|"). E_INVALIDARG for a
  // kind above 1, an empty name or a name already held. Listeners hear of it.
  [[nodiscard]] KivResult Add(const std::u16string& name, uint32_t kind);
  // E_INVALIDARG for an unknown name. Listeners hear of it.
  [[nodiscard]] KivResult Remove(const std::u16string& name);

  const GlobalConstantEntry* Find(const std::u16string& name) const;
  // In name order.
  Names GetNames() const;
  size_t size() const { return byName_.size(); }

  // Empties the cache and starts ids at 1 again; nobody is told (the last
  // root is gone).
  void Clear();

 private:
  void Tell(bool added, const Names& names);

  std::map<std::u16string, GlobalConstantEntry> byName_;
  std::map<int64_t, std::u16string> byId_;
  int64_t nextId_ = 1;
  std::vector<Listener*> listeners_;
};

}  // namespace velmar
