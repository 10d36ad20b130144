#include <xlsxwriter.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "sources/spreadsheet/workbook_write.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// A file name of our own in the temporary folder, removed when done.
class TempFile {
 public:
  TempFile() {
    std::error_code error;
    std::string pattern = (std::filesystem::temp_directory_path(error) / "velmar-xlsx-XXXXXX").string();
    const int fd = ::mkstemp(pattern.data());
    if (fd >= 0) {
      ::close(fd);
      path_ = pattern;
    }
  }
  ~TempFile() {
    std::error_code error;
    if (!path_.empty()) std::filesystem::remove(path_, error);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

bool WriteSheet(lxw_workbook* book, const WorkbookSheet& sheet) {
  lxw_worksheet* out = workbook_add_worksheet(book, WideToUtf8(sheet.name).c_str());
  if (!out) return false;
  if (sheet.frozen) worksheet_freeze_panes(out, 1, 1);
  // The cells come in row order, which constant-memory mode needs.
  for (const auto& [ref, cell] : sheet.cells) {
    if (ref.row >= LXW_ROW_MAX || ref.column >= LXW_COL_MAX) return false;
    lxw_error r = LXW_NO_ERROR;
    if (cell.kind == WorkbookCell::Kind::kNumber) {
      r = worksheet_write_number(out, ref.row, static_cast<lxw_col_t>(ref.column), cell.number, nullptr);
    } else if (cell.kind == WorkbookCell::Kind::kOther && !cell.text.empty()) {
      r = worksheet_write_string(out, ref.row, static_cast<lxw_col_t>(ref.column), WideToUtf8(cell.text).c_str(),
                                 nullptr);
    }
    if (r != LXW_NO_ERROR) return false;
  }
  return true;
}

}  // namespace

KivResult XlsxWorkbookBytes(const Workbook& workbook, std::string* bytes) {
  if (!bytes) return E_POINTER;
  if (workbook.sheets().empty()) return E_FAIL;
  TempFile temp;
  if (temp.path().empty()) return E_FAIL;
  lxw_workbook_options options{};
  options.constant_memory = LXW_TRUE;
  options.use_zip64 = LXW_TRUE;
  lxw_workbook* book = workbook_new_opt(temp.path().c_str(), &options);
  if (!book) return E_FAIL;
  bool ok = true;
  for (const WorkbookSheet& sheet : workbook.sheets()) ok = ok && WriteSheet(book, sheet);
  // Closing writes the archive; it frees the workbook whatever happened.
  if (workbook_close(book) != LXW_NO_ERROR || !ok) return E_FAIL;
  std::ifstream in(temp.path(), std::ios::binary);
  bytes->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return in.bad() ? E_FAIL : S_OK;
}

}  // namespace velmar
