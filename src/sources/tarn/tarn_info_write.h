// Outing information edits of a `.trn` outing: the check each pair passes
// at the call (ValidateTarnProperty), and the job that puts the pairs into
// the store's details record. "First lap number" also goes to the lap
// markers at once, so the store numbers the laps from it.
//
// Check: any thread. Step: client thread. Job: the store thread.
#pragma once

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_properties.h"
#include "sources/tarn/tarn_transactions.h"
#include "writeback/outing_info_write.h"

namespace velmar {

// The longest text a property takes; none for a name without a limit.
std::optional<size_t> TarnPropertyTextLimit(std::u16string_view name);

// One of the outing properties' names, a text no longer than its limit
// (else E_INVALIDARG), and, for a name the outing holds in `held`, a value
// that changes to the kind held (else DISP_E_TYPEMISMATCH). S_OK puts the
// value to write in `converted`.
KivResult ValidateTarnProperty(const Property& pair, const TarnPropertyMap& held, Variant* converted);

class CWBTarnOutingInfoJobItem final : public CWBOutingInfoJobItemBase {
 public:
  CWBTarnOutingInfoJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access,
                           PropertyList properties)
      : CWBOutingInfoJobItemBase(owner, std::move(properties)), access_(std::move(access)) {}

 protected:
  KivResult Run() override;

 private:
  ComPtr<CTarnOutingTransactionJobItem> access_;
};

using CWBTarnOutingInfoStateMachine =
    CWBOutingInfoStep<CWBTarnOutingInfoJobItem, CTarnOutingTransactionJobItem, DaeThread>;

}  // namespace velmar
