#include "sources/text/ascii_outing_cache.h"

#include "sources/text/ascii_info_write.h"

#include <algorithm>

#include "jobs/job_thread.h"
#include "sources/text/ascii_outing_information.h"
#include "sources/text/ascii_transactions.h"

namespace velmar {
namespace {

template <class Map>
NameList KeysOf(const Map& map) {
  NameList names;
  names.reserve(map.size());
  for (const auto& entry : map) names.push_back(entry.first);
  return names;
}

}  // namespace

CAsciiOutingCache::CAsciiOutingCache(std::u16string path, const Guid& outingId, TextFileOps* ops)
    : CFileOutingCache(OutingType::kText, std::move(path), outingId, ops),
      ops_(ops),
      transaction_(MakeClient<CTransactionStateMachine>(static_cast<CTransactionBase*>(this))) {}

CAsciiOutingCache::~CAsciiOutingCache() { transaction_.Reset(); }

void CAsciiOutingCache::CloseData() {
  if (writing_) {
    discardNoted_ = true;
    return;
  }
  Discard();
}

ComPtr<CJobItem> CAsciiOutingCache::MakeWriteAccessJob(CStateMachineEx* owner) {
  return MakeKiv<CAsciiOutingTxnJobItem>(owner, TextFilePath(path()), ops_);
}

ComPtr<CJobItem> CAsciiOutingCache::MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) {
  return MakeKiv<CAsciiOutingCloseJob>(owner,
                                       ComPtr<CAsciiOutingTxnJobItem>(static_cast<CAsciiOutingTxnJobItem*>(writeAccess)));
}

AsyncThread CAsciiOutingCache::GetJobThread() { return AsciiThread(); }

void CAsciiOutingCache::NotifyTransactionStarted() {
  writing_ = true;
  CTransactionBase::NotifyTransactionStarted();
}

void CAsciiOutingCache::NotifyTransactionFinished() {
  ComPtr<CAsciiOutingCache> keep(this);
  writing_ = false;
  CTransactionBase::NotifyTransactionFinished();
  if (std::exchange(discardNoted_, false)) Discard();
}

const AsciiOutingData* CAsciiOutingCache::data() const {
  const CAsciiOutingJobItem* job = loaded();
  return job && !closed() ? &job->data() : nullptr;
}

NameList CAsciiOutingCache::ChannelNames() const {
  const AsciiOutingData* d = data();
  return d ? KeysOf(d->channels) : NameList{};
}

NameList CAsciiOutingCache::EventSetNames() const {
  const AsciiOutingData* d = data();
  return d ? KeysOf(d->events) : NameList{};
}

NameList CAsciiOutingCache::ConstantNames() const {
  const AsciiOutingData* d = data();
  if (!d) return {};
  NameList names;
  for (const auto& c : d->constants) names.push_back(c.name);
  std::sort(names.begin(), names.end());
  return names;
}

const CAsciiRawChannel* CAsciiOutingCache::GetRawChannel(const std::u16string& name) const {
  const AsciiOutingData* d = data();
  if (!d) return nullptr;
  auto it = d->channels.find(name);
  return it == d->channels.end() ? nullptr : &it->second;
}

std::shared_ptr<CRawChannelBase> CAsciiOutingCache::GetRawChannel(const CChannelKey& key) {
  if (!EnsureLoaded()) return nullptr;
  const CAsciiRawChannel* channel = GetRawChannel(key.name());
  return channel ? channel->raw : nullptr;
}

bool CAsciiOutingCache::ReadLapMarkers(std::vector<TextLapMarker>* markers) {
  markers->clear();
  if (!EnsureLoaded()) return false;
  NoteLapListHeld();
  if (const AsciiOutingData* d = data()) *markers = d->lapMarkers;
  return true;
}

ComPtr<IKivPropertySet> CAsciiOutingCache::MakeInformation(CAsciiOutingJobItem& job) {
  if (!job.data().hasInformation) return nullptr;
  return MakeKiv<CAsciiOutingInformation>(job.data().information, FastLapInputOf(job.data()),
                                         static_cast<COutingInformationCache*>(this));
}

KivResult CAsciiOutingCache::AddInformationStep(PropertyList properties) {
  return transaction_->AddWriteBackStep(
      MakeKiv<CWBAsciiOutingInfoStateMachine>(&channelWriteBack_, std::move(properties)));
}

void CAsciiOutingCache::ReleaseInformation(IKivPropertySet& old) { static_cast<CAsciiOutingInformation&>(old).Orphan(); }

void CAsciiOutingCache::OnFastLapSettingsChanged() {
  if (IKivPropertySet* held = information()) static_cast<CAsciiOutingInformation*>(held)->ForgetFastLap();
  CFileOutingCache::OnFastLapSettingsChanged();
}

std::u16string CAsciiOutingCache::GetDefaultCaption(IKivPropertySet* properties) {
  return DefaultCaption(properties, u"ASCII Outing");
}

// No root reaches a cache yet: the caption is built with the default settings.
std::u16string CAsciiOutingCache::BuildCaption() {
  return information() ? captionHelper_.BuildCaption(information(), CaptionSettings{})
                       : CFileOutingCache::BuildCaption();
}

}  // namespace velmar
