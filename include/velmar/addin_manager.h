// The add-in manager: which data factories (add-ins of the data factory
// category) a root runs, and in which priority. The root's node command
// "&Add-in Manager..." (id 1) fills a model with one row per add-in the user
// may switch, the running ones on top in their order with their check mark,
// the others below by name; the host's dialog shows it and lets the user
// check, select and move rows, then leaves by OK (the checked rows, in
// order, become the root's list, behind the mandatory factories) or by
// Cancel (nothing changes).
//
//   KivSetAddInManagerDialog([](KivAddInManager& rows, int32_t parentWindow) {
//     ... show rows.Rows(), call Toggle / Select / MoveUp / MoveDown ...
//     return userPressedOk;
//   });
//   node->InvokeCommand(kKivAddInManagerCommand, 0, parentWindow);
//
// Without a dialog the command changes nothing and gives 0. Client thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "velmar/guid.h"

namespace velmar {

// Add-ins join the data factory category, CATID_KivDataFactory (velmar.h).

struct KivAddInRow {
  uint32_t kind = 0;          // 0 native, 1 managed
  Guid clsid;                 // native
  std::u16string type_name;   // managed
  std::u16string display_name;
  bool checked = false;
};

class KivAddInManager {
 public:
  explicit KivAddInManager(std::vector<KivAddInRow> rows) : rows_(std::move(rows)) {}

  const std::vector<KivAddInRow>& Rows() const { return rows_; }
  // The selected row, from 0; -1 without rows. The first row at the start.
  int32_t Selected() const { return rows_.empty() ? -1 : selected_; }
  // Toggles a row's check mark and selects it. False for a bad row.
  bool Toggle(int32_t row);
  bool Select(int32_t row);
  // Whether the up and down buttons are enabled.
  bool CanMoveUp() const { return rows_.size() >= 2 && selected_ > 0; }
  bool CanMoveDown() const { return rows_.size() >= 2 && selected_ + 1 < static_cast<int32_t>(rows_.size()); }
  // Moves the selected row one place, keeping its check mark.
  bool MoveUp();
  bool MoveDown();
  // The row of a class identity or type name; -1 when there is none.
  int32_t Find(const std::u16string& id) const;

 private:
  std::vector<KivAddInRow> rows_;
  int32_t selected_ = 0;
};

// The host's dialog: shows the model modally over `parent_window` and
// gives true when the user left by OK.
using KivAddInManagerDialog = std::function<bool(KivAddInManager& model, int32_t parent_window)>;

// Replaces the dialog; an empty one removes it.
void KivSetAddInManagerDialog(KivAddInManagerDialog dialog);

}  // namespace velmar
