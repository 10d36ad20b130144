#include "outing/channels/channel.h"

#include <utility>

namespace velmar {

CChannel::~CChannel() {
  if (cache_) cache_->RemoveClient(this);
}

void CChannel::Bind(std::u16string name, CChannelKey key, ComPtr<IKivUnknown> binding,
                    ComPtr<CChannelDataCache> cache) {
  cache_ = std::move(cache);
  BindChannel(std::move(name), std::move(key), std::move(binding));
}

KivResult CChannel::PrepareBlocks() {
  if (QueryStatus() != DataStatus::kAvailable || !cache_) return KIV_E_PENDING;
  std::shared_ptr<const ChannelSections> sections;
  const KivResult hr = cache_->GetChannelData(this, key(), &sections);
  if (hr == S_FALSE) return KIV_E_PENDING;
  if (hr != S_OK) return hr;
  return MakeBlocks(*sections, BlockContinuity::kFromSection);
}

void CChannel::OnData(bool ok, KivTime from, KivTime to) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  SetDetail(ok ? kDetailHasSamples : kDetailNoSamples);
  SetStatusRange(ok ? DataStatus::kAvailable : DataStatus::kNotAvailable, from, to);
  if (!ok) NotifyDataFailed();
}

void CChannel::OnDataDropped() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  SetStatusRange(DataStatus::kUnknown, TimeRange::Whole());
}

void CChannel::OnStatusChanged(DataStatus status, KivTime from, KivTime to) {
  if (status == DataStatus::kUnknown) DropBlocks();
  IKivChannelImpl::OnStatusChanged(status, from, to);
}

void CChannel::OnDetach() {
  if (cache_) cache_->RemoveClient(this);
  cache_ = nullptr;
}

}  // namespace velmar
