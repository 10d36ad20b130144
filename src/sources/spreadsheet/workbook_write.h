// The bytes of a workbook file: Office Open XML (.xlsx) through libxlsxwriter,
// or BIFF8 (.xls) inside a compound file. Only values travel: numbers, texts
// and empty cells; a sheet's frozen title row and column go to .xlsx only.
//
// Any thread; libxlsxwriter works on a temporary file of its own.
#pragma once

#include <string>

#include "sources/spreadsheet/workbook.h"

namespace velmar {

// The rows and columns a BIFF8 sheet can address.
inline constexpr uint32_t kXlsMaxRows = 65536;
inline constexpr uint32_t kXlsMaxColumns = 256;
// The longest text one BIFF8 cell record holds; longer texts are cut.
inline constexpr size_t kXlsMaxTextLength = 4000;

// E_FAIL when the library cannot write the workbook (no sheet, a bad sheet name).
[[nodiscard]] KivResult XlsxWorkbookBytes(const Workbook& workbook, std::string* bytes);
// E_FAIL for a cell outside the BIFF8 grid or a sheet name over 31 characters.
[[nodiscard]] KivResult XlsWorkbookBytes(const Workbook& workbook, std::string* bytes);

}  // namespace velmar
