// Reads an Office Open XML (.xlsx) workbook: a zip archive (minizip) of XML
// parts (expat). Cached values of formula cells are taken as they stand.
// Any thread.
#pragma once

#include <filesystem>

#include "sources/spreadsheet/workbook.h"

namespace velmar {

// E_FAIL when the file is no readable workbook.
[[nodiscard]] KivResult ReadXlsxWorkbook(const std::filesystem::path& file, Workbook* workbook);

}  // namespace velmar
