// The reloads of CTarnOutingCache after its constant, blob and information
// steps, and the queueing of the information step.
#include <algorithm>

#include "sources/tarn/tarn_info_write.h"
#include "sources/tarn/tarn_outing_cache.h"

namespace velmar {

const std::vector<TarnNamedItem>* CTarnOutingCache::LoadedBlobList() const {
  const CLoadBlobJobItem* job = blobs_->results();
  return job ? &job->blobs() : nullptr;
}

KivResult CTarnOutingCache::QueueInformation(PropertyList properties) {
  const bool firstLap = std::any_of(properties.begin(), properties.end(), [](const Property& p) {
    return p.name == tarn_property::kFirstLapNumber;
  });
  const KivResult r = transaction_->AddWriteBackStep(
      MakeKiv<CWBTarnOutingInfoStateMachine>(&informationWriteBack_, std::move(properties)));
  if (Succeeded(r) && firstLap) firstLapChanged_ = true;
  return r;
}

void CTarnOutingCache::ReloadConstantsAfterWrite() {
  constantsRewritten_ = constants_->requested();
  constants_->Reload();
}

void CTarnOutingCache::ReloadBlobsAfterWrite() {
  blobs_->Reload();
  blobData_.DropAll();
}

void CTarnOutingCache::ReloadInformationAfterWrite() {
  ComPtr<CTarnOutingCache> keep(this);
  if (std::exchange(firstLapChanged_, false)) ReloadLapMarkersAfterWrite();
  informationStale_ = true;
  outing_->Reload();
  InvalidateCaption();
}

}  // namespace velmar
