#include "sources/spreadsheet/excel_outing_job_item.h"

#include "jobs/job_thread.h"
#include "velmar/text.h"

namespace velmar {

std::filesystem::path ExcelFilePath(const std::u16string& path) { return std::filesystem::path(WideToUtf8(path)); }

CExcelCreateOutingJobItem::CExcelCreateOutingJobItem(CStateMachineEx* owner, const std::u16string& path)
    : CJobItemEx(owner), path_(ExcelFilePath(path)) {}

KivResult CExcelCreateOutingJobItem::Run() {
  return Succeeded(CWorkbookFile::Create(path_, kExcelSheets)) ? S_OK : E_FAIL;
}

AsyncThread ExcelSource::Thread() { return ExcelThread(); }

}  // namespace velmar
