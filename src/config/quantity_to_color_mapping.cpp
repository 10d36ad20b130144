#include "config/quantity_to_color_mapping.h"

#include <vector>

#include "velmar/units.h"

namespace velmar {

CQuantityToColorMapping::CQuantityToColorMapping() {
  ComPtr<IKivUnitTable> table;
  std::vector<QuantityId> ids;
  if (Succeeded(CreateUnitsComponent(&table)) && table && Succeeded(table->GetQuantityIds(&ids))) {
    for (QuantityId id : ids) colours_.emplace(id, kDefaultColour);
  }
}

KivResult CQuantityToColorMapping::GetColour(int32_t quantity, uint32_t* colour) {
  if (!colour) return E_POINTER;
  auto it = colours_.find(quantity);
  if (it == colours_.end()) return E_INVALIDARG;
  *colour = it->second;
  return S_OK;
}

KivResult CQuantityToColorMapping::SetColour(int32_t quantity, uint32_t colour) {
  auto it = colours_.find(quantity);
  if (it == colours_.end()) return E_INVALIDARG;
  if (it->second == colour) return S_FALSE;
  if (!stream_) return E_FAIL;  // a change is written at once: no settings file, no change
  return E_NOTIMPL;             // the mapping's stream writer joins with the settings file
}

KivResult CQuantityToColorMapping::Import(IKivStorage* storage) {
  if (!storage) return E_POINTER;
  return E_NOTIMPL;  // reading another file's mapping joins with the settings file
}

KivResult CQuantityToColorMapping::SetParentCallback(CQuantityToColorMappingParentCallback* parent) {
  parent_ = parent;
  return S_OK;
}

KivResult CQuantityToColorMapping::NotifyClosing() {
  ComPtr<CQuantityToColorMapping> self(this);
  return FireNotification(&IKivQuantityToColorMappingNotifications::Closing,
                          static_cast<IKivQuantityToColorMapping*>(this));
}

}  // namespace velmar
