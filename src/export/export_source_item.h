// The part of an export item that watches its source: the status test, the
// wait for data that is still being fetched (the source held, its data
// locked in memory, its notifications heard), and the return to the waiter
// once the data is in or gone. Client thread only.
#pragma once

#include "export/export_item.h"
#include "velmar/channel.h"

namespace velmar {

class CExportSourceItem : public CExportItem, private CDataNotificationsReceiver {
 protected:
  explicit CExportSourceItem(IKivData* source) : source_(source) {}
  ~CExportSourceItem() override;

  // Runs the start: to be called once by the derived constructor.
  void Begin();
  IKivData* source() const { return source_.Get(); }

  // Reads the source's data into the item. KIV_E_PENDING: not there yet;
  // E_ABORT: the state stands as it is; another failure, or S_FALSE (no
  // data in the range): nothing.
  virtual KivResult Fetch() = 0;

 private:
  void Start();
  void Wait();
  void StopWaiting();

  void OnDataChanged(IKivData* item, KivTime from, KivTime to) override;
  void OnDataRemoved(IKivData* item) override;

  ComPtr<IKivData> source_;  // only while collecting
  ComPtr<IKivDataCache> sourceLock_;
  ComPtr<CDataNotificationsSink<>> sink_;
};

}  // namespace velmar
