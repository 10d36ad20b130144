#include "sources/autoupdate/autoupdate.h"

#include "sources/autoupdate/autoupdate_jobs.h"
#include "sources/autoupdate/autoupdate_notify.h"
#include "sources/autoupdate/autoupdate_scan.h"

namespace velmar {
namespace {

class CTaskFolderWatch final : public ITaskWatch {
 public:
  CTaskFolderWatch(ComPtr<CAutoupdateStateMachine> scanner, ClientRef<CAutoupdateNotifyStateMachine> notify)
      : scanner_(std::move(scanner)), notify_(std::move(notify)) {}
  ~CTaskFolderWatch() override {
    scanner_->Stop();
    notify_.Reset();
  }
  uint64_t scans() const override { return scanner_->scans(); }

 private:
  ComPtr<CAutoupdateStateMachine> scanner_;
  ClientRef<CAutoupdateNotifyStateMachine> notify_;
};

}  // namespace

std::unique_ptr<ITaskWatch> StartFolderWatch(CTask* task) {
  std::u16string folder;
  uint32_t mode = kWatchEachFile;
  if (!task || Failed(task->GetWatchFolder(&folder)) || folder.empty()) return nullptr;
  (void)task->GetWatchMode(&mode);
  auto notify = MakeClient<CAutoupdateNotifyStateMachine>(task);
  if (Failed(notify->Init())) return nullptr;
  ComPtr<CAutoupdateStateMachine> scanner(new CAutoupdateStateMachine());
  if (Failed(scanner->Start(folder, mode, notify.Get()))) return nullptr;
  return std::make_unique<CTaskFolderWatch>(std::move(scanner), std::move(notify));
}

KivResult RegisterAutoupdate() {
  SetTaskWatchStarter(&StartFolderWatch);
  return S_OK;
}

}  // namespace velmar
