#include "config/common_channels.h"

namespace velmar {

static_assert(kCommonChannelRoleCount == CCommonChannelsStore::kRoleCount);

KivResult CCommonChannels::Get(size_t role, std::u16string* text) const {
  if (!text) return E_POINTER;
  if (!store_) return E_UNEXPECTED;
  return store_->Get(role, text);
}

KivResult CCommonChannels::Set(size_t role, const std::u16string& text) {
  if (!store_) return E_UNEXPECTED;
  const KivResult r = store_->Set(role, text);
  return Failed(r) ? r : S_OK;
}

#define KIV_COMMON_CHANNEL_DEFINE_(Role)                                                             \
  KivResult CCommonChannels::Get##Role(std::u16string* text) {                                       \
    return Get(static_cast<size_t>(CommonChannelRole::k##Role), text);                               \
  }                                                                                                  \
  KivResult CCommonChannels::Set##Role(const std::u16string& text) {                                 \
    return Set(static_cast<size_t>(CommonChannelRole::k##Role), text);                               \
  }
KIV_COMMON_CHANNEL_ROLES(KIV_COMMON_CHANNEL_DEFINE_)
#undef KIV_COMMON_CHANNEL_DEFINE_

KivResult CCommonChannels::AttachStore(std::shared_ptr<CCommonChannelsStore> store) {
  store_ = std::move(store);
  return S_OK;
}

}  // namespace velmar
