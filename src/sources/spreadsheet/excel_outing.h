// CExcelOuting and CExcelOutingCache: an outing whose data set is a
// workbook. It is a destination only: the load gives no channels, events or
// information, and what a client writes goes to the workbook's sheets
// through a transaction ("Velmar_Excel_Thread"), which opens the workbook at
// its start and saves it at its end.
//
// Client thread only.
#pragma once

#include <string>

#include "jobs/job_thread.h"
#include "outing/cache/empty_facets.h"
#include "outing/cache/file_outing.h"
#include "outing/cache/file_outing_cache.h"
#include "outing/information/outing_information_base.h"
#include "outing/cache/outing_state_changes.h"
#include "sources/spreadsheet/excel_outing_job_item.h"
#include "writeback/channel_writer_facet.h"
#include "writeback/discard_after_commit.h"
#include "writeback/events_writer_facet.h"
#include "writeback/transaction_base.h"
#include "writeback/transaction_facet.h"
#include "writeback/transaction_state_machine.h"

namespace velmar {

// The information object of a workbook: empty, since nothing is read back;
// what a client sets goes to the "Outing Information" sheet.
class CExcelOutingInformation final : public COutingInformationBase {
 public:
  explicit CExcelOutingInformation(COutingInformationCache* cache) : COutingInformationBase({}, {}, cache) {}
};

class CExcelOutingCache final : public CFileOutingCache<CExcelOutingCache, COutingStateChanges, ExcelSource>,
                                public CTransactions<CExcelOutingCache>,
                                private COutingInformationCache {
 public:
  // ops: the file system the transaction's saves go through; null for the real one.
  CExcelOutingCache(std::u16string path, const Guid& outingId, FileOps* ops = nullptr);
  ~CExcelOutingCache() override;

  uint32_t AddRef() override { return COutingCacheStateChanges::AddRef(); }
  uint32_t Release() override { return COutingCacheStateChanges::Release(); }

  CTransactionStateMachine* transaction() const { return transaction_.Get(); }
  CWriteBackStateChanges* write_back() { return &writeBack_; }
  void CloseData() { writeBack_.CloseData(); }
  // Queues the properties for the "Outing Information" sheet in the transaction.
  [[nodiscard]] KivResult AddInformationStep(PropertyList properties) override;

  ComPtr<CJobItem> MakeWriteAccessJob(CStateMachineEx* owner) override;
  ComPtr<CJobItem> MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) override;
  AsyncThread GetJobThread() override { return ExcelThread(); }
  void NotifyTransactionStarted() override;
  void NotifyTransactionFinished() override;
  void OnWriteLost() override { CloseData(); }

 protected:
  std::u16string BuildCaption() override { return u"Excel Outing"; }
  ComPtr<IKivPropertySet> MakeInformation(CExcelOutingJobItem& job) override;
  void ReleaseInformation(IKivPropertySet& old) override;

 private:
  // No lap markers are held, so no fast lap is ever worked out.
  FastLapSettings InformationFastLapSettings() const override { return {}; }

  FileOps* const ops_;
  CDiscardAfterCommit<CExcelOutingCache> writeBack_{this};
  ClientRef<CTransactionStateMachine> transaction_;
};

class CExcelOuting final
    : public CFileOuting<CExcelOutingCache, CEmptyChannelFactory, CEmptyEventsFactory, CEmptyConstantFactory,
                         CEmptyLapMarkers, CChannelWriterFacet, CEventsWriterFacet, CTransactionFacet> {
 public:
  CExcelOuting(ComPtr<CExcelOutingCache> cache, bool overrideProperties);
  ~CExcelOuting() override;

  CEmptyChannelFactory& channels() { return *this; }
  CEmptyEventsFactory& event_sets() { return *this; }

 protected:
  // Nothing is held to shift.
  KivResult ApplyTimeOffset(KivTime offset) override {
    set_time_offset(offset);
    return S_OK;
  }
  KivResult CloseOutingData() override {
    cache()->CloseData();
    return S_OK;
  }
  CTransactionStateMachine* TransactionMachine() override { return cache()->transaction(); }
  COutingStateChanges* TransactionOuting() override { return this; }
  // At most 255 channels a write; resampled only (a native-rate write fails in its job).
  KivResult WriteRequest(const WriteChannelsRequest& request) override;
  KivResult WithEventsCache(const std::function<KivResult(CEventsWriterCache&)>& call) override;
};

// Registers the spreadsheet source for OutingType::kSpreadsheet with the
// outing factory, unless it is registered already (S_FALSE).
[[nodiscard]] KivResult RegisterExcelOutingSource();

}  // namespace velmar
