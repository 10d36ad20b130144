// A spreadsheet workbook read into memory: its sheets with their cells, the
// sheet that was active when it was saved, and its defined names. Read from
// .xlsx (workbook_xlsx.h) or .xls (workbook_xls.h); only what a constant's
// definition needs is kept: whether a cell is empty, a number, or anything
// else, with the text of a text cell (so a write can keep it).
//
// Any thread; one workbook is used by one thread at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "velmar/result.h"

namespace velmar {

struct WorkbookCell {
  enum class Kind { kEmpty, kNumber, kOther };  // other: text, a flag, an error
  Kind kind = Kind::kEmpty;
  double number = 0;
  std::u16string text;  // a text cell's text
};

// A cell position, from 0.
struct CellRef {
  uint32_t row = 0;
  uint32_t column = 0;
  friend auto operator<=>(const CellRef&, const CellRef&) = default;
};

// Reads "B7", "$B$7" (case-insensitive); nothing for anything else.
std::optional<CellRef> ParseCellRef(std::u16string_view text);

struct WorkbookSheet {
  std::u16string name;
  std::map<CellRef, WorkbookCell> cells;  // cells not held are empty
  bool frozen = false;                     // panes frozen at B2 (a writer's look only)

  WorkbookCell At(CellRef ref) const;
};

class Workbook {
 public:
  std::vector<WorkbookSheet>& sheets() { return sheets_; }
  const std::vector<WorkbookSheet>& sheets() const { return sheets_; }
  // The sheet active when the workbook was saved.
  size_t active() const { return active_; }
  void set_active(size_t index) { active_ = index; }
  // name -> "Sheet!$A$1" as the workbook holds it.
  std::map<std::u16string, std::u16string>& names() { return names_; }

  // The sheet of that name (case-insensitive), or none.
  std::optional<size_t> FindSheet(std::u16string_view name) const;
  // A cell reference of a sheet ("B7", "Sheet2!B7", "'My sheet'!B7", or a
  // defined name of one cell), the sheet being `current` when none is named.
  [[nodiscard]] KivResult Resolve(std::u16string_view text, size_t current, size_t* sheet, CellRef* ref) const;

 private:
  std::vector<WorkbookSheet> sheets_;
  size_t active_ = 0;
  std::map<std::u16string, std::u16string> names_;
};

// Reads a workbook by its extension: ".xlsx" (and ".xlsm"), ".xls".
// STG_E_FILENOTFOUND when the file is missing, E_FAIL when it can't be read.
[[nodiscard]] KivResult ReadWorkbook(const std::filesystem::path& file, Workbook* workbook);

}  // namespace velmar
