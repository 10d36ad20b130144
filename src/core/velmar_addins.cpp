// The root's "&Add-in Manager..." command.
#include "core/addin_manager.h"
#include "core/data_factory_branding.h"
#include "core/velmar.h"

namespace velmar {

KivResult CVelmar::OnAddInManager(IKivObjectNodeCommand*, uint32_t a, int32_t b) {
  if (a > 1) return KIV_E_BAD_COMMAND_ARG;
  const KivAddInManagerDialog dialog = CurrentAddInManagerDialog();
  if (!dialog) return S_OK;  // no dialog can be made: everything stays as it was
  ComPtr<CVelmar> self(this);  // the dialog's loop may deliver notifications
  const DataFactoryBranding& branding = CurrentDataFactoryBranding();
  const auto shown = [&](const DataFactoryRecord& record) {
    return !IsMandatoryDataFactory(record) && branding.IsAllowed(record);
  };
  DataFactoryRecords working = dataFactories_.ActiveRecords();
  std::erase_if(working, [&](const DataFactoryRecord& record) { return !shown(record); });
  KivAddInManager model(MakeAddInRows(AvailableDataFactories(), working, shown));
  if (!dialog(model, b) || closed_) return S_OK;
  DataFactoryRecords wanted = MandatoryDataFactories();
  for (DataFactoryRecord& record : CheckedRecords(model)) wanted.push_back(std::move(record));
  return ApplyToAllRoots(std::move(wanted));
}

}  // namespace velmar
