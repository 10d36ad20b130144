#include "platform/realtime/rt_messages.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "velmar/tarn_store.h"

namespace velmar::rt {

namespace {

// --- The one field list of each message --------------------------------------

template <class IO>
void Fields(IO& io, WireDetails& m) {
  io(m.fastLapTime, m.createDate, m.trackName, m.driverName, m.shortComment, m.longComment, m.timeZone,
     m.systemDetails, m.carName, m.sessionNumber, m.outingNumber, m.firstLapNumber, m.fastLapNumber,
     m.lastLapNumber, m.datasetType, m.utcDifference, m.engineTest);
}
template <class IO>
void Fields(IO& io, WireChannel& m) {
  io(m.id, m.displayMaximum, m.displayMinimum, m.rangeHigh, m.rangeLow, m.displayName, m.tagName, m.userType,
     m.decimalPlaces, m.quantityId, m.unitId, m.colour, m.revision, m.flags, m.sampleType, m.autoscale);
}
template <class IO>
void Fields(IO& io, WireBlock& m) {
  io(m.channelId, m.sampleType, m.periodic, m.continuous, m.firstTime, m.times, m.samples);
}
template <class IO>
void Fields(IO& io, WireNamed& m) { io(m.id, m.name); }
template <class IO>
void Fields(IO& io, WireEvent& m) {
  io(m.id, m.time, m.name, m.source, m.message, m.payload, m.fixedData, m.nameId, m.kind);
}
template <class IO>
void Fields(IO& io, WireLapMarker& m) {
  io(m.id, m.baseTime, m.timeOffset, m.distanceOrigin, m.lapNumber, m.crossing);
}
template <class IO>
void Fields(IO& io, WireConstant& m) { io(m.id, m.value, m.name, m.hasText, m.text, m.unit); }
template <class IO>
void Fields(IO& io, WireBlob& m) { io(m.id, m.type, m.name, m.data); }
template <class IO>
void Fields(IO& io, HelloMsg& m) { io(m.magic, m.version); }
template <class IO>
void Fields(IO& io, ConnectMsg& m) { io(m.host, m.port, m.name); }
template <class IO>
void Fields(IO& io, ConnectListMsg& m) {
  io(m.groupAddress, m.port, m.interfaceAddress, m.socketValue, m.receiveBufferSize, m.mainHost, m.hosts);
}
template <class IO>
void Fields(IO& io, CreateOutingMsg& m) {
  io(m.cacheFolder, m.fixedCacheSize, m.maximumCacheSize, m.linkValueA, m.linkValueB, m.addressStar);
}
template <class IO>
void Fields(IO& io, RangeRequestMsg& m) { io(m.ids, m.from, m.to); }
template <class IO>
void Fields(IO& io, IdMsg& m) { io(m.id); }
template <class IO>
void Fields(IO& io, ReplyHead& m) { io(m.result); }
template <class IO>
void Fields(IO& io, TimesMsg& m) { io(m.first, m.last); }
template <class IO>
void Fields(IO& io, StatusMsg& m) { io(m.result, m.text); }
template <class IO>
void Fields(IO& io, InformationMsg& m) { io(m.pairs); }
template <class IO>
void Fields(IO& io, DataRange& m) { io(m.id, m.from, m.to); }
template <class IO>
void Fields(IO& io, DataRangesMsg& m) { io(m.items); }
template <class IO>
void Fields(IO& io, LapMarkerMsg& m) { io(m.id, m.value); }
template <class IO>
void Fields(IO& io, BoolMsg& m) { io(m.value); }

// --- The two directions --------------------------------------------------------

// Fixed-size records on the wire take at least this many bytes, so that a
// count is checked against the bytes left before anything is made.
constexpr size_t kMinRecord = 4;

class Writer {
 public:
  explicit Writer(std::vector<uint8_t>* out) : out_(out), bytes_(out) {}
  template <class... T>
  void operator()(T&... values) {
    (Put(values), ...);
  }

