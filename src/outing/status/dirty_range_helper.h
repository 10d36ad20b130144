// CDirtyRangeHelper: which time ranges of a computed channel must be looked
// at again. Ranges are gathered as the input reports changes and processed
// on the next read: folded where they overlap or lie within a second of
// each other, loaded in time order, with a range past the end of what is
// loaded treated as an extension. Past 100 ranges it gives up and reloads
// everything.
//
// Client thread only.
#pragma once

#include <utility>
#include <vector>

#include "velmar/types.h"

namespace velmar {

class CDirtyRangeHelper {
 public:
  using Range = std::pair<KivTime, KivTime>;
  static constexpr size_t kMaxRanges = 100;

  // Starts with everything to reload.
  CDirtyRangeHelper() = default;
  virtual ~CDirtyRangeHelper() = default;
  CDirtyRangeHelper(const CDirtyRangeHelper&) = delete;
  CDirtyRangeHelper& operator=(const CDirtyRangeHelper&) = delete;

  void Add(KivTime from, KivTime to);
  // Everything is to be reloaded; the ranges are given up.
  void MarkAll();
  // Loads what is pending; a failed load keeps the rest for the next call.
  void Process();
  // What lies wholly before `limit` is of no more interest.
  void SetLimit(KivTime limit) { limit_ = limit; }

  bool pending() const { return pending_; }
  bool reload_all() const { return reloadAll_; }
  const std::vector<Range>& ranges() const { return ranges_; }

 protected:
  // The end of what is loaded; kTimeMin when nothing is.
  virtual KivTime GetEnd() = 0;
  // Loads [from, to]; `whole` when that is everything.
  [[nodiscard]] virtual bool Load(KivTime from, KivTime to, bool whole) = 0;
  // Drops what is loaded from `from` on.
  virtual void Forget(KivTime from) = 0;

 private:
  // Sorted by start, folded, cut at the limit.
  std::vector<Range> Folded(std::vector<Range> ranges) const;
  void ProcessRanges();

  std::vector<Range> ranges_;
  bool pending_ = true;
  bool reloadAll_ = true;
  bool busy_ = false;
  KivTime limit_ = kTimeMin;
};

}  // namespace velmar
