#include "sources/spreadsheet/workbook_application.h"

#include <charconv>

#include "sources/spreadsheet/workbook.h"
#include "velmar/text.h"

namespace velmar {

namespace {

// A typed value: a number when the whole text reads as one.
WorkbookCell CellFromText(const std::u16string& text) {
  const std::string utf8 = WideToUtf8(text);
  double number = 0;
  const auto [end, ec] = std::from_chars(utf8.data(), utf8.data() + utf8.size(), number);
  if (!utf8.empty() && ec == std::errc() && end == utf8.data() + utf8.size()) {
    return {WorkbookCell::Kind::kNumber, number, {}};
  }
  return {WorkbookCell::Kind::kOther, 0, text};
}

KivResult RunStep(Workbook& workbook, const ConstantElement& step, size_t* current) {
  switch (step.kind) {
    case ConstantElement::kSelectSheet: {
      const auto sheet = workbook.FindSheet(step.name);
      if (!sheet) return E_FAIL;
      *current = *sheet;
      return S_OK;
    }
    case ConstantElement::kSetRange: {
      size_t sheet = 0;
      CellRef ref;
      if (const KivResult r = workbook.Resolve(step.name, *current, &sheet, &ref); Failed(r)) return r;
      workbook.sheets()[sheet].cells[ref] = CellFromText(step.value);
      return S_OK;
    }
    default:
      return E_NOTIMPL;
  }
}

}  // namespace

KivResult CWorkbookApplication::ReadConstant(const std::u16string& file, const ConstantElements& steps,
                                             const std::u16string& target, double* value) {
  if (!value) return E_POINTER;
  Workbook workbook;
  if (const KivResult r = ReadWorkbook(std::filesystem::path(WideToUtf8(file)), &workbook); Failed(r)) return r;
  if (workbook.sheets().empty()) return E_FAIL;
  size_t current = workbook.active();
  for (const ConstantElement& step : steps) {
    if (const KivResult r = RunStep(workbook, step, &current); Failed(r)) return r;
  }
  // The part before the first "!" names the sheet that becomes current.
  std::u16string range = target;
  if (const size_t bang = target.find(u'!'); bang != std::u16string::npos) {
    const auto sheet = workbook.FindSheet(target.substr(0, bang));
    if (!sheet) return E_FAIL;
    current = *sheet;
    range = target.substr(bang + 1);
  }
  size_t sheet = 0;
  CellRef ref;
  if (const KivResult r = workbook.Resolve(range, current, &sheet, &ref); Failed(r)) return r;
  const WorkbookCell cell = workbook.sheets()[sheet].At(ref);
  switch (cell.kind) {
    case WorkbookCell::Kind::kNumber:
      *value = cell.number;
      return S_OK;
    case WorkbookCell::Kind::kEmpty:
      *value = 0;
      return S_OK;
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

void InstallWorkbookApplication() {
  if (!GetSpreadsheetApplication()) SetSpreadsheetApplication(std::make_shared<CWorkbookApplication>());
}

}  // namespace velmar
