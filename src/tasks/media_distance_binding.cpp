#include "tasks/media_distance_binding.h"

#include "outing/channels/distance_channel.h"
#include "velmar/common_channels.h"
#include "velmar/lap_compare.h"

namespace velmar {
namespace {

bool SameObject(IKivUnknown* a, IKivUnknown* b) {
  if (!a || !b) return !a && !b;
  return QueryAs<IKivUnknown>(a).Get() == QueryAs<IKivUnknown>(b).Get();
}

bool SpanOf(IKivDataSelection* selection, KivTime* start, KivTime* end) {
  return selection && Succeeded(selection->GetStartTime(start)) && Succeeded(selection->GetEndTime(end));
}

}  // namespace

CMediaDistanceBinding::Side::Side(CMediaDistanceBinding* binding)
    : binding_(binding), sink_(MakeKiv<CDataNotificationsSink<>>()) {
  sink_->SetReceiver(static_cast<CDataNotificationsReceiver*>(this));
}

CMediaDistanceBinding::Side::~Side() {
  Drop();
  sink_->SetReceiver(nullptr);
}

void CMediaDistanceBinding::Side::LookUp(IKivDataSelection* selection) {
  Drop();
  auto channels = QueryAs<IKivDataFactory>(selection);
  if (!channels || Failed(KivFindLapDistanceChannel(channels.Get(), &channel_, nullptr))) {
    channel_ = nullptr;
    return;
  }
  if (channel_) (void)sink_->Connect(channel_.Get());
}

void CMediaDistanceBinding::Side::Drop() {
  if (channel_) sink_->Disconnect(channel_.Get());
  channel_ = nullptr;
  trace_ = DistanceTrace();
  read_ = false;
}

KivResult CMediaDistanceBinding::Side::Trace(const DistanceTrace** trace) {
  *trace = nullptr;
  if (!channel_) return S_OK;
  if (!read_) {
    ComPtr<IKivChannelIterator2> data;
    const KivResult r = DistanceData(channel_.Get(), &data);
    if (r == KIV_E_PENDING) return r;
    if (Succeeded(r)) (void)DistanceTrace::Read(data.Get(), &trace_);
    read_ = true;
  }
  if (!trace_.empty()) *trace = &trace_;
  return S_OK;
}

void CMediaDistanceBinding::Side::OnDataChanged(IKivData*, KivTime, KivTime) {
  trace_ = DistanceTrace();
  read_ = false;
  binding_->Tell();
}

CMediaDistanceBinding::CMediaDistanceBinding(IDistanceBindingOwner* owner)
    : owner_(owner),
      taskSink_(MakeKiv<CTaskNotificationsSink<>>()),
      rootSink_(MakeKiv<CVelmarNotificationsSink<>>()),
      activeSink_(MakeKiv<CDataSelectionNotificationsSink<>>()) {
  taskSink_->SetReceiver(static_cast<CTaskNotificationsReceiver*>(this));
  rootSink_->SetReceiver(static_cast<CVelmarNotificationsReceiver*>(this));
  activeSink_->SetReceiver(static_cast<CDataSelectionNotificationsReceiver*>(this));
}

CMediaDistanceBinding::~CMediaDistanceBinding() {
  Unbind();
  taskSink_->SetReceiver(nullptr);
  rootSink_->SetReceiver(nullptr);
  activeSink_->SetReceiver(nullptr);
}

void CMediaDistanceBinding::Bind(IKivDataSelection* own) {
  if (own_ || !own || Failed(own->GetTask(task_.Put())) || !task_) return;
  own_ = own;
  (void)task_->GetRoot(root_.Put());
  (void)taskSink_->Connect(task_.Get());
  if (root_) (void)rootSink_->Connect(root_.Get());
  distanceName_ = DistanceName();
  BindActive();
}

void CMediaDistanceBinding::Unbind() {
  ownSide_.Drop();
  activeSide_.Drop();
  if (active_) activeSink_->Disconnect(active_.Get());
  if (root_) rootSink_->Disconnect(root_.Get());
  if (task_) taskSink_->Disconnect(task_.Get());
  active_ = nullptr;
  root_ = nullptr;
  task_ = nullptr;
  own_ = nullptr;
}

void CMediaDistanceBinding::BindActive() {
  if (active_) activeSink_->Disconnect(active_.Get());
  active_ = nullptr;
  if (Succeeded(task_->GetActiveSelection(active_.Put())) && active_) (void)activeSink_->Connect(active_.Get());
  activeSide_.LookUp(active_.Get());
  ownSide_.LookUp(own_.Get());
}

std::u16string CMediaDistanceBinding::DistanceName() const {
  ComPtr<IKivCommonChannels> common;
  std::u16string corrected, plain;
  if (root_ && Succeeded(root_->GetCommonChannels(common.Put()))) {
    (void)GetCommonChannel(common.Get(), CommonChannelRole::kCorrectedDistance, &corrected);
    (void)GetCommonChannel(common.Get(), CommonChannelRole::kDistance, &plain);
  }
  return corrected + u"\n" + plain;
}

void CMediaDistanceBinding::OnActiveSelectionChanged(IKivTask*, int32_t, int32_t) {
  if (!task_) return;
  BindActive();
  Tell();
}

void CMediaDistanceBinding::CommonChannelsChanged(IKivVelmar*) {
  std::u16string name = DistanceName();
  if (name == distanceName_) return;
  distanceName_ = std::move(name);
  ownSide_.Drop();
  activeSide_.Drop();
  // Looked up again by the new name, so that the next player has them.
  if (active_) activeSide_.LookUp(active_.Get());
  if (own_) ownSide_.LookUp(own_.Get());
  Tell();
}

KivResult CMediaDistanceBinding::Request(DistanceRequest* request) {
  // A selection whose channel list was not in when it was looked up may
  // have named a channel it doesn't have: look again.
  if (own_ && ownSide_.Empty()) ownSide_.LookUp(own_.Get());
  if (active_ && activeSide_.Empty()) activeSide_.LookUp(active_.Get());
  if (!own_ || !active_ || SameObject(ownSide_.channel(), activeSide_.channel())) return S_FALSE;
  if (!SpanOf(own_.Get(), &request->ownStart, &request->ownEnd) ||
      !SpanOf(active_.Get(), &request->activeStart, &request->activeEnd)) {
    return S_FALSE;
  }
  if (KivResult r = ownSide_.Trace(&request->own); r != S_OK) return r;
  return activeSide_.Trace(&request->active);
}

}  // namespace velmar
