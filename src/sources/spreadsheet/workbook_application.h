// The library's spreadsheet application: reads a spreadsheet constant's
// workbook from its file (.xlsx or .xls) and runs the definition's steps on
// the copy in memory. Nothing is written back to the file. A macro can't
// run without the spreadsheet program, so a step that asks for one fails.
//
// Worker thread ("Velmar_Excel_Thread"); holds no state between reads.
#pragma once

#include "core/constant_retriever.h"

namespace velmar {

class CWorkbookApplication final : public CSpreadsheetApplication {
 public:
  // E_FAIL (or the reader's code) for a workbook, sheet or cell that can't
  // be had; DISP_E_TYPEMISMATCH for a cell that holds no number; E_NOTIMPL
  // for a macro step.
  KivResult ReadConstant(const std::u16string& file, const ConstantElements& steps, const std::u16string& target,
                         double* value) override;
};

// Makes CWorkbookApplication the process's application unless one is set.
void InstallWorkbookApplication();

}  // namespace velmar
