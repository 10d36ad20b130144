// The add-in outing factories, as the outing factory sees them: an ordered
// list of class ids, made once, from the component category of add-in
// outing factories (in the order it enumerates them) or from the order a
// client gives first; then fixed. The outing factory's own class id is
// passed over wherever the list is walked.
//
// Also the type array that GetTypes hands out: the built-in file types
// (text, MAT-file, native store) and then each add-in's, built once.
//
// Process-wide (Process()) and used on the client thread only: no locks.
// Tests make their own over their own class registry.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "velmar/class_registry.h"
#include "velmar/guid.h"
#include "velmar/outing_factory.h"
#include "velmar/variant.h"

namespace velmar {

class COutingFactoryAddIns {
 public:
  explicit COutingFactoryAddIns(ClassRegistry& classes);
  COutingFactoryAddIns(const COutingFactoryAddIns&) = delete;
  COutingFactoryAddIns& operator=(const COutingFactoryAddIns&) = delete;

  // The one of the process, over the process's class registry.
  static COutingFactoryAddIns& Process();

  // Fixes the order. E_POINTER for null; E_FAIL once the list is made;
  // E_INVALIDARG, keeping nothing, for a bad array or a text that is no
  // class id.
  [[nodiscard]] KivResult SetOrder(const Variant* classIds);
  bool list_made() const { return list_.has_value(); }
  // The list, made from the category on first need.
  const std::vector<Guid>& List();

  // Makes each add-in factory afresh, in list order, and calls fn with it
  // until fn answers true. One that cannot be made is passed over.
  void ForEachFactory(const std::function<bool(IKivNewOutingFactory& factory)>& fn);

  // A copy of the type array. E_FAIL when it cannot be built.
  [[nodiscard]] KivResult GetTypes(OutingTypeList* types);

  ClassRegistry& classes() const { return classes_; }

 private:
  [[nodiscard]] OutingTypeList BuildTypes();

  ClassRegistry& classes_;
  std::optional<std::vector<Guid>> list_;
  std::optional<OutingTypeList> types_;
};

}  // namespace velmar
