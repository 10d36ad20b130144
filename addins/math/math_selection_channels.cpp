#include "math_selection_channels.h"

#include <algorithm>

namespace velmar::math {

CMathSelectionChannels::CMathSelectionChannels(std::shared_ptr<MathDefinitions> definitions,
                                               ComPtr<IKivChannelFactory> inputs)
    : CMathFactoryBase(std::move(definitions)), inputs_(std::move(inputs)) {
  definitions_->listeners.push_back(this);
}

CMathSelectionChannels::~CMathSelectionChannels() { std::erase(definitions_->listeners, this); }

KivResult CMathSelectionChannels::GetNames(NameList* names) {
  if (KivResult r = CMathFactoryBase::GetNames(names); Failed(r)) return r;
  told_ = *names;
  return S_OK;
}

KivResult CMathSelectionChannels::OnInputsChanged() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  const NameList before = told_;
  NameList now;
  (void)GetNames(&now);
  NameList gone, stay, came;
  for (const std::u16string& name : before) {
    (std::find(now.begin(), now.end(), name) == now.end() ? gone : stay).push_back(name);
  }
  for (const std::u16string& name : now) {
    if (std::find(before.begin(), before.end(), name) == before.end()) came.push_back(name);
  }
  IKivDataFactory* self = static_cast<IKivChannelFactory*>(this);
  if (!gone.empty()) (void)FireNotification(&IKivDataFactoryNotifications::OnItemsRemoved, self, kDataKindChannels, gone);
  if (!stay.empty()) (void)FireNotification(&IKivDataFactoryNotifications::OnItemsChanged, self, kDataKindChannels, stay);
  if (!came.empty()) (void)FireNotification(&IKivDataFactoryNotifications::OnItemsAdded, self, kDataKindChannels, came);
  return S_OK;
}

}  // namespace velmar::math
