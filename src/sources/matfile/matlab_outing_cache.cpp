#include "sources/matfile/matlab_outing_cache.h"

#include <utility>

#include "jobs/job_thread.h"
#include "sources/matfile/matlab_information_write.h"
#include "sources/matfile/matlab_transactions.h"

namespace velmar {
namespace {

FastLapInput FastLapInputOf(const MatlabOutingData& data) {
  FastLapInput input;
  input.hasChannels = !data.channels.empty();
  input.channelStart = data.channelStart;
  input.channelEnd = data.channelEnd;
  input.outingStart = data.outingStart;
  input.outingEnd = data.outingEnd;
  return input;
}

}  // namespace

CMatlabOutingInformation::CMatlabOutingInformation(const MatlabOutingData& data, COutingInformationCache* cache)
    : COutingInformationBase(data.information, FastLapInputOf(data), cache) {}

CMatlabOutingCache::CMatlabOutingCache(std::u16string path, const Guid& outingId, TextFileOps* ops)
    : CFileOutingCache(OutingType::kMatFile, std::move(path), outingId, ops),
      ops_(ops),
      transaction_(MakeClient<CTransactionStateMachine>(static_cast<CTransactionBase*>(this))) {}

CMatlabOutingCache::~CMatlabOutingCache() { transaction_.Reset(); }

ComPtr<CJobItem> CMatlabOutingCache::MakeWriteAccessJob(CStateMachineEx* owner) {
  return MakeKiv<CMatlabOutingTxnJobItem>(owner, MatFilePath(path()), ops_);
}

ComPtr<CJobItem> CMatlabOutingCache::MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) {
  return MakeKiv<CMatlabOutingCloseJob>(
      owner, ComPtr<CMatlabOutingTxnJobItem>(static_cast<CMatlabOutingTxnJobItem*>(writeAccess)));
}

AsyncThread CMatlabOutingCache::GetJobThread() { return MatlabThread(); }

void CMatlabOutingCache::NotifyTransactionStarted() {
  writeBack_.CommitStarted();
  CTransactionBase::NotifyTransactionStarted();
}

void CMatlabOutingCache::NotifyTransactionFinished() {
  ComPtr<CMatlabOutingCache> keep(this);
  CTransactionBase::NotifyTransactionFinished();
  writeBack_.CommitFinished();
}

const MatlabOutingData* CMatlabOutingCache::data() const {
  const CMatlabOutingJobItem* job = loaded();
  return job && !closed() ? &job->data() : nullptr;
}

NameList CMatlabOutingCache::ChannelNames() const {
  NameList names;
  if (const MatlabOutingData* d = data()) {
    for (const auto& entry : d->channels) names.push_back(entry.first);
  }
  return names;
}

std::shared_ptr<CRawChannelBase> CMatlabOutingCache::GetRawChannel(const CChannelKey& key) {
  if (!EnsureLoaded()) return nullptr;
  const MatlabOutingData* d = data();
  if (!d) return nullptr;
  auto it = d->channels.find(key.name());
  return it == d->channels.end() ? nullptr : it->second;
}

ComPtr<IKivPropertySet> CMatlabOutingCache::MakeInformation(CMatlabOutingJobItem& job) {
  return MakeKiv<CMatlabOutingInformation>(job.data(), static_cast<COutingInformationCache*>(this));
}

void CMatlabOutingCache::ReleaseInformation(IKivPropertySet& old) {
  static_cast<CMatlabOutingInformation&>(old).Orphan();
}

KivResult CMatlabOutingCache::AddInformationStep(PropertyList properties) {
  return transaction_->AddWriteBackStep(MakeKiv<CMatlabOutingInfoStep>(write_back(), std::move(properties)));
}

std::u16string CMatlabOutingCache::GetDefaultCaption(IKivPropertySet* properties) {
  return DefaultCaption(properties, u"MATLAB Outing");
}

// No root reaches a cache yet: the caption is built with the default settings.
std::u16string CMatlabOutingCache::BuildCaption() {
  return information() ? captionHelper_.BuildCaption(information(), CaptionSettings{})
                       : CFileOutingCache::BuildCaption();
}

}  // namespace velmar