 private:
  template <class T>
  void Put(T& value) {
    if constexpr (std::is_arithmetic_v<T>) {
      const auto* at = reinterpret_cast<const uint8_t*>(&value);
      out_->insert(out_->end(), at, at + sizeof value);
    } else {
      Fields(*this, value);
    }
  }
  void Put(std::u16string& text) { bytes_.Text(text); }
  void Put(Guid& guid) { bytes_.Bytes({reinterpret_cast<const uint8_t*>(&guid), sizeof guid}); }
  void Put(std::vector<uint8_t>& bytes) {
    bytes_.U32(static_cast<uint32_t>(bytes.size()));
    bytes_.Bytes(bytes);
  }
  template <class A, class B>
  void Put(std::pair<A, B>& pair) {
    Put(pair.first);
    Put(pair.second);
  }
  template <class T>
  void Put(std::vector<T>& items) {
    bytes_.U32(static_cast<uint32_t>(items.size()));
    for (auto& item : items) Put(item);
  }

  std::vector<uint8_t>* out_;
  ByteWriter bytes_;
};

class Reader {
 public:
  explicit Reader(std::span<const uint8_t> bytes) : in_(bytes) {}
  template <class... T>
  void operator()(T&... values) {
    (Get(values), ...);
  }
  bool ok() const { return in_.ok(); }
  size_t left() const { return in_.left(); }

 private:
  template <class T>
  void Get(T& value) {
    if constexpr (std::is_arithmetic_v<T>) {
      in_.Raw(&value, sizeof value);
    } else {
      Fields(*this, value);
    }
  }
  void Get(std::u16string& text) { in_.Text(&text); }
  void Get(Guid& guid) { in_.Raw(&guid, sizeof guid); }
  void Get(std::vector<uint8_t>& bytes) {
    uint32_t count = 0;
    if (in_.Count(1, &count)) in_.Bytes(count, &bytes);
  }
  template <class A, class B>
  void Get(std::pair<A, B>& pair) {
    Get(pair.first);
    Get(pair.second);
  }
  template <class T>
  void Get(std::vector<T>& items) {
    uint32_t count = 0;
    if (!in_.Count(std::is_arithmetic_v<T> ? sizeof(T) : kMinRecord, &count)) return;
    items.resize(count);
    for (auto& item : items) {
      if (!in_.ok()) return;
      Get(item);
    }
  }

