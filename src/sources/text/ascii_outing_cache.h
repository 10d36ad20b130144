// CAsciiOutingCache: the shared side of every outing object open on one text
// data set. It loads the file once on the "Ascii_Thread" worker (the load
// machine of the file cache frame), keeps what the load read, makes a new
// empty data set on request (the create machine), and hands its outing
// objects the loaded channels, event sets, constants and lap markers.
//
// Client thread only.
#pragma once

#include <string>
#include <vector>

#include "outing/channels/channel_file.h"
#include "outing/cache/file_outing_cache.h"
#include "outing/information/outing_caption_helper.h"
#include "outing/information/outing_information_base.h"
#include "outing/cache/outing_state_changes.h"
#include "sources/text/ascii_outing_job_item.h"
#include "velmar/data_factory.h"
#include "velmar/guid.h"
#include "velmar/outing_factory.h"
#include "writeback/transaction_base.h"
#include "writeback/transaction_state_machine.h"

namespace velmar {

// What the cache calls on each text outing object.
using CAsciiOutingStateChanges = COutingStateChanges;

class CAsciiOutingCache final : public CFileOutingCache<CAsciiOutingCache, CAsciiOutingStateChanges, AsciiSource>,
                                public CRawChannelSource,
                                public CTransactions<CAsciiOutingCache>,
                                private COutingInformationCache,
                                private COutingCaptionHelperCallback {
 public:
  // ops: the file system the load job reads through; null for the real one.
  CAsciiOutingCache(std::u16string path, const Guid& outingId, TextFileOps* ops = nullptr);
  ~CAsciiOutingCache() override;

  // One count for every face of the cache.
  uint32_t AddRef() override { return COutingCacheStateChanges::AddRef(); }
  uint32_t Release() override { return COutingCacheStateChanges::Release(); }

  // The column a channel of that key reads; null while not loaded (the load
  // is asked for) or when the data set has no such column.
  std::shared_ptr<CRawChannelBase> GetRawChannel(const CChannelKey& key) override;

  // What the finished load holds; null unless loaded and not closed.
  const AsciiOutingData* data() const;
  // Names of the loaded items, in name order; empty unless loaded.
  NameList ChannelNames() const;
  NameList EventSetNames() const;
  NameList ConstantNames() const;
  // The loaded raw channel of that name; null when there is none or nothing is loaded.
  const CAsciiRawChannel* GetRawChannel(const std::u16string& name) const;

  // The lap markers of the load; the cache holds the lap list from then on.
  // False, with nothing, while the data is not loaded (the load is asked for).
  bool ReadLapMarkers(std::vector<TextLapMarker>* markers);

  // --- Write-back -------------------------------------------------------------
  CTransactionStateMachine* transaction() const { return transaction_.Get(); }
  // CloseData: the discard waits while a commit writes the file, and runs
  // when it ends.
  void CloseData();
  // What hears that a step wrote channels: the data is discarded when the
  // commit ends, and read again on the next request.
  CWriteBackStateChanges* channel_write_back() { return &channelWriteBack_; }
  // The same for constant and information steps: every write rewrites the file.
  CWriteBackStateChanges* data_write_back() { return &channelWriteBack_; }

  // CTransactionBase: the file held for writing on "Ascii_Thread".
  ComPtr<CJobItem> MakeWriteAccessJob(CStateMachineEx* owner) override;
  ComPtr<CJobItem> MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) override;
  AsyncThread GetJobThread() override;
  void NotifyTransactionStarted() override;
  void NotifyTransactionFinished() override;
  void OnWriteLost() override { CloseData(); }

 protected:
  ComPtr<IKivPropertySet> MakeInformation(CAsciiOutingJobItem& job) override;
  void ReleaseInformation(IKivPropertySet& old) override;
  void OnFastLapSettingsChanged() override;
  std::u16string BuildCaption() override;

 private:
  // COutingInformationCache
  FastLapSettings InformationFastLapSettings() const override { return {fast_lap_filter(), fast_lap_minimum_time()}; }
  // The information step, queued in the transaction; the file is read again after it.
  KivResult AddInformationStep(PropertyList properties) override;
  // COutingCaptionHelperCallback
  std::u16string GetDefaultCaption(IKivPropertySet* properties) override;
  std::u16string GetPath() override { return path(); }
  void OnCaptionInvalid() override { CFileOutingCache::OnCaptionInvalid(); }

  class CDiscardAfterWrite final : public CWriteBackStateChanges {
   public:
    explicit CDiscardAfterWrite(CAsciiOutingCache* cache) : cache_(cache) {}
    void ReloadAfterWrite() override { cache_->CloseData(); }

   private:
    CAsciiOutingCache* cache_;
  };

  TextFileOps* const ops_;
  CDiscardAfterWrite channelWriteBack_{this};
  COutingCaptionHelper captionHelper_{this};
  ClientRef<CTransactionStateMachine> transaction_;
  bool writing_ = false;         // a commit holds the file
  bool discardNoted_ = false;    // a CloseData came while writing
};

}  // namespace velmar
