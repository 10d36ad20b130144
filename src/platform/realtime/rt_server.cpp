#include "platform/realtime/rt_server.h"

#include <algorithm>

namespace velmar::rt {

namespace {

std::vector<uint8_t> FrameBytes(RtType type, uint32_t requestId, std::vector<uint8_t> payload) {
  return EncodeFrame(Frame{type, requestId, std::move(payload)});
}

template <class T>
bool Read(const Frame& frame, T* value) {
  return Succeeded(Decode(frame.payload, value));
}

}  // namespace

void RtServer::Attach(const std::shared_ptr<RtSession>& session) {
  std::lock_guard lock(mutex_);
  sessions_.push_back(session);
}

void RtServer::Detach(const RtSession* session) {
  std::lock_guard lock(mutex_);
  std::erase_if(sessions_, [&](const auto& s) { return s.get() == session; });
}

size_t RtServer::session_count() const {
  std::lock_guard lock(mutex_);
  return sessions_.size();
}

void RtServer::Handle(const std::shared_ptr<RtSession>& session, const Frame& request) {
  std::vector<uint8_t> reply;
  if (!Answer(*session, request, &reply)) {
    session->Close();
    Detach(session.get());
    return;
  }
  const RtType type = request.type == RtType::kHello ? RtType::kHello : RtType::kReply;
  session->Send(FrameBytes(type, request.requestId, std::move(reply)));
  if (request.type == RtType::kCreateOuting) Welcome(*session);
}

bool RtServer::Answer(RtSession& session, const Frame& request, std::vector<uint8_t>* reply) {
  if (request.type == RtType::kHello) {
    HelloMsg hello;
    if (session.hello || !Read(request, &hello) || hello.magic != kHelloMagic) return false;
    session.hello = hello.version == kProtocolVersion;
    *reply = Encode(HelloMsg{});
    return true;  // a client of another version reads our version and goes
  }
  if (!session.hello || !IsRequest(request.type)) return false;
  switch (request.type) {
    case RtType::kConnect: {
      ConnectMsg connect;
      if (!Read(request, &connect)) return false;
      session.connected = name_.empty() || connect.name.empty() || connect.name == name_;
      *reply = EncodeReply(session.connected ? S_OK : kRtUnknownServer);
      return true;
    }
    case RtType::kConnectList: {
      ConnectListMsg list;
      if (!Read(request, &list)) return false;
      session.connected = true;  // one server answers for every host of a list
      *reply = EncodeReply(S_OK);
      return true;
    }
    case RtType::kCreateOuting: {
      CreateOutingMsg create;
      if (!Read(request, &create)) return false;
      session.outing = session.connected.load();
      *reply = EncodeReply(session.outing ? S_OK : E_UNEXPECTED);
      return true;
    }
    default:
      if (!session.outing) {
        *reply = EncodeReply(E_UNEXPECTED);
        return true;
      }
      return AnswerRead(request, reply);
  }
}

bool RtServer::AnswerRead(const Frame& request, std::vector<uint8_t>* reply) {
  switch (request.type) {
    case RtType::kGetDetails: *reply = EncodeReply(S_OK, data_.Details()); return true;
    case RtType::kGetChannelList: *reply = EncodeReply(S_OK, data_.Channels()); return true;
    case RtType::kGetEventNames: *reply = EncodeReply(S_OK, data_.EventNames()); return true;
    case RtType::kGetLapMarkers: *reply = EncodeReply(S_OK, data_.LapMarkers()); return true;
    case RtType::kGetConstants: *reply = EncodeReply(S_OK, data_.Constants()); return true;
    case RtType::kGetBlobList: *reply = EncodeReply(S_OK, data_.BlobList()); return true;
    case RtType::kGetHistoryMode:
      *reply = EncodeReply(S_OK, BoolMsg{static_cast<uint8_t>(data_.history_mode())});
      return true;
    case RtType::kGetMovementRange:
    case RtType::kGetOutingRange: {
      TimesMsg times;
      const KivResult r = request.type == RtType::kGetMovementRange ? data_.MovementRange(&times.first, &times.last)
                                                                    : data_.Range(&times.first, &times.last);
      *reply = EncodeReply(r, times);
      return true;
    }
    case RtType::kSetHistoryMode: {
      BoolMsg mode;
      if (!Read(request, &mode)) return false;
      data_.set_history_mode(mode.value != 0);
      *reply = EncodeReply(S_OK);
      return true;
    }
    case RtType::kGetBlobData: {
      IdMsg id;
      std::vector<WireBlob> blob;
      if (!Read(request, &id)) return false;
      const KivResult r = data_.BlobData(id.id, &blob);
      *reply = EncodeReply(r, blob);
      return true;
    }
    case RtType::kGetChannelData: {
      RangeRequestMsg range;
      std::vector<WireBlock> blocks;
      if (!Read(request, &range) || range.ids.size() != 1) return false;
      const KivResult r = data_.ChannelData(range.ids.front(), range.from, range.to, &blocks);
      *reply = EncodeReply(r, blocks);
      return true;
    }
    case RtType::kGetEventData: {
      RangeRequestMsg range;
      if (!Read(request, &range)) return false;
      *reply = EncodeReply(S_OK, data_.Events(range.ids, range.from, range.to));
      return true;
    }
    default:
      return false;
  }
}

void RtServer::Welcome(RtSession& session) {
  session.Send(FrameBytes(RtType::kReset, 0, {}));
  session.Send(FrameBytes(RtType::kInformation, 0, Encode(InformationMsg{data_.Information()})));
  session.Send(FrameBytes(RtType::kStatus, 0, Encode(StatusMsg{kRtConnected, u"Connected"})));
  TimesMsg range;
  if (data_.Range(&range.first, &range.last) == S_OK) {
    session.Send(FrameBytes(RtType::kTimeRange, 0, Encode(range)));
  }
}

void RtServer::Push(RtType type, std::vector<uint8_t> payload) {
  const std::vector<uint8_t> frame = FrameBytes(type, 0, std::move(payload));
  std::vector<std::shared_ptr<RtSession>> sessions;
  {
    std::lock_guard lock(mutex_);
    sessions = sessions_;
  }
  for (const auto& session : sessions) {
    if (session->outing && !session->Send(frame)) Detach(session.get());
  }
}

void RtServer::PushReset() { Push(RtType::kReset, {}); }
void RtServer::PushStatus(KivResult result, const std::u16string& text) {
  Push(RtType::kStatus, Encode(StatusMsg{result, text}));
}
void RtServer::PushInformation() { Push(RtType::kInformation, Encode(InformationMsg{data_.Information()})); }
void RtServer::PushChannelsChanged() { Push(RtType::kChannelsChanged, {}); }
void RtServer::PushTimeRange(KivTime start, KivTime end) { Push(RtType::kTimeRange, Encode(TimesMsg{start, end})); }
void RtServer::PushChannelData(const std::vector<DataRange>& ranges) {
  Push(RtType::kChannelData, Encode(DataRangesMsg{ranges}));
}
void RtServer::PushEventData(const std::vector<DataRange>& ranges) {
  Push(RtType::kEventData, Encode(DataRangesMsg{ranges}));
}
void RtServer::PushLapMarker(uint32_t id, int64_t value) { Push(RtType::kLapMarker, Encode(LapMarkerMsg{id, value})); }
void RtServer::PushChannelsDiscarded(KivTime time) { Push(RtType::kChannelsDiscarded, Encode(TimesMsg{time, time})); }
void RtServer::PushEventsDiscarded(KivTime time) { Push(RtType::kEventsDiscarded, Encode(TimesMsg{time, time})); }

}  // namespace velmar::rt