  ByteReader in_;
};

}  // namespace

uint32_t WireBlock::Count() const {
  const size_t size = TarnSampleSize(sampleType);
  return size == 0 ? 0 : static_cast<uint32_t>(samples.size() / size);
}

KivTime WireBlock::LastTime() const {
  const uint32_t count = Count();
  if (count == 0 || times.empty()) return firstTime;
  if (periodic) return firstTime + static_cast<KivTime>(count - 1) * times.front();
  return times.back();
}

template <class T>
std::vector<uint8_t> Encode(const T& value) {
  std::vector<uint8_t> out;
  Writer writer(&out);
  writer(const_cast<T&>(value));  // the writer only reads
  return out;
}

template <class T>
KivResult Decode(std::span<const uint8_t> bytes, T* value) {
  if (!value) return E_POINTER;
  T read{};
  Reader reader(bytes);
  reader(read);
  if (!reader.ok() || reader.left() != 0) return E_FAIL;
  *value = std::move(read);
  return S_OK;
}

std::vector<uint8_t> EncodeReply(KivResult result) { return Encode(ReplyHead{result}); }

template <class T>
std::vector<uint8_t> EncodeReply(KivResult result, const T& body) {
  std::vector<uint8_t> out = EncodeReply(result);
  if (Succeeded(result)) {
    const std::vector<uint8_t> rest = Encode(body);
    out.insert(out.end(), rest.begin(), rest.end());
  }
  return out;
}

KivResult DecodeReply(std::span<const uint8_t> bytes) {
  ReplyHead head;
  if (Failed(Decode(bytes.first(std::min<size_t>(bytes.size(), 4)), &head))) return E_FAIL;
  return head.result;
}

template <class T>
KivResult DecodeReply(std::span<const uint8_t> bytes, T* body) {
  const KivResult result = DecodeReply(bytes);
  if (Failed(result) || bytes.size() < 4) return result;
  if (Failed(Decode(bytes.subspan(4), body))) return E_FAIL;
  return result;
}

#define VELMAR_RT_MESSAGE(T)                                                  \
  template std::vector<uint8_t> Encode(const T&);                             \
  template KivResult Decode(std::span<const uint8_t>, T*);                    \
  template std::vector<uint8_t> EncodeReply(KivResult, const T&);             \
  template KivResult DecodeReply(std::span<const uint8_t>, T*);
VELMAR_RT_MESSAGE(HelloMsg)
VELMAR_RT_MESSAGE(ConnectMsg)
VELMAR_RT_MESSAGE(ConnectListMsg)
VELMAR_RT_MESSAGE(CreateOutingMsg)
VELMAR_RT_MESSAGE(RangeRequestMsg)
VELMAR_RT_MESSAGE(IdMsg)
VELMAR_RT_MESSAGE(TimesMsg)
VELMAR_RT_MESSAGE(StatusMsg)
VELMAR_RT_MESSAGE(InformationMsg)
VELMAR_RT_MESSAGE(DataRangesMsg)
VELMAR_RT_MESSAGE(LapMarkerMsg)
VELMAR_RT_MESSAGE(BoolMsg)
VELMAR_RT_MESSAGE(std::vector<WireDetails>)
VELMAR_RT_MESSAGE(std::vector<WireChannel>)
VELMAR_RT_MESSAGE(std::vector<WireBlock>)
VELMAR_RT_MESSAGE(std::vector<WireNamed>)
VELMAR_RT_MESSAGE(std::vector<WireEvent>)
VELMAR_RT_MESSAGE(std::vector<WireLapMarker>)
VELMAR_RT_MESSAGE(std::vector<WireConstant>)
VELMAR_RT_MESSAGE(std::vector<WireBlob>)
#undef VELMAR_RT_MESSAGE

namespace {

template <class T>
bool Decodes(std::span<const uint8_t> bytes) {
  T value;
  return Succeeded(Decode(bytes, &value));
}

// A reply's body can be any of the reply bodies; the reader knows which by
// its request, the fuzzer tries them all.
bool DecodesAsReply(std::span<const uint8_t> bytes) {
  if (bytes.size() < 4) return false;
  const auto body = bytes.subspan(4);
  return body.empty() || Decodes<HelloMsg>(body) || Decodes<TimesMsg>(body) || Decodes<BoolMsg>(body) ||
         Decodes<std::vector<WireDetails>>(body) || Decodes<std::vector<WireChannel>>(body) ||
         Decodes<std::vector<WireBlock>>(body) || Decodes<std::vector<WireNamed>>(body) ||
         Decodes<std::vector<WireEvent>>(body) || Decodes<std::vector<WireLapMarker>>(body) ||
         Decodes<std::vector<WireConstant>>(body) || Decodes<std::vector<WireBlob>>(body);
}

}  // namespace

bool DecodeAnyFrame(const Frame& frame) {
  const std::span<const uint8_t> p = frame.payload;
  switch (frame.type) {
    case RtType::kHello: return Decodes<HelloMsg>(p);
    case RtType::kConnect: return Decodes<ConnectMsg>(p);
    case RtType::kConnectList: return Decodes<ConnectListMsg>(p);
    case RtType::kCreateOuting: return Decodes<CreateOutingMsg>(p);
    case RtType::kGetChannelData:
    case RtType::kGetEventData: return Decodes<RangeRequestMsg>(p);
    case RtType::kGetBlobData: return Decodes<IdMsg>(p);
    case RtType::kSetHistoryMode: return Decodes<BoolMsg>(p);
    case RtType::kGetDetails:
    case RtType::kGetChannelList:
    case RtType::kGetEventNames:
    case RtType::kGetLapMarkers:
    case RtType::kGetConstants:
    case RtType::kGetBlobList:
    case RtType::kGetMovementRange:
    case RtType::kGetHistoryMode:
    case RtType::kGetOutingRange:
    case RtType::kReset:
    case RtType::kChannelsChanged: return p.empty();
    case RtType::kReply: return DecodesAsReply(p);
    case RtType::kStatus: return Decodes<StatusMsg>(p);
    case RtType::kInformation: return Decodes<InformationMsg>(p);
    case RtType::kTimeRange:
    case RtType::kChannelsDiscarded:
    case RtType::kEventsDiscarded: return Decodes<TimesMsg>(p);
    case RtType::kChannelData:
    case RtType::kEventData: return Decodes<DataRangesMsg>(p);
    case RtType::kLapMarker: return Decodes<LapMarkerMsg>(p);
  }
  return false;  // an unknown type
}

}  // namespace velmar::rt
