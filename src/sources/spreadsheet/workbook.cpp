#include "sources/spreadsheet/workbook.h"

#include <system_error>

#include "sources/spreadsheet/workbook_xls.h"
#include "sources/spreadsheet/workbook_xlsx.h"
#include "velmar/text.h"

namespace velmar {

std::optional<CellRef> ParseCellRef(std::u16string_view text) {
  size_t i = 0;
  const auto dollar = [&] {
    if (i < text.size() && text[i] == u'$') ++i;
  };
  dollar();
  uint64_t column = 0;
  size_t letters = 0;
  for (; i < text.size() && letters < 4; ++i, ++letters) {
    char16_t c = text[i];
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - u'a' + u'A');
    if (c < u'A' || c > u'Z') break;
    column = column * 26 + (c - u'A' + 1);
  }
  dollar();
  uint64_t row = 0;
  size_t digits = 0;
  for (; i < text.size() && digits < 8; ++i, ++digits) {
    if (text[i] < u'0' || text[i] > u'9') return std::nullopt;
    row = row * 10 + (text[i] - u'0');
  }
  if (letters == 0 || digits == 0 || row == 0 || i != text.size()) return std::nullopt;
  return CellRef{static_cast<uint32_t>(row - 1), static_cast<uint32_t>(column - 1)};
}

WorkbookCell WorkbookSheet::At(CellRef ref) const {
  auto it = cells.find(ref);
  return it == cells.end() ? WorkbookCell{} : it->second;
}

std::optional<size_t> Workbook::FindSheet(std::u16string_view name) const {
  for (size_t i = 0; i < sheets_.size(); ++i) {
    if (EqualsNoCase(sheets_[i].name, name)) return i;
  }
  return std::nullopt;
}

KivResult Workbook::Resolve(std::u16string_view text, size_t current, size_t* sheet, CellRef* ref) const {
  const size_t bang = text.rfind(u'!');
  std::u16string_view cell = text;
  size_t index = current;
  if (bang != std::u16string_view::npos) {
    std::u16string_view sheetName = text.substr(0, bang);
    if (sheetName.size() >= 2 && sheetName.front() == u'\'' && sheetName.back() == u'\'') {
      sheetName = sheetName.substr(1, sheetName.size() - 2);
    }
    const auto found = FindSheet(sheetName);
    if (!found) return E_FAIL;
    index = *found;
    cell = text.substr(bang + 1);
  }
  if (index >= sheets_.size()) return E_FAIL;
  if (const auto parsed = ParseCellRef(cell)) {
    *sheet = index;
    *ref = *parsed;
    return S_OK;
  }
  // A defined name stands for its own sheet and cell.
  for (const auto& [name, target] : names_) {
    if (bang == std::u16string_view::npos && EqualsNoCase(name, cell) && target.find(u'!') != std::u16string::npos) {
      return Resolve(target, current, sheet, ref);
    }
  }
  return E_FAIL;
}

KivResult ReadWorkbook(const std::filesystem::path& file, Workbook* workbook) {
  if (!workbook) return E_POINTER;
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return STG_E_FILENOTFOUND;
  const std::u16string extension = ToLowerWide(Utf8ToWide(file.extension().string()));
  if (extension == u".xls") return ReadXlsWorkbook(file, workbook);
  if (extension == u".xlsx" || extension == u".xlsm") return ReadXlsxWorkbook(file, workbook);
  return E_FAIL;
}

}  // namespace velmar
