// CQuantityToColorMapping: the default display colour of each quantity the
// units component knows, each starting at the standard channel colour. It
// persists itself in the settings file; a change needs that file, so
// SetColour gives E_FAIL until one is attached. When the root closes, the
// mapping tells its listeners (Closing).
//
// Client thread only.
#pragma once

#include <cstdint>
#include <map>

#include "core/notifications_impl.h"
#include "core/velmar_parts.h"
#include "velmar/quantity_to_color_mapping.h"
#include "velmar/storage.h"

namespace velmar {

class CQuantityToColorMapping final
    : public KivObject<IKivQuantityToColorMapping, IKivImportable, IKivQuantityToColorMappingInternal,
                       IKivNotificationsImpl<CQuantityToColorMapping, IKivQuantityToColorMappingNotifications>> {
 public:
  static constexpr uint32_t kDefaultColour = 0xFF0000;

  // Takes the quantities of the units component; none when it can't be had.
  CQuantityToColorMapping();

  KivResult GetColour(int32_t quantity, uint32_t* colour) override;
  KivResult SetColour(int32_t quantity, uint32_t colour) override;
  KivResult Import(IKivStorage* storage) override;

  KivResult SetParentCallback(CQuantityToColorMappingParentCallback* parent) override;
  KivResult NotifyClosing() override;

  size_t QuantityCount() const { return colours_.size(); }

 private:
  std::map<int32_t, uint32_t> colours_;
  ComPtr<IKivStream> stream_;  // "QuantityToColorMapping", once the settings file is attached
  CQuantityToColorMappingParentCallback* parent_ = nullptr;
};

}  // namespace velmar
