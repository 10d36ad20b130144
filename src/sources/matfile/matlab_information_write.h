// Outing information written into a MAT-file: the job an information step
// builds at the commit, which rewrites the held file with the properties
// (see CMatlabFileHandles::WriteInformation), and the step that queues it.
//
// Step: client thread. Job: "Matlab_Thread".
#pragma once

#include "sources/matfile/matlab_transactions.h"
#include "velmar/property_set.h"
#include "writeback/write_back_step.h"

namespace velmar {

inline constexpr std::u16string_view kMatInformationWriteFailed = u"Failed to write outing information";

class CMatlabOutingInfoWBJobItem final : public CWriteBackJobItem {
 public:
  CMatlabOutingInfoWBJobItem(CStateMachineEx* owner, ComPtr<CMatlabOutingTxnJobItem> access, PropertyList properties)
      : CWriteBackJobItem(owner), access_(std::move(access)), properties_(std::move(properties)) {}

 protected:
  KivResult Run() override;

 private:
  ComPtr<CMatlabOutingTxnJobItem> access_;
  PropertyList properties_;
};

// A step of the given properties over the commit's write access; its
// receiver reloads the outing once the job wrote. A step of no properties
// is passed over with its message.
class CMatlabOutingInfoStep final : public CWriteBackStateMachineBase {
 public:
  CMatlabOutingInfoStep(CWriteBackStateChanges* receiver, PropertyList properties)
      : CWriteBackStateMachineBase(receiver), properties_(std::move(properties)) {}
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;
  AsyncThread GetJobThread() override;

 private:
  PropertyList properties_;
};

}  // namespace velmar
