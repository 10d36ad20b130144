#include "tasks/task_properties.h"

#include <algorithm>
#include <array>

#include "core/byte_fields.h"
#include "core/stream_values.h"

namespace velmar {
namespace {

constexpr uint32_t kListHeaderSize = 16;
constexpr uint32_t kListVersion = 1;

using Header = std::array<uint8_t, kTaskHeaderSize>;


}  // namespace

KivResult ReadTaskProperties(IKivStream* stream, TaskProperties* out) {
  if (!stream || !out) return E_POINTER;
  Header h{};
  if (Failed(stream->Seek(0, STREAM_SEEK_SET, nullptr)) || Failed(ReadStreamBytes(stream, h.data(), h.size())))
    return E_FAIL;
  if (GetField<uint32_t>(h, 4) > kTaskHeaderVersion) return STG_E_OLDDLL;
  TaskProperties p;
  p.activeSelection = GetField<int32_t>(h, 8);
  p.colourSeed = GetField<uint32_t>(h, 12);
  p.secondSelection = GetField<int32_t>(h, 16);
  p.currentTime = GetField<int64_t>(h, 24);
  p.followLive = h[32] != 0;
  p.watchEnabled = h[33] != 0;
  p.watchMode = GetField<uint32_t>(h, 36);
  p.watchSelection = GetField<int32_t>(h, 40);
  p.defaultRegionMode = GetField<uint32_t>(h, 48);
  p.defaultFinderClass = GetField<Guid>(h, 56);
  p.watchFollows = h[72] != 0;
  for (std::u16string* text : {&p.name, &p.description, &p.watchFolder}) {
    if (Failed(ReadStreamText(stream, text))) return E_FAIL;
  }
  *out = std::move(p);
  return S_OK;
}

KivResult WriteTaskProperties(IKivStream* stream, const TaskProperties& p) {
  if (!stream) return E_POINTER;
  Header h{};
  PutField<uint32_t>(h, 0, kTaskHeaderSize);
  PutField<uint32_t>(h, 4, kTaskHeaderVersion);
  PutField<int32_t>(h, 8, p.activeSelection);
  PutField<uint32_t>(h, 12, p.colourSeed);
  PutField<int32_t>(h, 16, p.secondSelection);
  PutField<int64_t>(h, 24, p.currentTime);
  h[32] = p.followLive ? 1 : 0;
  h[33] = p.watchEnabled ? 1 : 0;
  PutField<uint32_t>(h, 36, p.watchMode);
  PutField<int32_t>(h, 40, p.watchSelection);
  PutField<uint32_t>(h, 48, p.defaultRegionMode);
  PutField<Guid>(h, 56, p.defaultFinderClass);
  h[72] = p.watchFollows ? 1 : 0;
  if (KivResult r = stream->Seek(0, STREAM_SEEK_SET, nullptr); Failed(r)) return r;
  if (KivResult r = WriteStreamBytes(stream, h.data(), h.size()); Failed(r)) return r;
  for (const std::u16string* text : {&p.name, &p.description, &p.watchFolder}) {
    if (KivResult r = WriteStreamText(stream, *text); Failed(r)) return r;
  }
  return EndStreamHere(stream);
}

KivResult ReadNameList(IKivStream* stream, NameListStream* out) {
  if (!stream || !out) return E_POINTER;
  uint32_t header[4] = {};
  if (Failed(stream->Seek(0, STREAM_SEEK_SET, nullptr)) || Failed(ReadStreamBytes(stream, header, sizeof header)))
    return E_FAIL;
  if (header[0] != kListHeaderSize) return E_FAIL;
  if (header[1] > kListVersion) return STG_E_OLDDLL;
  NameListStream list;
  list.perLine = std::max<uint32_t>(out->perLine, 1);
  list.written = header[2];
  if (header[3] > kMaxStreamTextBytes) return E_FAIL;
  list.names.resize(static_cast<size_t>(header[3]) * list.perLine);
  for (std::u16string& name : list.names) {
    if (Failed(ReadStreamText(stream, &name))) return E_FAIL;
  }
  *out = std::move(list);
  return S_OK;
}

KivResult WriteNameList(IKivStream* stream, const NameListStream& list) {
  if (!stream) return E_POINTER;
  const uint32_t lines = static_cast<uint32_t>(list.names.size() / std::max<uint32_t>(list.perLine, 1));
  const uint32_t header[4] = {kListHeaderSize, kListVersion, list.written, lines};
  if (KivResult r = stream->Seek(0, STREAM_SEEK_SET, nullptr); Failed(r)) return r;
  if (KivResult r = WriteStreamBytes(stream, header, sizeof header); Failed(r)) return r;
  for (const std::u16string& name : list.names) {
    if (KivResult r = WriteStreamText(stream, name); Failed(r)) return r;
  }
  return EndStreamHere(stream);
}

}  // namespace velmar
