// The payloads of the real-time wire protocol, as values, and their codec
// (docs/realtime-protocol.md gives the bytes).
//
// One field list per message serves both directions (Fields below), so the
// encoder and decoder cannot drift apart. Decoding checks every count and
// length against the bytes left and refuses bytes left over.
//
// Any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/byte_cursor.h"
#include "platform/realtime/rt_frame.h"
#include "velmar/guid.h"
#include "velmar/result.h"
#include "velmar/types.h"

namespace velmar::rt {

// --- Records of the store-shaped reads --------------------------------------

struct WireDetails {
  KivTime fastLapTime = 0;
  double createDate = 0;
  std::u16string trackName, driverName, shortComment, longComment, timeZone, systemDetails, carName;
  uint32_t sessionNumber = 0, outingNumber = 0, firstLapNumber = 0, fastLapNumber = 0, lastLapNumber = 0;
  uint32_t datasetType = 0;
  int32_t utcDifference = 0;
  uint8_t engineTest = 0;
};

struct WireChannel {
  uint64_t id = 0;
  double displayMaximum = 0, displayMinimum = 0, rangeHigh = 0, rangeLow = 0;
  std::u16string displayName, tagName, userType;
  uint32_t decimalPlaces = 0;
  int32_t quantityId = 0;
  uint32_t unitId = 0, colour = 0;
  uint64_t revision = 0;
  uint32_t flags = 0, sampleType = 7;
  uint8_t autoscale = 0;
};

// One block of samples: periodic with `times` = {period}, else a time per sample.
struct WireBlock {
  uint64_t channelId = 0;
  uint32_t sampleType = 7;
  uint8_t periodic = 1;
  uint8_t continuous = 0;
  KivTime firstTime = 0;
  std::vector<int64_t> times;
  std::vector<uint8_t> samples;  // count x the sample type's size
  // Samples in the block; 0 for a sample type outside 0..7.
  uint32_t Count() const;
  // The time of the last sample (periodic: first + (count - 1) x period).
  KivTime LastTime() const;
  // Bytes the block takes in a frame.
  size_t WireSize() const { return 34 + 8 * times.size() + samples.size(); }
};

// A reply's payload stays this far below the frame limit: room for the
// reply's own fields.
inline constexpr size_t kMaxReplyBytes = (8u << 20) - (64u << 10);

struct WireNamed {
  uint64_t id = 0;
  std::u16string name;
};

struct WireEvent {
  uint64_t id = 0;
  KivTime time = 0;
  std::u16string name, source, message;
  std::vector<uint8_t> payload;
  std::vector<uint8_t> fixedData;  // 32 bytes or none
  uint64_t nameId = 0;
  uint32_t kind = 0;
};

struct WireLapMarker {
  uint64_t id = 0;
  KivTime baseTime = 0, timeOffset = 0;
  double distanceOrigin = 0;
  uint32_t lapNumber = 0;
  uint8_t crossing = 1;
};

struct WireConstant {
  uint64_t id = 0;
  double value = 0;
  std::u16string name;
  uint8_t hasText = 0;
  std::u16string text, unit;
};

struct WireBlob {
  uint64_t id = 0;
  Guid type;
  std::u16string name;
  std::vector<uint8_t> data;
};

// --- Requests ----------------------------------------------------------------

struct HelloMsg {
  uint32_t magic = kHelloMagic;
  uint32_t version = kProtocolVersion;
};

struct ConnectMsg {
  std::u16string host;
  uint32_t port = 0;
  std::u16string name;
};

struct ConnectListMsg {
  uint32_t groupAddress = 0;  // IPv4, network order as a number
  uint16_t port = 0;
  uint32_t interfaceAddress = 0;
  uint16_t socketValue = 0;
  uint32_t receiveBufferSize = 0;
  std::u16string mainHost;
  std::vector<std::u16string> hosts;
};

struct CreateOutingMsg {
  std::u16string cacheFolder;
  uint8_t fixedCacheSize = 1;
  uint32_t maximumCacheSize = 20;
  int32_t linkValueA = 0, linkValueB = 0;
  uint8_t addressStar = 0;
};

struct RangeRequestMsg {  // channel data (one id) and event data (ids)
  std::vector<uint64_t> ids;
  KivTime from = 0, to = 0;
};

struct IdMsg {
  uint64_t id = 0;
};

// --- Replies: i32 result, then the body of the request's type ---------------

struct ReplyHead {
  int32_t result = 0;
};

struct TimesMsg {  // movement range, outing range, time range, discards (first only)
  KivTime first = 0, last = 0;
};

// --- Pushed ------------------------------------------------------------------

struct StatusMsg {
  int32_t result = 0;
  std::u16string text;
};

struct InformationMsg {
  std::vector<std::pair<std::u16string, std::u16string>> pairs;
};

struct DataRange {
  uint64_t id = 0;
  KivTime from = 0, to = 0;
};

struct DataRangesMsg {  // channel data and event data
  std::vector<DataRange> items;
};

struct LapMarkerMsg {
  uint32_t id = 0;
  int64_t value = 0;
};

struct BoolMsg {
  uint8_t value = 0;
};

// --- Codec -------------------------------------------------------------------

template <class T>
std::vector<uint8_t> Encode(const T& value);
// E_FAIL for bytes that do not hold exactly one T.
template <class T>
[[nodiscard]] KivResult Decode(std::span<const uint8_t> bytes, T* value);

// A reply: its result, then the body (none when the result is a failure).
template <class T>
std::vector<uint8_t> EncodeReply(KivResult result, const T& body);
std::vector<uint8_t> EncodeReply(KivResult result);
// The reply's result, and the body decoded when it succeeded; a body that
// can't be decoded gives E_FAIL.
template <class T>
[[nodiscard]] KivResult DecodeReply(std::span<const uint8_t> bytes, T* body);
[[nodiscard]] KivResult DecodeReply(std::span<const uint8_t> bytes);

// Every decoder of the protocol run on one frame, as a fuzzer drives it:
// the payload of a known type decodes as its messages would, unknown types
// are refused. True when the frame was understood.
bool DecodeAnyFrame(const Frame& frame);

}  // namespace velmar::rt
