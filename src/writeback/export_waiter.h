// What a write-back step waits on when its data must first be collected
// from other outings: the exports still out. When the last one is in,
// OnExportsComplete runs (a step then pumps its transaction again).
//
// Client thread only.
#pragma once

#include <cstddef>
#include <set>

namespace velmar {

class CExportWaiter {
 public:
  // An export the step waits for; the same item twice counts once.
  void AddExport(const void* item) { outstanding_.insert(item); }
  // The export is in. The last one in runs OnExportsComplete.
  void ExportDone(const void* item) {
    if (outstanding_.erase(item) != 0 && outstanding_.empty()) OnExportsComplete();
  }
  size_t outstanding() const { return outstanding_.size(); }

 protected:
  CExportWaiter() = default;
  ~CExportWaiter() = default;
  virtual void OnExportsComplete() = 0;

 private:
  std::set<const void*> outstanding_;
};

}  // namespace velmar
