#include "export/export_source_item.h"

namespace velmar {

namespace {

constexpr uint32_t kAvailable = 1;

bool Available(IKivData* source) {
  uint32_t status = 0;
  return source && Succeeded(source->GetStatus(&status)) && status == kAvailable;
}

}  // namespace

CExportSourceItem::~CExportSourceItem() { StopWaiting(); }

void CExportSourceItem::Begin() {
  Start();
  if (state() != kCollecting) StopWaiting();
}

void CExportSourceItem::Start() {
  if (!Available(source_.Get())) {
    SetState(kNothing);
    return;
  }
  const KivResult r = Fetch();
  if (r == KIV_E_PENDING && Available(source_.Get())) {
    Wait();
  } else if (r != E_ABORT) {
    SetState(r == S_OK ? kCollected : kNothing);
  }
}

void CExportSourceItem::Wait() {
  if (state() == kCollecting) return;
  SetState(kCollecting);
  sourceLock_ = QueryAs<IKivDataCache>(source_.Get());
  if (sourceLock_ && Failed(sourceLock_->Lock())) sourceLock_ = nullptr;
  sink_ = MakeKiv<CDataNotificationsSink<>>();
  sink_->SetReceiver(static_cast<CDataNotificationsReceiver*>(this));
  (void)sink_->Connect(source_.Get());
}

void CExportSourceItem::StopWaiting() {
  if (sink_) {
    sink_->Disconnect(source_.Get());
    sink_->SetReceiver(nullptr);
    sink_ = nullptr;
  }
  if (sourceLock_) (void)sourceLock_->Unlock();
  sourceLock_ = nullptr;
  source_ = nullptr;
}

void CExportSourceItem::OnDataChanged(IKivData* /*item*/, KivTime /*from*/, KivTime /*to*/) {
  Start();
  if (state() == kCollecting) return;
  StopWaiting();
  LeaveWaiter();
}

void CExportSourceItem::OnDataRemoved(IKivData* /*item*/) {
  StopWaiting();
  LeaveWaiter();
}

}  // namespace velmar
