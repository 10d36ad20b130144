#include "core/velmar_global_state.h"

#include <algorithm>
#include <optional>

#include "core/data_factory_branding.h"

namespace velmar {

CVelmarObjGlobalStateChanges& CVelmarObjGlobalStateChanges::Process() {
  static CVelmarObjGlobalStateChanges fanOut;
  return fanOut;
}

CVelmarObjGlobalStateChanges::CVelmarObjGlobalStateChanges()
    : stores_{std::make_shared<CGlobalConstantsCache>(), std::make_shared<CCommonChannelsStore>()} {
  stores_.commonChannels->SetParent(this);
}

VelmarSharedStores CVelmarObjGlobalStateChanges::Join(CVelmarObjStateChanges* root) {
  if (root && !Contains(root)) roots_.push_back(root);
  return stores_;
}

KivResult CVelmarObjGlobalStateChanges::Leave(CVelmarObjStateChanges* root) {
  auto it = std::find(roots_.begin(), roots_.end(), root);
  if (it == roots_.end()) return S_FALSE;
  roots_.erase(it);
  if (roots_.empty()) {
    stores_.constants->Clear();
    stores_.commonChannels->ResetToDefaults();
  }
  return S_OK;
}

bool CVelmarObjGlobalStateChanges::Contains(const CVelmarObjStateChanges* root) const {
  return std::find(roots_.begin(), roots_.end(), root) != roots_.end();
}

KivResult CVelmarObjGlobalStateChanges::ApplyDataFactoryList(const DataFactoryRecords& wanted) {
  // A copy: applying a list may close or open roots.
  const auto roots = roots_;
  KivResult first = S_OK;
  for (CVelmarObjStateChanges* root : roots) {
    if (!Contains(root)) continue;
    const KivResult r = root->ApplyDataFactoryList(wanted);
    if (Failed(r) && Succeeded(first)) first = r;
  }
  return first;
}

void CVelmarObjGlobalStateChanges::CommonChannelsChanged() {
  const auto roots = roots_;
  for (CVelmarObjStateChanges* root : roots) {
    if (Contains(root)) root->OnCommonChannelsChanged();
  }
}

namespace {

uint32_t& LiveRoots() {
  static uint32_t count = 0;
  return count;
}

std::optional<DataFactoryRecords>& Mandatory() {
  static std::optional<DataFactoryRecords> list;
  return list;
}

const DataFactoryRecords& LibraryDataFactories() {
  static const DataFactoryRecords kList = {
      DataFactoryRecord::Native(Guid::Literal("{510B131A-9AE4-47F5-B01E-86F497DC3DE2}")),
      DataFactoryRecord::Native(Guid::Literal("{BA1A105A-3C05-421F-90AE-926030AA1DC2}")),
      DataFactoryRecord::Native(Guid::Literal("{9169F23E-447A-4A01-B85D-D7FCE30230CB}")),
      DataFactoryRecord::Native(Guid::Literal("{7D7A4E88-97F5-4FA3-8FDF-99B253360A80}")),
      DataFactoryRecord::Native(Guid::Literal("{EB9EFE2A-D19C-4507-A9D1-1294FE155FB6}")),
      DataFactoryRecord::Native(Guid::Literal("{431C3042-F301-4701-85F0-5EF9EC7FC68E}")),
      DataFactoryRecord::Native(Guid::Literal("{3F015927-16AC-431A-888B-FAEE52D60F9B}")),
      DataFactoryRecord::Managed(u"Halvane.Kivara.AdvancedMath.AdvancedMathDataFactory"),
      DataFactoryRecord::Managed(u"Halvane.Kivara.PopUpAlarms.PopUpAlarmsTool"),
  };
  return kList;
}

}  // namespace

uint32_t LiveVelmarRootCount() { return LiveRoots(); }
void AddLiveVelmarRoot() { ++LiveRoots(); }
void ReleaseLiveVelmarRoot() {
  if (LiveRoots() > 0) --LiveRoots();
}

void BuildMandatoryDataFactories() {
  const DataFactoryBranding& branding = CurrentDataFactoryBranding();
  DataFactoryRecords list;
  for (const auto& record : LibraryDataFactories()) {
    if (branding.IsAllowed(record)) list.push_back(record);
  }
  Mandatory() = std::move(list);
}

const DataFactoryRecords& MandatoryDataFactories() {
  if (!Mandatory()) BuildMandatoryDataFactories();
  return *Mandatory();
}

bool IsMandatoryDataFactory(const DataFactoryRecord& record) {
  const auto& list = MandatoryDataFactories();
  return std::any_of(list.begin(), list.end(), [&](const auto& m) { return m.SameFactory(record); });
}

}  // namespace velmar
