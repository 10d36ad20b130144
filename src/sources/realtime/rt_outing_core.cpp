#include "sources/realtime/rt_outing_core.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "sources/tarn/tarn_channel_list.h"
#include "velmar/text.h"

namespace velmar {

namespace {

using namespace rt;
constexpr std::chrono::milliseconds kWait(kRtWaitLimit);
constexpr char16_t kStatusName[] = u"Connection status";

// IPv4 dotted text as a number in network order; 0 when it is none.
uint32_t Ipv4(const std::u16string& text) {
  uint32_t value = 0;
  int parts = 0;
  for (size_t at = 0; at <= text.size() && parts < 4; ++parts) {
    const size_t end = std::min(text.find(u'.', at), text.size());
    uint32_t part = 0;
    for (size_t i = at; i < end; ++i) part = part * 10 + static_cast<uint32_t>(text[i] - u'0');
    value |= (part & 0xFF) << (8 * parts);
    at = end + 1;
  }
  return value;
}

}  // namespace

RtLinkMaker TcpLinkMaker() {
  return [](const std::u16string& host, uint16_t port, std::unique_ptr<RtLink>* link) {
    return ConnectTcpLink(WideToUtf8(host), port, kWait, link);
  };
}

CRTOutingCore::CRTOutingCore(std::u16string address, RtSettingsSource settings, RtLinkMaker makeLink,
                             IRtOutingEvents* events)
    : address_(std::move(address)), settingsSource_(std::move(settings)), makeLink_(std::move(makeLink)),
      events_(events) {}

CRTOutingCore::CRTOutingCore(std::u16string address, ComPtr<IKivRealTimeSettings3> settings, RtLinkMaker makeLink,
                             IRtOutingEvents* events)
    : CRTOutingCore(std::move(address), RtSettingsSource([settings] { return settings; }), std::move(makeLink),
                    events) {}

CRTOutingCore::~CRTOutingCore() {
  *alive_ = false;
  if (link_) link_->Close();
}

void CRTOutingCore::SetState(RtConnectionState state, bool tellSame) {
  if (state == state_ && !tellSame) return;
  state_ = state;
  events_->OnInformationChanged();
}

template <class Body>
KivResult CRTOutingCore::Call(RtType type, std::vector<uint8_t> payload, Body* body) {
  if (!link_) return E_FAIL;
  std::vector<uint8_t> reply;
  const KivResult r = link_->Call(type, std::move(payload), &reply, kWait);
  return Failed(r) ? r : DecodeReply(reply, body);
}

KivResult CRTOutingCore::Call(RtType type, std::vector<uint8_t> payload) {
  if (!link_) return E_FAIL;
  std::vector<uint8_t> reply;
  const KivResult r = link_->Call(type, std::move(payload), &reply, kWait);
  return Failed(r) ? r : DecodeReply(reply);
}

KivResult CRTOutingCore::Connect() {
  if (outingCreated_) return S_FALSE;
  KivResult r = ConnectLink();
  if (Succeeded(r)) r = CreateOuting();
  return r;
}

KivResult CRTOutingCore::ConnectLink() {
  RtAddress address;
  RtHostList list;
  const bool single = ParseRtAddress(address_, &address);
  if (!single && ClassifyRtHostList(address_, &list) != RtHostClass::kValid) {
    SetState(RtConnectionState::kNoServerObject, false);
    return E_FAIL;
  }
  settings_ = settingsSource_ ? settingsSource_() : nullptr;
  if (!settings_) {
    SetState(RtConnectionState::kSettingsMissing, false);
    return E_FAIL;
  }
  std::u16string group, interfaceAddress;
  int32_t port = 0, socketValue = 0;
  uint32_t receiveBuffer = 0;
  if (!single && (Failed(settings_->GetGroupAddress(&group)) || Failed(settings_->GetPort(&port)) ||
                  Failed(settings_->GetInterfaceAddress(&interfaceAddress)) ||
                  Failed(settings_->GetSocketValue(&socketValue)) ||
                  Failed(settings_->GetReceiveBufferSize(&receiveBuffer)))) {
    SetState(RtConnectionState::kConnectRefused, false);
    return E_FAIL;
  }
  // A list names hosts, reached on the settings' port: the main host first,
  // then the others in turn until one answers.
  std::vector<std::u16string> hosts = {single ? address.host : list.mainHost};
  if (!single) hosts.insert(hosts.end(), list.others.begin(), list.others.end());
  KivResult r = E_FAIL;
  for (const auto& host : hosts) {
    if (host.empty()) continue;
    r = makeLink_(host, single ? address.port : static_cast<uint16_t>(port), &link_);
    if (Succeeded(r)) break;
  }
  if (Succeeded(r)) {
    r = single ? Call(RtType::kConnect, Encode(ConnectMsg{address.host, address.port, address.name}))
               : Call(RtType::kConnectList,
                      Encode(ConnectListMsg{Ipv4(group), static_cast<uint16_t>(port), Ipv4(interfaceAddress),
                                            static_cast<uint16_t>(socketValue), receiveBuffer, list.mainHost,
                                            {list.others.begin(), list.others.end()}}));
  }
  if (Failed(r)) {
    link_.reset();
    const RtConnectionState told = RtStateOfStatus(r);
    SetState(told == RtConnectionState::kWorking ? RtConnectionState::kConnectRefused : told, false);
    return r;
  }
  addressStar_ = single && address.star;
  return S_OK;
}

KivResult CRTOutingCore::CreateOuting() {
  CreateOutingMsg create;
  KivBool fixed = KIV_TRUE;
  if (Failed(settings_->GetCacheFolder(&create.cacheFolder)) || Failed(settings_->GetFixedCacheSize(&fixed)) ||
      Failed(settings_->GetMaximumCacheSize(&create.maximumCacheSize)) ||
      Failed(settings_->GetLinkValueA(&create.linkValueA)) || Failed(settings_->GetLinkValueB(&create.linkValueB))) {
    SetState(RtConnectionState::kSettingsMissing, false);
    return E_FAIL;
  }
  create.fixedCacheSize = FromKivBool(fixed) ? 1 : 0;
  create.addressStar = addressStar_ ? 1 : 0;
  SetState(RtConnectionState::kConnecting, false);
  link_->SetPushHandler([client = client_, alive = std::weak_ptr<bool>(alive_), self = this](Frame frame) {
    client.Post([alive, self, frame = std::move(frame)] {
      const auto living = alive.lock();
      if (living && *living) self->OnMessage(frame);
    });
  });
  const KivResult r = Call(RtType::kCreateOuting, Encode(create));
  if (Failed(r)) {
    SetState(RtConnectionState::kOutingNotCreated, false);
    return r;
  }
  outingCreated_ = true;
  return S_OK;
}

std::u16string CRTOutingCore::GetCaption() {
  if (state_ != RtConnectionState::kWorking) return RtStateCaption(state_);
  if (!details_) {
    ReadDetails();  // builds the properties, and so connects
    return u"<---:---:--->";
  }
  std::vector<WireLapMarker> laps;
  const bool anyLap = Succeeded(LapMarkers(&laps)) && !laps.empty();
  return u"<" + RtCaptionNumber(details_->sessionNumber) + u":" + RtCaptionNumber(details_->outingNumber) + u":" +
         (anyLap ? RtCaptionNumber(details_->firstLapNumber) : u"???") + u">";
}

void CRTOutingCore::ReadDetails() {
  if (Failed(Connect()) && !outingCreated_) return;
  std::vector<WireDetails> details;
  if (Failed(Call(RtType::kGetDetails, {}, &details)) || details.empty()) return;
  details_ = details.front();
  SetState(RtConnectionState::kWorking, false);
}

std::vector<std::u16string> CRTOutingCore::ChannelNames() {
  if (Succeeded(Connect()) && channels_.empty()) ReadChannelList();
  std::vector<std::u16string> names;
  for (const auto& [name, channel] : channels_) names.push_back(name);
  return names;
}

KivResult CRTOutingCore::ReadChannel(const std::u16string& name, const RtBlockList** blocks) {
  if (Failed(Connect()) && !outingCreated_) return E_FAIL;
  if (channels_.empty()) ReadChannelList();
  const auto found = channels_.find(name);
  if (found == channels_.end()) return E_FAIL;
  const KivResult r = found->second.Read([this](uint64_t id, KivTime from, KivTime to, std::vector<WireBlock>* out) {
    return ReadRest(id, to, Call(RtType::kGetChannelData, Encode(RangeRequestMsg{{id}, from, to}), out), out);
  });
  if (blocks) *blocks = &found->second.blocks();
  return r;
}

// A reply that would pass the frame limit comes in parts (S_FALSE: more
// after the last block).
KivResult CRTOutingCore::ReadRest(uint64_t id, KivTime to, KivResult r, std::vector<WireBlock>* blocks) {
  while (r == S_FALSE && !blocks->empty()) {
    std::vector<WireBlock> more;
    r = Call(RtType::kGetChannelData, Encode(RangeRequestMsg{{id}, blocks->back().LastTime() + 1, to}), &more);
    std::move(more.begin(), more.end(), std::back_inserter(*blocks));
  }
  return r == S_FALSE ? S_OK : r;
}

std::vector<KivResult> CRTOutingCore::ReadChannels(const std::vector<std::u16string>& names) {
  struct InFlight {
    RtLiveChannel* channel = nullptr;
    std::vector<RtLiveChannel::Range> ranges;
    std::vector<uint32_t> ids;
  };
  std::vector<KivResult> results(names.size(), E_FAIL);
  if (Failed(Connect()) && !outingCreated_) return results;
  if (channels_.empty()) ReadChannelList();
  std::vector<InFlight> reads(names.size());
  for (size_t i = 0; i < names.size(); ++i) {
    const auto found = channels_.find(names[i]);
    if (found == channels_.end()) continue;
    reads[i].channel = &found->second;
    reads[i].ranges = found->second.TakeStale();
    for (const auto& [from, to] : reads[i].ranges) {
      reads[i].ids.push_back(link_ ? link_->Begin(RtType::kGetChannelData,
                                                 Encode(RangeRequestMsg{{found->second.description().id}, from, to}))
                                   : 0);
    }
  }
  for (size_t i = 0; i < names.size(); ++i) {
    if (!reads[i].channel) continue;
    KivResult result = S_OK;
    for (size_t j = 0; j < reads[i].ids.size(); ++j) {
      std::vector<uint8_t> reply;
      std::vector<WireBlock> blocks;
      KivResult r = link_ ? link_->Finish(reads[i].ids[j], &reply, kWait) : E_FAIL;
      if (Succeeded(r)) r = DecodeReply(reply, &blocks);
      r = ReadRest(reads[i].channel->description().id, reads[i].ranges[j].second, r, &blocks);
      reads[i].channel->Apply(reads[i].ranges[j], r, blocks);
      if (Failed(r)) result = r;
    }
    results[i] = reads[i].channel->EndRead(result);
  }
  return results;
}

KivResult CRTOutingCore::LapMarkers(std::vector<WireLapMarker>* markers) {
  if (!laps_) {
    std::vector<WireLapMarker> read;
    const KivResult r = Call(RtType::kGetLapMarkers, {}, &read);
    if (Failed(r)) return r;
    laps_ = std::move(read);
  }
  *markers = *laps_;
  return S_OK;
}

KivResult CRTOutingCore::OutingRange(KivTime* start, KivTime* end) const {
  if (start_ >= end_) return E_FAIL;
  *start = start_;
  *end = end_;
  return S_OK;
}

ComPtr<CStatusChannelDefinitions> CRTOutingCore::StatusChannelDefinitions() {
  if (definitions_) return definitions_;
  std::vector<WireBlob> blobs, blob;
  std::vector<WireChannel> channels;
  std::vector<uint8_t> bytes;
  if (Succeeded(Call(RtType::kGetBlobList, {}, &blobs)) && Succeeded(Call(RtType::kGetChannelList, {}, &channels))) {
    const auto found = std::find_if(blobs.begin(), blobs.end(),
                                    [](const WireBlob& b) { return b.type == kStatusDefinitionsBlobType; });
    if (found != blobs.end() && Succeeded(Call(RtType::kGetBlobData, Encode(IdMsg{found->id}), &blob)) &&
        !blob.empty()) {
      bytes = std::move(blob.front().data);
    }
  }
  // A live server has no units table: the largest quantity id is its channels' own.
  std::vector<StatusChannelRecord> records;
  int32_t largest = 0;
  for (const auto& c : channels) {
    records.push_back({c.displayName, c.tagName, c.quantityId});
    largest = std::max(largest, c.quantityId);
  }
  definitions_ = StatusChannelDefinitionsFromBlob(bytes, BuildStatusChannelMap(records, largest));
  return definitions_;
}

KivResult CRTOutingCore::GetHistoryMode(KivBool* keepAll) {
  if (!keepAll) return E_POINTER;
  if (!outingCreated_) return E_FAIL;
  BoolMsg mode;
  const KivResult r = Call(RtType::kGetHistoryMode, {}, &mode);
  if (Failed(r)) return r;
  *keepAll = ToKivBool(mode.value > 0);
  return S_OK;
}

KivResult CRTOutingCore::SetHistoryMode(KivBool keepAll) {
  if (outingCreated_ && resetSeen_) {
    return Call(RtType::kSetHistoryMode, Encode(BoolMsg{static_cast<uint8_t>(keepAll == KIV_TRUE)}));
  }
  pendingHistory_ = keepAll;
  return S_FALSE;
}

KivResult CRTOutingCore::CommitTransaction() {
  events_->OnTransactionMessage(kRtReadOnlyMessage);
  return S_OK;
}

void CRTOutingCore::OnMessage(const Frame& frame) {
  StatusMsg status;
  InformationMsg information;
  TimesMsg times;
  DataRangesMsg ranges;
  LapMarkerMsg marker;
  const auto& p = frame.payload;
  switch (frame.type) {
    case RtType::kReset: return OnReset();
    case RtType::kStatus: return Succeeded(Decode(p, &status)) ? OnStatus(status) : void();
    case RtType::kInformation: return Succeeded(Decode(p, &information)) ? OnInformation(information) : void();
    case RtType::kChannelsChanged: return ReadChannelList();
    case RtType::kTimeRange: return Succeeded(Decode(p, &times)) ? OnTimeRange(times.first, times.last) : void();
    case RtType::kChannelData: return Succeeded(Decode(p, &ranges)) ? OnChannelData(ranges) : void();
    case RtType::kEventData: return Succeeded(Decode(p, &ranges)) ? OnEventData(ranges) : void();
    case RtType::kLapMarker: return Succeeded(Decode(p, &marker)) ? OnLapMarker(marker) : void();
    case RtType::kChannelsDiscarded: return Succeeded(Decode(p, &times)) ? OnChannelsDiscarded(times.first) : void();
    case RtType::kEventsDiscarded: return Succeeded(Decode(p, &times)) ? OnEventsDiscarded(times.first) : void();
    default: return;
  }
}

void CRTOutingCore::OnReset() {
  lapSeen_.clear();
  resetSeen_ = true;
  if (pendingHistory_ && Succeeded(SetHistoryMode(*pendingHistory_))) pendingHistory_.reset();
  start_ = firstMovement_ = kTimeMax;
  end_ = lastMovement_ = kTimeMin;
  firstRange_ = true;
  std::vector<std::u16string> names;
  for (const auto& [name, channel] : channels_) names.push_back(name);
  channels_.clear();
  channelNames_.clear();
  if (!names.empty()) events_->OnChannelsRemoved(names);
  ReadDetails();
  CloseData();
}

void CRTOutingCore::CloseData() {
  ReadChannelList();
  definitions_ = nullptr;
  eventNames_.clear();
  eventSets_.clear();
  ReadEventNames();
  lowestEventTime_ = kTimeMin;
  laps_.reset();
  events_->OnLapMarkersReset();
  events_->OnInformationChanged();
  events_->OnDataClosed();
}

void CRTOutingCore::ReadChannelList() {
  std::vector<WireChannel> list;
  if (Failed(Call(RtType::kGetChannelList, {}, &list))) return;
  if (!std::exchange(channelRecordsTold_, true)) events_->OnFirstChannelRecords(list);
  // Listed by key text ("[quantity]tag") under the store's rules, so a live
  // outing names its channels as the `.trn` of the same car does.
  std::vector<TarnChannelDescription> records(list.size());
  std::map<uint64_t, const WireChannel*> byId;
  for (size_t i = 0; i < list.size(); ++i) {
    records[i] = TarnChannelDescription{};
    records[i].id = list[i].id;
    records[i].tagName = list[i].tagName.c_str();
    records[i].quantityId = list[i].quantityId;
    records[i].sampleType = list[i].sampleType;
    byId.emplace(list[i].id, &list[i]);
  }
  std::map<uint64_t, std::u16string> ids;
  std::vector<std::u16string> added, removed;
  std::map<std::u16string, RtLiveChannel> kept;
  for (const auto& [name, entry] : BuildChannelMap(records, KnownMaxQuantity())) {
    const WireChannel& c = *byId.at(entry.id);
    const auto known = channelNames_.find(c.id);
    if (known != channelNames_.end() && known->second == name && channels_.count(name)) {
      auto node = channels_.extract(name);
      node.mapped().set_description(c);
      kept.insert(std::move(node));
    } else {
      added.push_back(name);
      kept.emplace(name, RtLiveChannel(c));
    }
    ids[c.id] = name;
  }
  for (const auto& [name, channel] : channels_) removed.push_back(name);
  channels_ = std::move(kept);
  channelNames_ = std::move(ids);
  lowestChannelTime_ = kTimeMax;
  if (!removed.empty()) events_->OnChannelsRemoved(removed);
  if (!added.empty()) events_->OnChannelsAdded(added);
}

void CRTOutingCore::OnStatus(const StatusMsg& status) {
  connected_ = status.result >= 0;
  const bool changed = pairs_[kStatusName] != status.text;
  pairs_[kStatusName] = status.text;
  SetState(RtStateOfStatus(status.result), changed);
}

void CRTOutingCore::OnInformation(const InformationMsg& information) {
  const std::u16string statusText = pairs_[kStatusName];
  pairs_.clear();
  for (const auto& [name, value] : information.pairs) {
    pairs_[ToLowerWide(name) == u"source" ? u"System" : name] = value;
  }
  pairs_[kStatusName] = statusText;
  if (details_) SetState(RtConnectionState::kWorking, true);
}

void CRTOutingCore::OnTimeRange(KivTime start, KivTime end) {
  bool widened = false;
  if (firstRange_) {
    start_ = start;
    end_ = start == end ? start + 1 : end;
    firstRange_ = false;
    widened = true;
  } else {
    widened = start < start_ || end > end_;
    start_ = std::min(start_, start);
    end_ = std::max(end_, end);
  }
  TimesMsg movement;
  if (Call(RtType::kGetMovementRange, {}, &movement) == S_OK) {
    if (firstMovement_ == kTimeMax || firstMovement_ < movement.first) firstMovement_ = movement.first;
    lastMovement_ = movement.last;
    events_->OnLapMarkersShifted(firstMovement_, lastMovement_);
  }
  if (widened) events_->OnLapMarkersChanged(start_, end_);
  if (details_ && details_->fastLapTime == 0 && lapSeen_.empty()) events_->OnFastLapUnknown(end - start);
}

void CRTOutingCore::OnChannelData(const DataRangesMsg& ranges) {
  for (const auto& item : ranges.items) {
    const auto name = channelNames_.find(item.id);
    if (name == channelNames_.end()) continue;
    const auto channel = channels_.find(name->second);
    if (channel == channels_.end()) continue;
    if (const auto told = channel->second.OnData(item.from, item.to)) {
      events_->OnChannelDataChanged(name->second, told->first, told->second);
    }
  }
  for (const auto& item : ranges.items) {
    if (item.from < lowestChannelTime_ && item.from != kTimeMin) lowestChannelTime_ = item.from;
  }
}

void CRTOutingCore::ReadEventNames() {
  std::vector<WireNamed> names;
  if (Failed(Call(RtType::kGetEventNames, {}, &names))) return;
  for (const auto& n : names) eventNames_[n.id] = n.name;
  if (!std::exchange(eventNamesTold_, true)) {
    std::vector<std::u16string> told;
    for (const auto& n : names) told.push_back(n.name);
    events_->OnFirstEventNames(told);
  }
}

void CRTOutingCore::OnEventData(const DataRangesMsg& ranges) {
  for (const auto& item : ranges.items) {
    if (!eventNames_.count(item.id)) ReadEventNames();
    const auto name = eventNames_.find(item.id);
    if (name == eventNames_.end()) continue;
    if (const auto told = eventSets_[name->second].OnData(item.from, item.to)) {
      events_->OnEventDataChanged(name->second, told->first, told->second);
    }
  }
}

KivResult CRTOutingCore::ReadConstants(std::vector<WireConstant>* constants) {
  if (Failed(Connect()) && !outingCreated_) return E_FAIL;
  return Call(RtType::kGetConstants, {}, constants);
}

std::vector<std::u16string> CRTOutingCore::BlobNames() {
  std::vector<WireBlob> blobs;
  std::vector<std::u16string> names;
  if (Failed(Connect()) && !outingCreated_) return names;
  if (Succeeded(Call(RtType::kGetBlobList, {}, &blobs))) {
    for (const auto& b : blobs) names.push_back(b.name);
  }
  return names;
}

KivResult CRTOutingCore::ReadBlob(const std::u16string& name, WireBlob* blob) {
  std::vector<WireBlob> blobs;
  KivResult r = Call(RtType::kGetBlobList, {}, &blobs);
  if (Failed(r)) return r;
  const auto found = std::find_if(blobs.begin(), blobs.end(), [&](const WireBlob& b) { return b.name == name; });
  if (found == blobs.end()) return E_FAIL;
  std::vector<WireBlob> read;
  r = Call(RtType::kGetBlobData, Encode(IdMsg{found->id}), &read);
  if (Failed(r)) return r;
  if (read.empty()) return E_FAIL;
  *blob = std::move(read.front());
  return S_OK;
}

std::vector<std::u16string> CRTOutingCore::EventSetNames() {
  if (Succeeded(Connect()) && eventNames_.empty()) ReadEventNames();
  std::vector<std::u16string> names;
  for (const auto& [id, name] : eventNames_) names.push_back(name);
  return names;
}

KivResult CRTOutingCore::ReadEvents(const std::u16string& name, const std::vector<WireEvent>** events) {
  if (Failed(Connect()) && !outingCreated_) return E_FAIL;
  if (eventNames_.empty()) ReadEventNames();
  const auto id = std::find_if(eventNames_.begin(), eventNames_.end(), [&](const auto& n) { return n.second == name; });
  if (id == eventNames_.end()) return E_FAIL;
  RtLiveEventSet& set = eventSets_[name];
  const KivResult r = set.Read([this, id = id->first](KivTime from, KivTime to, std::vector<WireEvent>* out) {
    return Call(RtType::kGetEventData, Encode(RangeRequestMsg{{id}, from, to}), out);
  });
  if (events) *events = &set.events();
  return r;
}

void CRTOutingCore::OnEventsDiscarded(KivTime time) {
  if (time <= lowestEventTime_) return;
  for (auto& [name, set] : eventSets_) {
    if (set.Discard(time)) events_->OnEventDataChanged(name, kTimeMin, time);
  }
  lowestEventTime_ = time;
}

void CRTOutingCore::OnLapMarker(const LapMarkerMsg& marker) {
  const auto seen = lapSeen_.find(marker.id);
  if (seen != lapSeen_.end() && seen->second == marker.value) return;
  lapSeen_[marker.id] = marker.value;
  laps_.reset();
  events_->OnLapMarkersReset();
  events_->OnInformationChanged();
}

void CRTOutingCore::OnChannelsDiscarded(KivTime time) {
  if (time < lowestChannelTime_) return;  // earlier than any data: nothing to drop
  for (auto& [name, channel] : channels_) {
    if (channel.Discard(time)) events_->OnChannelDataChanged(name, kTimeMin, time);
  }
  lowestChannelTime_ = time;
  if (firstMovement_ < lastMovement_ && time > firstMovement_) {
    firstMovement_ = time;
    events_->OnLapMarkersShifted(firstMovement_, lastMovement_);
  }
}

}  // namespace velmar
