// The write-back of a spreadsheet outing: the steps and jobs of channels,
// events and the outing information. Nothing is checked for duplicates: a
// write replaces from A1 what stood on its sheet. Removing events always
// fails, since a workbook is never read back. A channel write of more rows
// than a sheet takes warns when the job is prepared and writes the first
// 65535 rows.
//
// Steps: client thread. Jobs: "Velmar_Excel_Thread".
#pragma once

#include <string>

#include "jobs/job_thread.h"
#include "sources/spreadsheet/excel_outing_job_item.h"
#include "writeback/export_write_step.h"
#include "writeback/outing_info_write.h"

namespace velmar {

class CExcelWriteBackChannelJobItem final : public CWriteBackChannelJobOn<CExcelOutingTxnJobItem> {
 public:
  using CWriteBackChannelJobOn::CWriteBackChannelJobOn;

 protected:
  bool Validate() override { return true; }
  KivResult Write() override;
};

class CExcelWriteBackChannelStateMachine final : public CWriteBackChannelStateMachineBase {
 public:
  explicit CExcelWriteBackChannelStateMachine(CWriteBackStateChanges* receiver)
      : CWriteBackChannelStateMachineBase(receiver) {}
  AsyncThread GetJobThread() override { return ExcelThread(); }

 protected:
  // Warns of rows past the sheet's limit, then builds the job.
  KivResult MakeJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;
};

// The warning for resampled items over more rows than a sheet takes; empty
// when they fit (65535 rows and fewer).
std::u16string ExcelSampleLimitWarning(const ExportChannelList& items,
                                       std::u16string (*displayName)(const CExportChannel&));

class CExcelWriteBackEventsJobItem final : public CWriteBackEventsJobOn<CExcelOutingTxnJobItem> {
 public:
  using CWriteBackEventsJobOn::CWriteBackEventsJobOn;

 protected:
  bool Validate() override { return true; }
  KivResult Write() override;
};

// A workbook holds no events to find: the removal always fails, untouched.
class CExcelWriteBackEventsRemoveJobItem final : public CWriteBackEventsRemoveJobOn<CExcelOutingTxnJobItem> {
 public:
  using CWriteBackEventsRemoveJobOn::CWriteBackEventsRemoveJobOn;

 protected:
  bool Validate() override { return false; }
  KivResult Write() override { return E_FAIL; }
};

using CExcelWriteBackEventsStateMachine =
    CWriteBackEventsStep<CExcelWriteBackEventsJobItem, CExcelOutingTxnJobItem, ExcelThread>;
using CExcelWriteBackEventsRemoveStateMachine =
    CWriteBackEventsRemoveStep<CExcelWriteBackEventsRemoveJobItem, CExcelOutingTxnJobItem, ExcelThread>;

class CExcelOutingInfoWBJobItem final : public CWBOutingInfoJobItemBase {
 public:
  CExcelOutingInfoWBJobItem(CStateMachineEx* owner, ComPtr<CExcelOutingTxnJobItem> access, PropertyList properties)
      : CWBOutingInfoJobItemBase(owner, std::move(properties)), access_(std::move(access)) {}

 protected:
  KivResult Run() override;

 private:
  ComPtr<CExcelOutingTxnJobItem> access_;
};

using CExcelOutingInfoStep = CWBOutingInfoStep<CExcelOutingInfoWBJobItem, CExcelOutingTxnJobItem, ExcelThread>;

}  // namespace velmar
