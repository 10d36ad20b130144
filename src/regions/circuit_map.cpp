#include "regions/circuit_map.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "core/stream_values.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using Json = nlohmann::json;

constexpr char16_t kContentsStream[] = u"Contents";
constexpr uint32_t kStreamMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

// A refusal: thrown inside the parser, caught at its edge.
struct MapFault {
  std::string message;
};

const Json& Field(const Json& object, const char* key, const std::string& where) {
  auto it = object.find(key);
  if (it == object.end()) throw MapFault{where + ": \"" + key + "\" is missing"};
  return *it;
}

double Number(const Json& object, const char* key, const std::string& where) {
  const Json& value = Field(object, key, where);
  if (!value.is_number()) throw MapFault{where + ": \"" + key + "\" is not a number"};
  const double number = value.get<double>();
  if (!std::isfinite(number)) throw MapFault{where + ": \"" + key + "\" is not finite"};
  return number;
}

std::u16string Text(const Json& object, const char* key, const std::string& where, bool required) {
  auto it = object.find(key);
  if (it == object.end() && !required) return {};
  const Json& value = Field(object, key, where);
  if (!value.is_string()) throw MapFault{where + ": \"" + key + "\" is not a text"};
  return Utf8ToWide(value.get<std::string>());
}

const Json& List(const Json& root, const char* key) {
  const Json& list = Field(root, key, "map");
  if (!list.is_array()) throw MapFault{std::string("map: \"") + key + "\" is not a list"};
  return list;
}

int32_t MarkerIndex(const Json& segment, const char* key, const std::string& where, size_t markers) {
  const Json& value = Field(segment, key, where);
  if (!value.is_number_integer()) throw MapFault{where + ": \"" + key + "\" is not a marker index"};
  const int64_t index = value.get<int64_t>();
  if (index < 0 || static_cast<uint64_t>(index) >= markers) {
    throw MapFault{where + ": \"" + key + "\" names marker " + std::to_string(index) + ", which does not exist"};
  }
  return static_cast<int32_t>(index);
}

void ParseInto(const std::string& text, CircuitMapContent* c) {
  const Json root = Json::parse(text);  // throws parse_error
  if (!root.is_object()) throw MapFault{"map: not a JSON object"};
  c->name = Text(root, "name", "map", false);
  c->lapLength = Number(root, "lap_length", "map");
  if (c->lapLength < 0) throw MapFault{"map: \"lap_length\" is negative"};
  c->lapTime = root.contains("lap_time") ? Number(root, "lap_time", "map") : 0.0;
  if (c->lapTime < 0) throw MapFault{"map: \"lap_time\" is negative"};
  const Json& markers = List(root, "markers");
  for (size_t i = 0; i < markers.size(); ++i) {
    const std::string where = "marker " + std::to_string(i);
    if (!markers[i].is_object()) throw MapFault{where + ": not an object"};
    const double distance = Number(markers[i], "distance", where);
    if (distance < 0 || distance > c->lapLength) {
      throw MapFault{where + ": distance " + std::to_string(distance) + " lies outside the lap"};
    }
    c->markerNames.push_back(Text(markers[i], "name", where, false));
    c->markerDistances.push_back(distance);
  }
  const Json& segments = List(root, "segments");
  for (size_t i = 0; i < segments.size(); ++i) {
    const std::string where = "segment " + std::to_string(i);
    if (!segments[i].is_object()) throw MapFault{where + ": not an object"};
    c->segmentNames.push_back(Text(segments[i], "name", where, true));
    c->segmentMarkers.emplace_back(MarkerIndex(segments[i], "start", where, markers.size()),
                                   MarkerIndex(segments[i], "end", where, markers.size()));
  }
}

int32_t Fraction(double distance, double lapLength) {
  if (lapLength == 0) return 0;  // a lap of no length: every marker on the line
  return static_cast<int32_t>(std::lround(distance / lapLength * kCircuitFullLap));
}

}  // namespace

bool ParseCircuitMap(const std::string& text, CircuitMapContent* content, std::string* error) {
  CircuitMapContent parsed;
  try {
    ParseInto(text, &parsed);
  } catch (const MapFault& fault) {
    *error = fault.message;
    return false;
  } catch (const Json::exception& e) {
    *error = std::string("map: not valid JSON (") + e.what() + ")";
    return false;
  }
  *content = std::move(parsed);
  return true;
}

std::string CircuitMapToJson(const CircuitMapContent& c) {
  Json markers = Json::array();
  for (size_t i = 0; i < c.markerNames.size(); ++i) {
    markers.push_back(Json{{"name", WideToUtf8(c.markerNames[i])}, {"distance", c.markerDistances[i]}});
  }
  Json segments = Json::array();
  for (size_t i = 0; i < c.segmentNames.size(); ++i) {
    segments.push_back(Json{{"name", WideToUtf8(c.segmentNames[i])},
                            {"start", c.segmentMarkers[i].first},
                            {"end", c.segmentMarkers[i].second}});
  }
  Json root{{"name", WideToUtf8(c.name)}, {"lap_length", c.lapLength}, {"markers", markers}, {"segments", segments}};
  if (c.lapTime > 0) root["lap_time"] = c.lapTime;
  return root.dump(2);
}

