#include "core/constant_retriever.h"

#include <mutex>
#include <utility>

#include "jobs/job_thread.h"

namespace velmar {

namespace {

std::mutex& ApplicationMutex() {
  static std::mutex mu;
  return mu;
}

std::shared_ptr<CSpreadsheetApplication>& Application() {
  static std::shared_ptr<CSpreadsheetApplication> application;  // guarded by ApplicationMutex
  return application;
}

}  // namespace

void SetSpreadsheetApplication(std::shared_ptr<CSpreadsheetApplication> application) {
  std::lock_guard lock(ApplicationMutex());
  Application() = std::move(application);
}

std::shared_ptr<CSpreadsheetApplication> GetSpreadsheetApplication() {
  std::lock_guard lock(ApplicationMutex());
  return Application();
}

CExcelConstantRetrieverJobItem::CExcelConstantRetrieverJobItem(CStateMachineEx* owner,
                                                               ConstantDefinitionParts definition,
                                                               std::shared_ptr<CSpreadsheetApplication> application)
    : CJobItemEx(owner), definition_(std::move(definition)), application_(std::move(application)) {}

KivResult CExcelConstantRetrieverJobItem::Run() {
  value_ = 0;
  if (definition_.file.empty() || definition_.file == kNoWorkbook || !application_) return E_FAIL;
  double value = 0;
  const KivResult r = application_->ReadConstant(definition_.file, definition_.elements, definition_.target, &value);
  if (Failed(r)) return r;
  value_ = value;
  return S_OK;
}

CExcelConstantRetrieverSM::CExcelConstantRetrieverSM(CConstantRetrievalClient* client, int64_t id)
    : client_(client), id_(id) {}

KivResult CExcelConstantRetrieverSM::Start(const ConstantDefinitionParts& definition) {
  auto job = MakeKiv<CExcelConstantRetrieverJobItem>(this, definition, GetSpreadsheetApplication());
  return Queue(ExcelThread(), ComPtr<CJobItem>(job.Get()));
}

void CExcelConstantRetrieverSM::OnLastClientRelease() {
  client_ = nullptr;
  CStateMachine::OnLastClientRelease();
}

void CExcelConstantRetrieverSM::OnJobSucceeded(CJobItem& job) {
  const double value = static_cast<CExcelConstantRetrieverJobItem&>(job).value();
  ReleaseJob();
  Tell(S_OK, value);
}

void CExcelConstantRetrieverSM::OnJobFailed(CJobItem& job) { Tell(job.status(), 0); }

void CExcelConstantRetrieverSM::Tell(KivResult status, double value) {
  // The client may drop this machine while it is told.
  ComPtr<CExcelConstantRetrieverSM> self(this);
  if (client_) client_->OnConstantRetrieved(id_, status, value);
}

}  // namespace velmar
