#include "sources/spreadsheet/workbook_xls.h"

#include <freexl.h>

#include <memory>

#include "velmar/text.h"

namespace velmar {

namespace {

struct XlsCloser {
  void operator()(const void* handle) const { freexl_close(handle); }
};

WorkbookCell CellOf(const FreeXL_CellValue& value) {
  switch (value.type) {
    case FREEXL_CELL_NULL:
      return {};
    case FREEXL_CELL_INT:
      return {WorkbookCell::Kind::kNumber, static_cast<double>(value.value.int_value), {}};
    case FREEXL_CELL_DOUBLE:
      return {WorkbookCell::Kind::kNumber, value.value.double_value, {}};
    case FREEXL_CELL_TEXT:
    case FREEXL_CELL_SST_TEXT:
      return {WorkbookCell::Kind::kOther, 0, Utf8ToWide(value.value.text_value ? value.value.text_value : "")};
    default:
      return {WorkbookCell::Kind::kOther, 0, {}};
  }
}

KivResult ReadSheet(const void* handle, unsigned short index, WorkbookSheet* sheet) {
  const char* name = nullptr;
  if (freexl_get_worksheet_name(handle, index, &name) != FREEXL_OK ||
      freexl_select_active_worksheet(handle, index) != FREEXL_OK) {
    return E_FAIL;
  }
  sheet->name = name ? Utf8ToWide(name) : std::u16string();
  unsigned int rows = 0;
  unsigned short columns = 0;
  if (freexl_worksheet_dimensions(handle, &rows, &columns) != FREEXL_OK) return E_FAIL;
  for (unsigned int row = 0; row < rows; ++row) {
    for (unsigned short column = 0; column < columns; ++column) {
      FreeXL_CellValue value{};
      if (freexl_get_cell_value(handle, row, column, &value) != FREEXL_OK) continue;
      const WorkbookCell cell = CellOf(value);
      if (cell.kind != WorkbookCell::Kind::kEmpty) sheet->cells[CellRef{row, column}] = cell;
    }
  }
  return S_OK;
}

}  // namespace

KivResult ReadXlsWorkbook(const std::filesystem::path& file, Workbook* workbook) {
  if (!workbook) return E_POINTER;
  const void* raw = nullptr;
  const int opened = freexl_open(file.string().c_str(), &raw);
  std::unique_ptr<const void, XlsCloser> handle(raw);
  if (opened != FREEXL_OK || !raw) return E_FAIL;
  unsigned int count = 0;
  if (freexl_get_info(raw, FREEXL_BIFF_SHEET_COUNT, &count) != FREEXL_OK || count == 0) return E_FAIL;
  Workbook read;
  for (unsigned int i = 0; i < count; ++i) {
    WorkbookSheet sheet;
    if (const KivResult r = ReadSheet(raw, static_cast<unsigned short>(i), &sheet); Failed(r)) return r;
    read.sheets().push_back(std::move(sheet));
  }
  read.set_active(0);
  *workbook = std::move(read);
  return S_OK;
}

}  // namespace velmar
