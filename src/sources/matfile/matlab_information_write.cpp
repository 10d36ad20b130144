#include "sources/matfile/matlab_information_write.h"

#include "jobs/job_thread.h"

namespace velmar {

KivResult CMatlabOutingInfoWBJobItem::Run() {
  if (!access_ || !access_->handles().IsOpen()) return Fail(kMatInformationWriteFailed);
  if (!access_->handles().WriteInformation(properties_).ok()) return Fail(kMatInformationWriteFailed);
  return S_OK;
}

KivResult CMatlabOutingInfoStep::CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) {
  if (properties_.empty()) {
    NotifyMessage(u"Failed to write outing information - no properties selected");
    return E_FAIL;
  }
  if (!writeAccess) return E_FAIL;
  *job = MakeKiv<CMatlabOutingInfoWBJobItem>(
      this, ComPtr<CMatlabOutingTxnJobItem>(static_cast<CMatlabOutingTxnJobItem*>(writeAccess)), properties_);
  return S_OK;
}

AsyncThread CMatlabOutingInfoStep::GetJobThread() { return MatlabThread(); }

}  // namespace velmar
