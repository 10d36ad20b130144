#include "sources/spreadsheet/excel_outing.h"

#include <new>

#include "outing/cache/outing_source.h"
#include "sources/spreadsheet/excel_write_back.h"

namespace velmar {

// --- Cache --------------------------------------------------------------------

CExcelOutingCache::CExcelOutingCache(std::u16string path, const Guid& outingId, FileOps* ops)
    : CFileOutingCache(OutingType::kSpreadsheet, std::move(path), outingId),
      ops_(ops),
      transaction_(MakeClient<CTransactionStateMachine>(static_cast<CTransactionBase*>(this))) {}

CExcelOutingCache::~CExcelOutingCache() { transaction_.Reset(); }

KivResult CExcelOutingCache::AddInformationStep(PropertyList properties) {
  return transaction_->AddWriteBackStep(MakeKiv<CExcelOutingInfoStep>(write_back(), std::move(properties)));
}

ComPtr<IKivPropertySet> CExcelOutingCache::MakeInformation(CExcelOutingJobItem&) {
  return MakeKiv<CExcelOutingInformation>(static_cast<COutingInformationCache*>(this));
}

void CExcelOutingCache::ReleaseInformation(IKivPropertySet& old) { static_cast<CExcelOutingInformation&>(old).Orphan(); }

ComPtr<CJobItem> CExcelOutingCache::MakeWriteAccessJob(CStateMachineEx* owner) {
  return MakeKiv<CExcelOutingTxnJobItem>(owner, ExcelFilePath(path()), ops_);
}

ComPtr<CJobItem> CExcelOutingCache::MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) {
  return MakeKiv<CExcelOutingCloseJob>(
      owner, ComPtr<CExcelOutingTxnJobItem>(static_cast<CExcelOutingTxnJobItem*>(writeAccess)));
}

void CExcelOutingCache::NotifyTransactionStarted() {
  writeBack_.CommitStarted();
  CTransactionBase::NotifyTransactionStarted();
}

void CExcelOutingCache::NotifyTransactionFinished() {
  ComPtr<CExcelOutingCache> keep(this);
  CTransactionBase::NotifyTransactionFinished();
  writeBack_.CommitFinished();
}

// --- Outing -------------------------------------------------------------------

CExcelOuting::CExcelOuting(ComPtr<CExcelOutingCache> cache, bool overrideProperties)
    : CFileOuting(std::move(cache), overrideProperties) {}

CExcelOuting::~CExcelOuting() {
  if (cache()) cache()->transaction()->OutingGone(this);
  DetachFromCache();
}

KivResult CExcelOuting::WriteRequest(const WriteChannelsRequest& request) {
  OutingWriterCache<CExcelOutingCache, CExcelWriteBackChannelStateMachine> answers(
      cache(), channels().AsDataFactory(), cache()->write_back(),
      [](CExcelOutingCache&, const std::u16string&) { return false; }, kExcelChannelLimit);
  return velmar::WriteChannels(answers, request);
}

KivResult CExcelOuting::WithEventsCache(const std::function<KivResult(CEventsWriterCache&)>& call) {
  OutingEventsWriterCache<CExcelOutingCache, CExcelWriteBackEventsStateMachine, CExcelWriteBackEventsRemoveStateMachine>
      answers(cache(), event_sets().AsDataFactory(), cache()->write_back());
  return call(answers);
}

// --- Registration -------------------------------------------------------------

KivResult RegisterExcelOutingSource() {
  using Source = COutingSource<CExcelOuting>;
  if (std::dynamic_pointer_cast<Source>(FindOutingSource(OutingType::kSpreadsheet))) return S_FALSE;
  try {
    return RegisterOutingSource(OutingType::kSpreadsheet, std::make_shared<Source>());
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace velmar
