// Reads a BIFF (.xls) workbook with freexl. Any thread.
#pragma once

#include <filesystem>

#include "sources/spreadsheet/workbook.h"

namespace velmar {

// E_FAIL when the file is no readable workbook.
[[nodiscard]] KivResult ReadXlsWorkbook(const std::filesystem::path& file, Workbook* workbook);

}  // namespace velmar
