#include "sources/tarn/tarn_media_channel.h"

#include <new>
#include <utility>

#include "sources/tarn/tarn_outing_cache.h"

namespace velmar {

CTarnMediaChannelBase::CTarnMediaChannelBase(std::u16string name, const TarnMediaChannelEntry& entry,
                                             ComPtr<CTarnOutingCache> cache)
    : IKivDataImpl(std::move(name)), entry_(entry), cache_(std::move(cache)) {}

CTarnMediaChannelBase::~CTarnMediaChannelBase() {
  if (cache_) cache_->ForgetClient(this);
}

KivResult CTarnMediaChannelBase::GetClips(KivTime from, KivTime to, std::vector<const TarnMediaClip*>* clips) {
  if (!clips) return E_POINTER;
  clips->clear();
  const CLoadMediaChannelAccessDataJobItem* read = nullptr;
  const KivResult r = Fetch(&read);
  if (r == S_FALSE) return accessState_ == AccessState::kFailed ? E_FAIL : KIV_E_PENDING;
  if (r != S_OK) return r;
  try {
    for (const TarnMediaClip& clip : read->clips()) {
      if (clip.start <= to && clip.end >= from) clips->push_back(&clip);
    }
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

void CTarnMediaChannelBase::Detach() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  FireRemoved();
  if (cache_) cache_->ForgetClient(this);
  cache_ = nullptr;
}

KivResult CTarnMediaChannelBase::Fetch(const CLoadMediaChannelAccessDataJobItem** read) {
  if (!cache_) return E_FAIL;
  return cache_->GetMediaChannelAccessData(this, entry_.id, read);
}

DataStatus CTarnMediaChannelBase::InputsStatus() {
  const CLoadMediaChannelAccessDataJobItem* read = nullptr;
  return ItemReadStatus(Fetch(&read));
}

void CTarnMediaChannelBase::OnItemDataReady(bool succeeded, KivTime from, KivTime to) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  accessState_ = succeeded ? AccessState::kLoaded : AccessState::kFailed;
  SetStatusRange(succeeded ? DataStatus::kAvailable : DataStatus::kNotAvailable, from, to);
  if (!succeeded) NotifyDataFailed();
}

void CTarnMediaChannelBase::OnItemDataDropped() {
  accessState_ = AccessState::kNotAsked;
  SetStatusRange(DataStatus::kUnknown, TimeRange::Whole());
}

}  // namespace velmar
