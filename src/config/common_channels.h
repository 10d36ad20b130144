// CCommonChannels: a root's face onto the process-wide common channels
// store. A change goes through the store to every root.
//
// Client thread only.
#pragma once

#include <memory>

#include "core/common_channels_store.h"
#include "core/velmar_parts.h"
#include "velmar/common_channels.h"

namespace velmar {

class CCommonChannels final : public KivObject<IKivCommonChannels, IKivCommonChannelsInternal> {
 public:
#define KIV_COMMON_CHANNEL_DECLARE_(Role)                  \
  KivResult Get##Role(std::u16string* text) override;      \
  KivResult Set##Role(const std::u16string& text) override;
  KIV_COMMON_CHANNEL_ROLES(KIV_COMMON_CHANNEL_DECLARE_)
#undef KIV_COMMON_CHANNEL_DECLARE_

  KivResult AttachStore(std::shared_ptr<CCommonChannelsStore> store) override;

 private:
  // E_POINTER on a null out; E_UNEXPECTED with no store.
  KivResult Get(size_t role, std::u16string* text) const;
  // The text held already gives S_OK too.
  KivResult Set(size_t role, const std::u16string& text);

  std::shared_ptr<CCommonChannelsStore> store_;
};

}  // namespace velmar
