#include "sources/tarn/tarn_media_channel.h"

#include <new>
#include <utility>

#include "sources/tarn/tarn_outing_cache.h"
#include "velmar/text.h"

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

namespace velmar {

KivResult CTarnMediaChannelBase::QueryInterface(const Guid& iid, void** out) {
  // Only a channel a user added has an offset to show.
  if (iid == IKivOffsetMediaChannel::iid && !added_by_user()) {
    if (out) *out = nullptr;
    return out ? E_NOINTERFACE : E_POINTER;
  }
  return IKivDataImpl::QueryInterface(iid, out);
}

KivResult CTarnMediaChannelBase::Sources(std::vector<ClipSource>* clips) {
  clips->clear();
  if (accessState_ != AccessState::kLoaded) {
    (void)InputsStatus();  // starts the read
    return E_FAIL;
  }
  std::vector<const TarnMediaClip*> found;
  if (KivResult r = GetClips(kTimeMin, kTimeMax, &found); Failed(r)) return r;
  if (found.empty()) return KIV_E_PENDING;
  for (const TarnMediaClip* c : found) clips->push_back({c->path, c->start, c->end, c->frames});
  return S_OK;
}

bool CTarnMediaChannelBase::OutingSpan(KivTime* start, KivTime* end) {
  const TarnLapData* laps = cache_ ? cache_->LapData() : nullptr;
  if (!laps) return false;
  *start = laps->span.outingStart;
  *end = laps->span.outingEnd;
  return true;
}

KivResult CTarnMediaChannelBase::CreatePlayerOver(KivTime spanStart, KivTime spanEnd, KivBool adjustForDistance,
                                                  IKivClipPlayer** player) {
  if (!player) return E_POINTER;
  *player = nullptr;
  std::vector<ClipSource> clips;
  if (KivResult r = Sources(&clips); Failed(r)) return r;
  log_.clear();
  ComPtr<CClipManager> made;
  std::string log;
  const KivResult r = BuildClipPlayer(clips, timeOffset_, spanStart, spanEnd, FromKivBool(adjustForDistance), &made,
                                      &log);
  log_ += Utf8ToWide(log);
  if (Failed(r)) return r;
  return GiveOut(static_cast<IKivClipPlayer*>(made.Get()), player);
}

KivResult CTarnMediaChannelBase::CreateWindowlessClipPlayer(KivBool adjustForDistance, IKivClipPlayer** player) {
  KivTime start = 0, end = 0;
  if (!OutingSpan(&start, &end)) return player ? E_FAIL : E_POINTER;
  return CreatePlayerOver(start, end, adjustForDistance, player);
}

KivResult CTarnMediaChannelBase::CreateClipPlayer(void* window, KivBool adjustForDistance, IKivClipPlayer** player) {
  (void)window;  // no window here: frames go to the player's sink
  return CreateWindowlessClipPlayer(adjustForDistance, player);
}

MediaChannelFacts CTarnMediaChannelBase::Facts(KivTime spanStart, KivTime spanEnd) const {
  MediaChannelFacts facts;
  facts.clips = accessState_ == AccessState::kLoaded   ? MediaChannelFacts::Clips::kLoaded
                : accessState_ == AccessState::kFailed ? MediaChannelFacts::Clips::kFailed
                                                       : MediaChannelFacts::Clips::kMissing;
  facts.addedByUser = added_by_user();
  facts.timeOffset = timeOffset_;
  facts.spanStart = spanStart;
  facts.spanEnd = spanEnd;
  facts.lastLog = log_;
  return facts;
}

KivResult CTarnMediaChannelBase::DiagnosticsOver(KivTime spanStart, KivTime spanEnd, KivBool adjustForDistance,
                                                 std::u16string* text) {
  (void)adjustForDistance;  // the distance route comes through DiagnosticsByDistance
  if (!text) return E_POINTER;
  std::vector<ClipSource> clips;
  (void)Sources(&clips);
  *text = MediaDiagnostics(Facts(spanStart, spanEnd), clips);
  return S_OK;
}

KivResult CTarnMediaChannelBase::PlanByDistance(const DistanceRequest& request, std::vector<ClipSource>* clips,
                                                MediaChannelFacts* facts) {
  const KivResult r = Sources(clips);
  *facts = Facts(request.activeStart, request.activeEnd);
  facts->byDistance = true;
  if (Failed(r)) return r;
  DistanceSpans spans{request.ownStart, request.ownEnd, request.activeStart, request.activeEnd,
                      kTimeMin,         kTimeMax,       timeOffset_};
  (void)OutingSpan(&spans.outingStart, &spans.outingEnd);
  DistanceFrame frame;
  facts->preparation = PrepareDistanceRoute(request.own, request.active, spans, &frame);
  if (facts->preparation != DistancePreparation::kReady) return S_OK;
  std::vector<ClipSource> tabled = *clips;
  GiveFrameTables(&tabled);
  facts->route = PlanDistanceRoute(tabled, frame, ClipFileExists);
  return S_OK;
}

KivResult CTarnMediaChannelBase::CreatePlayerByDistance(const DistanceRequest& request, IKivClipPlayer** player) {
  if (!player) return E_POINTER;
  *player = nullptr;
  std::vector<ClipSource> clips;
  MediaChannelFacts facts;
  if (KivResult r = PlanByDistance(request, &clips, &facts); Failed(r)) return r;
  log_.clear();
  if (facts.preparation != DistancePreparation::kReady) return E_FAIL;
  ComPtr<CClipManager> made;
  std::string log;
  const KivResult r = BuildPlannedPlayer(std::move(facts.route.planned), request.activeEnd - request.activeStart,
                                         true, &made, &log);
  log_ += Utf8ToWide(log);
  if (Failed(r)) return r;
  return GiveOut(static_cast<IKivClipPlayer*>(made.Get()), player);
}

KivResult CTarnMediaChannelBase::DiagnosticsByDistance(const DistanceRequest& request, std::u16string* text) {
  if (!text) return E_POINTER;
  std::vector<ClipSource> clips;
  MediaChannelFacts facts;
  (void)PlanByDistance(request, &clips, &facts);
  *text = MediaDiagnostics(facts, clips);
  return S_OK;
}

KivResult CTarnMediaChannelBase::GetDiagnostics(KivBool adjustForDistance, std::u16string* text) {
  KivTime start = 0, end = 0;
  if (!OutingSpan(&start, &end)) return text ? E_FAIL : E_POINTER;
  return DiagnosticsOver(start, end, adjustForDistance, text);
}

KivResult CTarnMediaChannelBase::CreatePreviewPlayer(void* window, IKivClipPlayer** player) {
  (void)window;
  if (!player) return E_POINTER;
  *player = nullptr;
  std::vector<ClipSource> clips;
  ComPtr<CClipManager> made;
  if (Failed(Sources(&clips)) || Failed(BuildPreviewPlayer(clips.front(), &made))) return E_FAIL;
  return GiveOut(static_cast<IKivClipPlayer*>(made.Get()), player);
}

KivResult CTarnMediaChannelBase::GetFileDuration(KivTime* duration) {
  if (!duration) return E_POINTER;
  std::vector<ClipSource> clips;
  if (Failed(Sources(&clips))) return E_FAIL;
  ClipOpenError why = ClipOpenError::kNone;
  std::string log;
  auto decoder = ClipDecoder::Open(WideToUtf8(clips.front().path), &why, &log);
  if (!decoder) return E_FAIL;
  *duration = decoder->duration();
  return S_OK;
}

KivResult CTarnMediaChannelBase::GetClipStart(KivTime* start) {
  if (!start) return E_POINTER;
  std::vector<ClipSource> clips;
  if (Failed(Sources(&clips))) return E_FAIL;
  *start = clips.front().start;
  return S_OK;
}

}  // namespace velmar
