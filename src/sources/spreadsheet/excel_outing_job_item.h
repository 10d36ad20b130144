// The jobs of a spreadsheet outing on "Velmar_Excel_Thread": the load job,
// which gives nothing (a workbook is a destination, never read back as an
// outing), the create job, which makes the workbook with its three empty
// sheets, and the transaction's write access and close jobs, which hold the
// workbook open for the steps and save it at the end.
//
// A job touches only what it owns between queueing and completion.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "jobs/job_item.h"
#include "platform/async/job_engine.h"
#include "sources/spreadsheet/excel_file_handles.h"

namespace velmar {

class CExcelOutingJobItem final : public CJobItemEx {
 public:
  CExcelOutingJobItem(CStateMachineEx* owner, const std::u16string& path) : CJobItemEx(owner) { (void)path; }

 protected:
  // S_FALSE: no information, no channels.
  KivResult Run() override { return S_FALSE; }
};

class CExcelCreateOutingJobItem final : public CJobItemEx {
 public:
  CExcelCreateOutingJobItem(CStateMachineEx* owner, const std::u16string& path);

 protected:
  // E_FAIL on any failure.
  KivResult Run() override;

 private:
  const std::filesystem::path path_;
};

// What the file cache frame needs to know of the spreadsheet source.
struct ExcelSource {
  using LoadJob = CExcelOutingJobItem;
  using CreateJob = CExcelCreateOutingJobItem;
  static AsyncThread Thread();
};

// The file path of an outing path.
std::filesystem::path ExcelFilePath(const std::u16string& path);

// The write access of a transaction: the workbook open and locked.
class CExcelOutingTxnJobItem final : public CJobItemEx {
 public:
  CExcelOutingTxnJobItem(CStateMachineEx* owner, std::filesystem::path path, FileOps* ops)
      : CJobItemEx(owner),
        handles_(std::make_unique<CExcelFileHandles>(std::move(path), ops ? *ops : DefaultFileOps())) {}
  void WTCleanupAfterCancel() override { handles_->Abandon(); }

  // Worker thread: the open workbook, for the steps' jobs.
  CExcelFileHandles& handles() { return *handles_; }

 protected:
  KivResult Run() override { return handles_->Open(); }

 private:
  std::unique_ptr<CExcelFileHandles> handles_;
};

// The end of a transaction: the workbook saved (or left as it was when the
// save fails) and let go.
class CExcelOutingCloseJob final : public CJobItemEx {
 public:
  CExcelOutingCloseJob(CStateMachineEx* owner, ComPtr<CExcelOutingTxnJobItem> access)
      : CJobItemEx(owner), access_(std::move(access)) {}
  // The lock must not outlive the commit.
  int CancelJob() override { return 0; }

 protected:
  KivResult Run() override { return access_ ? access_->handles().Close() : E_FAIL; }

 private:
  ComPtr<CExcelOutingTxnJobItem> access_;
};

}  // namespace velmar