KivResult CCircuitMap::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = kClassId;
  return S_OK;
}

KivResult CCircuitMap::GetLapTime(KivTime* time) {
  if (!time) return E_POINTER;
  *time = static_cast<KivTime>(std::llround(content_.lapTime * 1e7));
  return S_OK;
}

KivResult CCircuitMap::GetLapLength(float* length) {
  if (!length) return E_POINTER;
  *length = static_cast<float>(content_.lapLength);
  return S_OK;
}

KivResult CCircuitMap::GetMarkers(std::span<const CircuitMarker>* markers) {
  if (!markers) return E_POINTER;
  *markers = markers_;
  return S_OK;
}

KivResult CCircuitMap::GetSegments(std::span<const CircuitSegment>* segments) {
  if (!segments) return E_POINTER;
  *segments = segments_;
  return S_OK;
}

KivResult CCircuitMap::GetExtraList(std::span<const uint8_t>* list) {
  if (!list) return E_POINTER;
  *list = {};
  return S_OK;
}

KivResult CCircuitMap::GetName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = content_.name;
  return S_OK;
}

KivResult CCircuitMap::LoadJson(const std::string& text, std::u16string* error) {
  CircuitMapContent content;
  std::string message;
  if (!ParseCircuitMap(text, &content, &message)) {
    if (error) *error = Utf8ToWide(message);
    return E_INVALIDARG;
  }
  if (error) error->clear();
  Adopt(std::move(content));
  dirty_ = true;
  return S_OK;
}

KivResult CCircuitMap::SaveJson(std::string* text) {
  if (!text) return E_POINTER;
  *text = CircuitMapToJson(content_);
  return S_OK;
}

void CCircuitMap::Adopt(CircuitMapContent content) {
  const bool lapLength = content.lapLength != content_.lapLength;
  const bool segments = content.segmentNames != content_.segmentNames || content.segmentMarkers != content_.segmentMarkers;
  const bool markers = content.markerDistances != content_.markerDistances;
  content_ = std::move(content);
  markers_.assign(content_.markerDistances.size(), CircuitMarker{});
  for (size_t i = 0; i < markers_.size(); ++i) markers_[i].position = Fraction(content_.markerDistances[i], content_.lapLength);
  segments_.assign(content_.segmentNames.size(), CircuitSegment{});
  for (size_t i = 0; i < segments_.size(); ++i) {
    segments_[i].startMarker = content_.segmentMarkers[i].first;
    segments_[i].endMarker = content_.segmentMarkers[i].second;
    segments_[i].name = content_.segmentNames[i].c_str();
  }
  FireChanges(lapLength, segments, markers);
}

void CCircuitMap::FireChanges(bool lapLength, bool segments, bool markers) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  if (lapLength) FireNotification(&IKivCircuitMapDataNotifications3::OnLapLengthChanged, AsMap());
  if (segments) FireNotification(&IKivCircuitMapDataNotifications3::OnSegmentsChanged, AsMap());
  if (markers) FireNotification(&IKivCircuitMapDataNotifications3::OnMarkersChanged, AsMap());
  FireNotification(&IKivCircuitMapDataNotifications::OnMapDataChanged, AsMap());
}

KivResult CCircuitMap::InitNew(IKivStorage* storage) {
  if (!storage) return E_POINTER;
  if (storage_) return E_UNEXPECTED;
  storage_ = ComPtr<IKivStorage>(storage);
  dirty_ = true;
  return S_OK;
}

KivResult CCircuitMap::Load(IKivStorage* storage) {
  if (!storage) return E_POINTER;
  if (storage_) return E_UNEXPECTED;
  ComPtr<IKivStream> stream;
  std::u16string text;
  KivResult r = storage->OpenStream(kContentsStream, kStreamMode, stream.Put());
  if (Succeeded(r)) r = ReadStreamText(stream.Get(), &text);
  if (Failed(r)) return STG_E_READFAULT;
  if (Failed(LoadJson(WideToUtf8(text), nullptr))) return STG_E_READFAULT;
  storage_ = ComPtr<IKivStorage>(storage);
  dirty_ = false;
  return S_OK;
}

KivResult CCircuitMap::Save(IKivStorage* storage, KivBool sameAsLoad) {
  IKivStorage* target = storage ? storage : (sameAsLoad ? storage_.Get() : nullptr);
  if (!target) return E_POINTER;
  ComPtr<IKivStream> stream;
  KivResult r = target->CreateStream(kContentsStream, kStreamMode | STGM_CREATE, stream.Put());
  if (Succeeded(r)) r = WriteStreamText(stream.Get(), Utf8ToWide(CircuitMapToJson(content_)));
  if (Failed(r)) return r;
  if (sameAsLoad) dirty_ = false;
  return S_OK;
}

KivResult CCircuitMap::SaveCompleted(IKivStorage* storage) {
  if (storage) storage_ = ComPtr<IKivStorage>(storage);
  dirty_ = false;
  return S_OK;
}

KivResult CCircuitMap::HandsOffStorage() {
  storage_ = nullptr;
  return S_OK;
}

}  // namespace velmar
