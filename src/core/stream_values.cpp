#include "core/stream_values.h"

#include <bit>

namespace velmar {

static_assert(std::endian::native == std::endian::little, "streams are little-endian");

namespace {

KivResult ReadTextBody(IKivStream* stream, std::u16string* text) {
  uint32_t bytes = 0;
  if (const KivResult r = ReadStreamU32(stream, &bytes); Failed(r)) return r;
  if (bytes == 0) {
    text->clear();
    return S_OK;
  }
  if (bytes > kMaxStreamTextBytes) return E_ACCESSDENIED;
  if (bytes == 1 || bytes % 2 != 0) return E_FAIL;
  std::u16string body(bytes / 2, u'\0');
  if (const KivResult r = ReadStreamBytes(stream, body.data(), bytes); Failed(r)) return r;
  if (body.back() != u'\0') return E_FAIL;
  body.pop_back();
  *text = std::move(body);
  return S_OK;
}

}  // namespace

KivResult ReadStreamBytes(IKivStream* stream, void* buffer, uint32_t size) {
  uint32_t read = 0;
  const KivResult r = stream->Read(buffer, size, &read);
  if (Failed(r)) return r;
  return read == size ? S_OK : E_FAIL;
}

KivResult WriteStreamBytes(IKivStream* stream, const void* buffer, uint32_t size) {
  uint32_t written = 0;
  const KivResult r = stream->Write(buffer, size, &written);
  if (Failed(r)) return r;
  return written == size ? S_OK : STG_E_WRITEFAULT;
}

KivResult ReadStreamU32(IKivStream* stream, uint32_t* value) { return ReadStreamBytes(stream, value, sizeof *value); }

KivResult WriteStreamU32(IKivStream* stream, uint32_t value) { return WriteStreamBytes(stream, &value, sizeof value); }

uint64_t StreamTextSize(const std::u16string& text) { return sizeof(uint32_t) + (text.size() + 1) * sizeof(char16_t); }

KivResult WriteStreamText(IKivStream* stream, const std::u16string& text) {
  if (!stream) return E_POINTER;
  const uint64_t bytes = (text.size() + 1) * sizeof(char16_t);
  if (bytes > kMaxStreamTextBytes) return E_INVALIDARG;
  KivResult r = WriteStreamU32(stream, static_cast<uint32_t>(bytes));
  if (Succeeded(r)) r = WriteStreamBytes(stream, text.c_str(), static_cast<uint32_t>(bytes));
  return r;
}

KivResult ReadStreamText(IKivStream* stream, std::u16string* text) {
  if (!stream || !text) return E_POINTER;
  uint64_t start = 0;
  if (const KivResult r = stream->Seek(0, STREAM_SEEK_CUR, &start); Failed(r)) return r;
  const KivResult r = ReadTextBody(stream, text);
  if (Failed(r)) (void)stream->Seek(static_cast<int64_t>(start), STREAM_SEEK_SET, nullptr);
  return r;
}

KivResult EndStreamHere(IKivStream* stream) {
  uint64_t end = 0;
  if (KivResult r = stream->Seek(0, STREAM_SEEK_CUR, &end); Failed(r)) return r;
  return stream->SetSize(end);
}

KivResult RewriteStreamU32(IKivStream* stream, uint32_t value) {
  if (KivResult r = stream->Seek(0, STREAM_SEEK_SET, nullptr); Failed(r)) return r;
  if (KivResult r = WriteStreamU32(stream, value); Failed(r)) return r;
  return EndStreamHere(stream);
}

}  // namespace velmar
