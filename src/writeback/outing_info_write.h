// The step of an outing information edit: a list of (name, value) pairs,
// checked at the call by the source's rules, written at the commit as one
// job. A step with no pairs writes nothing and says so.
//
// A source gives its job (a `.trn` writes the details record, a text data
// set rewrites its information block, a MAT-file writes its own) and runs
// it through CWBOutingInfoStep.
//
// Steps: client thread. Jobs: the source's worker thread.
#pragma once

#include <string_view>

#include "velmar/property_set.h"
#include "writeback/write_back_step.h"

namespace velmar {

inline constexpr std::u16string_view kInfoNoProperties = u"Failed to write outing information - no properties selected";
inline constexpr std::u16string_view kInfoWriteFailed = u"Failed to write outing information";
inline constexpr std::u16string_view kInfoFirstLapFailed =
    u"Failed to write outing information - failed to set first lap number";
inline constexpr std::u16string_view kInfoInvalidName = u"Failed to write outing property \"%s\" - invalid name";

class CWBOutingInfoJobItemBase : public CWriteBackJobItem {
 protected:
  CWBOutingInfoJobItemBase(CStateMachineEx* owner, PropertyList properties)
      : CWriteBackJobItem(owner), properties_(std::move(properties)) {}
  const PropertyList& properties() const { return properties_; }

 private:
  const PropertyList properties_;
};

class CWBOutingInfoStateMachineBase : public CWriteBackStateMachineBase {
 public:
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) final {
    if (properties_.empty()) {
      NotifyMessage(std::u16string(kInfoNoProperties));
      return E_FAIL;
    }
    *job = MakeJob(writeAccess, properties_);
    return *job ? S_OK : E_FAIL;
  }
  const PropertyList& properties() const { return properties_; }

 protected:
  CWBOutingInfoStateMachineBase(CWriteBackStateChanges* receiver, PropertyList properties)
      : CWriteBackStateMachineBase(receiver), properties_(std::move(properties)) {}
  virtual ComPtr<CWriteBackJobItem> MakeJob(CJobItem* writeAccess, const PropertyList& properties) = 0;

 private:
  const PropertyList properties_;
};

// The information step of one source: `Job(owner, access, properties)` over
// the commit's write access `Access`, run on `Thread()`.
template <class Job, class Access, AsyncThread (*Thread)()>
class CWBOutingInfoStep final : public CWBOutingInfoStateMachineBase {
 public:
  CWBOutingInfoStep(CWriteBackStateChanges* receiver, PropertyList properties)
      : CWBOutingInfoStateMachineBase(receiver, std::move(properties)) {}
  AsyncThread GetJobThread() override { return Thread(); }

 protected:
  ComPtr<CWriteBackJobItem> MakeJob(CJobItem* writeAccess, const PropertyList& properties) override {
    return MakeKiv<Job>(this, ComPtr<Access>(static_cast<Access*>(writeAccess)), properties);
  }
};

}  // namespace velmar
