#include "tasks/selection_properties.h"

#include <array>

#include "core/byte_fields.h"
#include "core/stream_values.h"
#include "outing/factory/outing_type_table.h"

namespace velmar {
namespace {

using Header = std::array<uint8_t, kSelectionHeaderSize>;


// Version 1 names the outing's kind by its row in the type table.
std::u16string TypeIdOfRow(uint32_t row) {
  if (row < 1 || row > 5) return {};
  return OutingTypeRowOf(static_cast<OutingType>(row)).typeId.ToWide();
}

KivResult ReadOldTexts(IKivStream* stream, const Header& h, SelectionProperties* p) {
  if (p->version >= 3) {
    uint8_t flag = 0;
    if (KivResult r = ReadStreamBytes(stream, &flag, 1); Failed(r)) return r;
    p->clientFlag = flag != 0;
  }
  if (KivResult r = ReadStreamText(stream, &p->regionName); Failed(r)) return r;
  if (KivResult r = ReadStreamText(stream, &p->path); Failed(r)) return r;
  if (p->version == 1) {
    p->outingId = TypeIdOfRow(GetField<uint32_t>(h, 44));
    return S_OK;
  }
  if (KivResult r = ReadStreamText(stream, &p->outingId); Failed(r)) return r;
  if (!p->outingId.empty() && p->outingId.front() != u'{') p->outingId = u"{" + p->outingId + u"}";
  return p->version == 4 ? ReadStreamText(stream, &p->label) : S_OK;
}

}  // namespace

KivResult ReadSelectionProperties(IKivStream* stream, SelectionProperties* out) {
  if (!stream || !out) return E_POINTER;
  Header h{};
  if (Failed(stream->Seek(0, STREAM_SEEK_SET, nullptr)) || Failed(ReadStreamBytes(stream, h.data(), h.size())))
    return E_FAIL;
  SelectionProperties p;
  p.version = GetField<uint32_t>(h, 4);
  if (p.version == 0) return E_FAIL;
  if (p.version > kSelectionHeaderVersion) return STG_E_OLDDLL;
  p.colour = GetField<uint32_t>(h, 8);
  p.start = GetField<int64_t>(h, 16);
  p.end = GetField<int64_t>(h, 24);
  p.timeOffset = GetField<int64_t>(h, 32);
  p.includeAuxiliary = h[40] != 0;
  if (p.version < kSelectionHeaderVersion) {
    if (KivResult r = ReadOldTexts(stream, h, &p); Failed(r)) return E_FAIL;
  } else {
    p.clientFlag = h[41] != 0;
    p.overrideProperties = h[42] != 0;
    for (std::u16string* text : {&p.regionName, &p.path, &p.outingId, &p.label}) {
      if (Failed(ReadStreamText(stream, text))) return E_FAIL;
    }
  }
  *out = std::move(p);
  return S_OK;
}

KivResult WriteSelectionHeader(IKivStream* stream, const SelectionProperties& p) {
  if (!stream) return E_POINTER;
  Header h{};
  PutField<uint32_t>(h, 0, kSelectionHeaderSize);
  PutField<uint32_t>(h, 4, kSelectionHeaderVersion);
  PutField<uint32_t>(h, 8, p.colour);
  PutField<int64_t>(h, 16, p.start);
  PutField<int64_t>(h, 24, p.end);
  PutField<int64_t>(h, 32, p.timeOffset);
  h[40] = p.includeAuxiliary ? 1 : 0;
  h[41] = p.clientFlag ? 1 : 0;
  h[42] = p.overrideProperties ? 1 : 0;
  if (KivResult r = stream->Seek(0, STREAM_SEEK_SET, nullptr); Failed(r)) return r;
  return WriteStreamBytes(stream, h.data(), h.size());
}

KivResult WriteSelectionTexts(IKivStream* stream, const SelectionProperties& p) {
  if (!stream) return E_POINTER;
  if (KivResult r = stream->Seek(kSelectionHeaderSize, STREAM_SEEK_SET, nullptr); Failed(r)) return r;
  for (const std::u16string* text : {&p.regionName, &p.path, &p.outingId, &p.label}) {
    if (KivResult r = WriteStreamText(stream, *text); Failed(r)) return r;
  }
  return EndStreamHere(stream);
}

}  // namespace velmar
