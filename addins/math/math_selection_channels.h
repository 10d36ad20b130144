// The math factory of one data selection: the root's definitions over the
// selection's channels ahead of it. It tells its name-list changes when its
// inputs move or the definitions change: the names that went, those that
// stay (their channels are made again, on data that may have changed) and
// those that came.
//
// Client thread only.
#pragma once

#include "core/notifications_impl.h"
#include "math_channels_base.h"
#include "velmar/outing_notifications.h"
#include "velmar/selection_data_factory.h"

namespace velmar::math {

class CMathSelectionChannels final
    : public CMathFactoryBase<IKivSelectionInputsSink,
                              IKivNotificationsImpl<CMathSelectionChannels, IKivDataFactoryNotifications>> {
 public:
  CMathSelectionChannels(std::shared_ptr<MathDefinitions> definitions, ComPtr<IKivChannelFactory> inputs);
  ~CMathSelectionChannels() override;

  // IKivSelectionInputsSink
  KivResult OnInputsChanged() override;
  KivResult GetNames(NameList* names) override;

 private:
  ComPtr<IKivChannelFactory> Operands() override { return inputs_; }

  ComPtr<IKivChannelFactory> inputs_;
  NameList told_;  // the names as last listed
};

}  // namespace velmar::math
