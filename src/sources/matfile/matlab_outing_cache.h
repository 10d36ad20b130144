// CMatlabOutingCache: the shared side of every outing object open on one
// MAT-file. It loads the file once on the "Matlab_Thread" worker (the load
// machine of the file cache frame), keeps the channels and information the
// load read, makes a new file on request (the create machine), and holds
// the file for writing during a commit.
//
// Client thread only.
#pragma once

#include <memory>
#include <string>

#include "outing/cache/file_outing_cache.h"
#include "outing/cache/outing_state_changes.h"
#include "outing/channels/channel_file.h"
#include "outing/information/outing_caption_helper.h"
#include "outing/information/outing_information_base.h"
#include "sources/matfile/matlab_outing_job_item.h"
#include "velmar/data_factory.h"
#include "writeback/discard_after_commit.h"
#include "writeback/transaction_base.h"
#include "writeback/transaction_state_machine.h"

namespace velmar {

// The information object of a MAT-file outing: the load's properties; no
// lap markers, so no fast lap.
class CMatlabOutingInformation final : public COutingInformationBase {
 public:
  CMatlabOutingInformation(const MatlabOutingData& data, COutingInformationCache* cache);
};

class CMatlabOutingCache final : public CFileOutingCache<CMatlabOutingCache, COutingStateChanges, MatlabSource>,
                                 public CRawChannelSource,
                                 public CTransactions<CMatlabOutingCache>,
                                 private COutingInformationCache,
                                 private COutingCaptionHelperCallback {
 public:
  // ops: the file system the jobs go through; null for the real one.
  CMatlabOutingCache(std::u16string path, const Guid& outingId, TextFileOps* ops = nullptr);
  ~CMatlabOutingCache() override;

  uint32_t AddRef() override { return COutingCacheStateChanges::AddRef(); }
  uint32_t Release() override { return COutingCacheStateChanges::Release(); }

  std::shared_ptr<CRawChannelBase> GetRawChannel(const CChannelKey& key) override;

  // What the finished load holds; null unless loaded and not closed.
  const MatlabOutingData* data() const;
  // Names of the loaded channels, in name order; empty unless loaded.
  NameList ChannelNames() const;

  // --- Write-back -------------------------------------------------------------
  CTransactionStateMachine* transaction() const { return transaction_.Get(); }
  // The discard waits while a commit writes the file, and runs when it ends.
  void CloseData() { writeBack_.CloseData(); }
  // What hears that a step wrote: the data is read again on the next request.
  CWriteBackStateChanges* write_back() { return &writeBack_; }

  ComPtr<CJobItem> MakeWriteAccessJob(CStateMachineEx* owner) override;
  ComPtr<CJobItem> MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) override;
  AsyncThread GetJobThread() override;
  void NotifyTransactionStarted() override;
  void NotifyTransactionFinished() override;
  void OnWriteLost() override { CloseData(); }

 protected:
  ComPtr<IKivPropertySet> MakeInformation(CMatlabOutingJobItem& job) override;
  void ReleaseInformation(IKivPropertySet& old) override;
  std::u16string BuildCaption() override;

 private:
  FastLapSettings InformationFastLapSettings() const override { return {fast_lap_filter(), fast_lap_minimum_time()}; }
  KivResult AddInformationStep(PropertyList properties) override;
  std::u16string GetDefaultCaption(IKivPropertySet* properties) override;
  std::u16string GetPath() override { return path(); }
  void OnCaptionInvalid() override { CFileOutingCache::OnCaptionInvalid(); }

  TextFileOps* const ops_;
  CDiscardAfterCommit<CMatlabOutingCache> writeBack_{this};
  COutingCaptionHelper captionHelper_{this};
  ClientRef<CTransactionStateMachine> transaction_;
};

}  // namespace velmar
