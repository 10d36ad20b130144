#include "outing/channels/channel_file.h"

#include <utility>

namespace velmar {

void CFileChannel::Bind(std::u16string name, CChannelKey key, ComPtr<IKivUnknown> binding,
                        ComPtr<CRawChannelSource> cache, ChannelUnit unit, ComPtr<IKivUnits> units) {
  cache_ = std::move(cache);
  unit_ = unit;
  units_ = std::move(units);
  BindChannel(std::move(name), std::move(key), std::move(binding));
}

bool CFileChannel::PrepareData() {
  if (blocks()) return true;
  prepared_ = true;
  SetDetail(kDetailNoSamples);
  std::shared_ptr<CRawChannelBase> raw = cache_ ? cache_->GetRawChannel(key()) : nullptr;
  if (!raw) return false;
  ChannelScaling scaling;
  // A unit the converter does not know: the values as stored, not none.
  if (Failed(ReadingScaling(unit_, units_.Get(), &scaling))) scaling = ChannelScaling{};
  if (Failed(raw->BuildSections(scaling))) return false;
  if (!raw->sections().empty()) {
    if (Failed(MakeBlocks(raw->sections(), BlockContinuity::kAlways))) return false;
    SetDetail(kDetailHasSamples);
  }
  return detail() != kDetailNoSamples;
}

KivResult CFileChannel::PrepareBlocks() {
  // An empty or unreadable column only answers pending: nothing is told from
  // inside the call.
  if (EvaluateStatus() == DataStatus::kAvailable && blocks()) return S_OK;
  return KIV_E_PENDING;
}

uint32_t CFileChannel::GetDetail() {
  if (!prepared_) (void)PrepareData();
  return detail();
}

void CFileChannel::OnDetach() {
  cache_ = nullptr;
  units_ = nullptr;
}

}  // namespace velmar
