// The constants of a source that writes them back (a `.trn`, a text data
// set): what an add, a change or a removal hands to the source's write-back,
// and the values cache whose commit turns a writer's edits into a queued
// change.
//
// A writer's last release commits its constant (CommitConstant). The entry
// is then marked as no longer what the source holds (`stored` 0), its
// objects hear status 0, and a modify step is queued with the entry's name,
// value, unit and text. The reload after the write brings `stored` back to
// 1; until then further commits of the entry queue nothing, so two writers
// on one constant in one transaction make one step.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "outing/constants/loaded_constant_factory.h"
#include "velmar/constants.h"

namespace velmar {

// A name, unit or text of this many characters or more is refused.
inline constexpr size_t kConstantTextLimit = 256;

// What a constant step carries to its job.
struct ConstantWriteFields {
  std::u16string name;
  uint32_t kind = kSimpleConstant;  // kSpreadsheetConstant when there is a text
  double value = 0.0;
  std::u16string unit;
  std::u16string text;
  int64_t id = -1;  // the entry's id in the outing's values
};

// The source side: queues the modify step of a committed constant.
class CConstantWriteBack {
 public:
  [[nodiscard]] virtual KivResult QueueConstantModify(ConstantWriteFields fields) = 0;

 protected:
  ~CConstantWriteBack() = default;
};

class CWrittenConstantsCache final : public CLoadedConstantsCache {
 public:
  explicit CWrittenConstantsCache(CConstantWriteBack* writeBack) : writeBack_(writeBack) {}

  // Always S_OK: a commit that cannot be queued leaves the edit in the entry.
  [[nodiscard]] KivResult CommitConstant(CConstantBase* constant, int64_t id) override;

 private:
  CConstantWriteBack* const writeBack_;  // the factory that owns this cache
};

}  // namespace velmar
