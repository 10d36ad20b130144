// Channels written into a `.trn` outing: the step that collects the export
// items and its job, which checks the store's channel list again (another
// writer may have added one of the names since the call) and adds the
// channels with their samples through the commit's write handle.
//
// Step: client thread. Job: the store thread.
#pragma once

#include "sources/tarn/tarn_data_set.h"
#include "sources/tarn/tarn_transactions.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CWBTarnWriteChannelJobItem final : public CWriteBackChannelJobItemBase {
 public:
  CWBTarnWriteChannelJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access,
                             std::shared_ptr<const ExportChannelList> items)
      : CWriteBackChannelJobItemBase(owner, std::move(items)), access_(std::move(access)) {}

 protected:
  bool Validate() override;
  KivResult Write() override;

 private:
  ComPtr<CTarnOutingTransactionJobItem> access_;
};

class CWBTarnWriteChannelStateMachine final : public CWriteBackChannelStateMachineBase {
 public:
  explicit CWBTarnWriteChannelStateMachine(CWriteBackStateChanges* receiver)
      : CWriteBackChannelStateMachineBase(receiver) {}
  AsyncThread GetJobThread() override;

 protected:
  KivResult MakeJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;
};

// A collected item as the store takes it: the description from the item's
// properties (the name's key when they are missing) and its blocks.
[[nodiscard]] KivResult ExportedTarnChannel(const CExportChannel& item, TarnDataSetChannel* channel);

}  // namespace velmar
