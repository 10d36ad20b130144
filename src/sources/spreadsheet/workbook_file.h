// CWorkbookFile: a workbook on disk held for writing. Open reads what the
// file holds (so a write replaces only its own rectangle) and locks it
// against other writers; SetRange puts values from a cell; Save writes the
// whole workbook to a new file beside it and renames that over the old one,
// so a failed save leaves the old workbook as it was. The form follows the
// extension: ".xls" is BIFF8, anything else Office Open XML.
//
// Not thread-safe: one job uses it at a time.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_ops.h"
#include "sources/spreadsheet/workbook.h"

namespace velmar {

// A rectangle of values, row by row.
struct CellBlock {
  size_t rows = 0;
  size_t columns = 0;
  std::vector<WorkbookCell> cells;  // rows x columns

  CellBlock(size_t rowCount, size_t columnCount)
      : rows(rowCount), columns(columnCount), cells(rowCount * columnCount) {}
  WorkbookCell& At(size_t row, size_t column) { return cells[row * columns + column]; }
};

// True for a path whose extension is ".xls" in any letter case.
bool IsXlsPath(const std::filesystem::path& path);

class CWorkbookFile {
 public:
  explicit CWorkbookFile(std::filesystem::path path, FileOps& ops = DefaultFileOps());
  CWorkbookFile(const CWorkbookFile&) = delete;
  CWorkbookFile& operator=(const CWorkbookFile&) = delete;
  ~CWorkbookFile() { Close(); }

  // A new workbook of empty sheets of those names, saved at `path`.
  // STG_E_PATHNOTFOUND when the folder is missing; what the save gives else.
  [[nodiscard]] static KivResult Create(const std::filesystem::path& path, std::span<const std::u16string_view> sheets,
                                        FileOps& ops = DefaultFileOps());

  // STG_E_FILENOTFOUND for no file, STG_E_ACCESSDENIED for a read-only one,
  // STG_E_SHAREVIOLATION while another writer holds it, E_FAIL when it is no
  // workbook we can read.
  [[nodiscard]] KivResult Open();
  // Lets go of the lock and the contents; nothing is saved.
  void Close();
  bool IsOpen() const { return lockFd_ >= 0; }

  Workbook& workbook() { return workbook_; }
  // Values from `topLeft` (from 0) of sheet `sheet` (from 0): an empty value
  // leaves an empty cell. E_INVALIDARG for a sheet the workbook lacks.
  [[nodiscard]] KivResult SetRange(size_t sheet, CellRef topLeft, const CellBlock& block);
  // E_UNEXPECTED when not open; the writer's or the file system's code.
  [[nodiscard]] KivResult Save();

 private:
  [[nodiscard]] KivResult Lock();

  std::filesystem::path path_;
  FileOps& ops_;
  Workbook workbook_;
  int lockFd_ = -1;
};

}  // namespace velmar
