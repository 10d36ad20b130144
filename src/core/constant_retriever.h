// Fetching the value of a spreadsheet-based constant in the background.
//
// The cache asks CExcelConstantRetrieverSM to run its definition; the job
// runs on "Velmar_Excel_Thread" with copies of the workbook name, the steps
// and the cell, and hands the value back on the client thread. The workbook
// itself is read by the process's spreadsheet application, a narrow seam so
// a test can put its own in (the library's reader lives with the outing
// model, which builds on this folder).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/constant_definition.h"
#include "jobs/job_item.h"
#include "jobs/state_machine.h"

namespace velmar {

// Opens a workbook, runs the steps and reads one cell. Called on the worker
// thread, one call at a time per thread; must not touch client objects.
class CSpreadsheetApplication {
 public:
  virtual ~CSpreadsheetApplication() = default;
  // S_OK with the cell's number (0 for an empty cell); a failure code when
  // the workbook, a sheet, a step or the cell can't be had, or the cell
  // holds no number.
  [[nodiscard]] virtual KivResult ReadConstant(const std::u16string& file, const ConstantElements& steps,
                                               const std::u16string& target, double* value) = 0;
};

// The application retrievals use from now on; null leaves none, and every
// retrieval then fails. Thread-safe.
void SetSpreadsheetApplication(std::shared_ptr<CSpreadsheetApplication> application);
std::shared_ptr<CSpreadsheetApplication> GetSpreadsheetApplication();

// Told on the client thread when a retrieval ends.
class CConstantRetrievalClient {
 public:
  // `status` S_OK with the value, or the failure.
  virtual void OnConstantRetrieved(int64_t id, KivResult status, double value) = 0;

 protected:
  ~CConstantRetrievalClient() = default;
};

class CExcelConstantRetrieverJobItem final : public CJobItemEx {
 public:
  CExcelConstantRetrieverJobItem(CStateMachineEx* owner, ConstantDefinitionParts definition,
                                 std::shared_ptr<CSpreadsheetApplication> application);
  // Valid once the job succeeded.
  double value() const { return value_; }

 private:
  KivResult Run() override;

  const ConstantDefinitionParts definition_;
  const std::shared_ptr<CSpreadsheetApplication> application_;
  double value_ = 0;
};

// One retrieval of one constant. Held (as a client) by the constant's
// definition: when that goes, a running job is cancelled and nobody is told.
class CExcelConstantRetrieverSM final : public CStateMachine {
 public:
  CExcelConstantRetrieverSM(CConstantRetrievalClient* client, int64_t id);

  // Queues the job with copies of the definition's parts.
  [[nodiscard]] KivResult Start(const ConstantDefinitionParts& definition);
  void OnLastClientRelease() override;

 private:
  void OnJobSucceeded(CJobItem& job) override;
  void OnJobFailed(CJobItem& job) override;
  void Tell(KivResult status, double value);

  CConstantRetrievalClient* client_;  // not counted; cleared with the last client
  const int64_t id_;
};

}  // namespace velmar
