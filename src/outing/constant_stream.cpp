#include "outing/constant_stream.h"

#include <bit>
#include <cstring>

namespace velmar {

namespace {

static_assert(std::endian::native == std::endian::little, "streams are little-endian");

// Every byte or a failure: a short read is E_FAIL.
KivResult ReadExactly(IKivStream* stream, void* buffer, uint32_t size) {
  uint32_t read = 0;
  const KivResult r = stream->Read(buffer, size, &read);
  if (Failed(r)) return r;
  return read == size ? S_OK : E_FAIL;
}

KivResult WriteExactly(IKivStream* stream, const void* buffer, uint32_t size) {
  uint32_t written = 0;
  const KivResult r = stream->Write(buffer, size, &written);
  if (Failed(r)) return r;
  return written == size ? S_OK : STG_E_WRITEFAULT;
}

KivResult WriteU32(IKivStream* stream, uint32_t value) { return WriteExactly(stream, &value, sizeof value); }
KivResult ReadU32(IKivStream* stream, uint32_t* value) { return ReadExactly(stream, value, sizeof *value); }

KivResult Position(IKivStream* stream, uint64_t* position) { return stream->Seek(0, STREAM_SEEK_CUR, position); }
KivResult SeekTo(IKivStream* stream, uint64_t position) {
  return stream->Seek(static_cast<int64_t>(position), STREAM_SEEK_SET, nullptr);
}

KivResult WriteHeader(IKivStream* stream, uint32_t count) {
  KivResult r = SeekTo(stream, 0);
  if (Succeeded(r)) r = WriteU32(stream, kConstantDataHeaderSize);
  if (Succeeded(r)) r = WriteU32(stream, kConstantDataVersion);
  if (Succeeded(r)) r = WriteU32(stream, count);
  return r;
}

KivResult ReadHeader(IKivStream* stream, uint32_t* count) {
  uint32_t size = 0;
  uint32_t version = 0;
  KivResult r = SeekTo(stream, 0);
  if (Succeeded(r)) r = ReadU32(stream, &size);
  if (Succeeded(r)) r = ReadU32(stream, &version);
  if (Succeeded(r)) r = ReadU32(stream, count);
  if (Failed(r)) return r;
  if (size != kConstantDataHeaderSize || version != kConstantDataVersion) return E_FAIL;
  return S_OK;
}

KivResult WriteRecord(IKivStream* stream, const ConstantRecord& record) {
  const double value = record.text.empty() ? record.value : 0.0;
  KivResult r = WriteStreamText(stream, record.name);
  if (Succeeded(r)) r = WriteExactly(stream, &value, sizeof value);
  if (Succeeded(r)) r = WriteStreamText(stream, record.text);
  if (Succeeded(r)) r = WriteStreamText(stream, record.unit);
  return r;
}

KivResult ReadRecord(IKivStream* stream, ConstantRecord* record) {
  KivResult r = ReadStreamText(stream, &record->name);
  if (Succeeded(r)) r = ReadExactly(stream, &record->value, sizeof record->value);
  if (Succeeded(r)) r = ReadStreamText(stream, &record->text);
  if (Succeeded(r)) r = ReadStreamText(stream, &record->unit);
  if (Succeeded(r) && !record->text.empty()) record->value = 0;  // fetched from its workbook
  return r;
}

KivResult WriteRecords(IKivStream* stream, const std::vector<ConstantRecord>& records) {
  for (const ConstantRecord& record : records) {
    if (const KivResult r = WriteRecord(stream, record); Failed(r)) return r;
  }
  return S_OK;
}

KivResult ReadTextBody(IKivStream* stream, std::u16string* text) {
  uint32_t bytes = 0;
  if (const KivResult r = ReadU32(stream, &bytes); Failed(r)) return r;
  if (bytes == 0) {
    text->clear();
    return S_OK;
  }
  if (bytes > kMaxStreamTextBytes) return E_ACCESSDENIED;
  if (bytes == 1 || bytes % 2 != 0) return E_FAIL;
  std::u16string body(bytes / 2, u'\0');
  if (const KivResult r = ReadExactly(stream, body.data(), bytes); Failed(r)) return r;
  if (body.back() != u'\0') return E_FAIL;
  body.pop_back();
  *text = std::move(body);
  return S_OK;
}

}  // namespace

KivResult WriteStreamText(IKivStream* stream, const std::u16string& text) {
  if (!stream) return E_POINTER;
  const uint64_t bytes = (text.size() + 1) * sizeof(char16_t);
  if (bytes > kMaxStreamTextBytes) return E_INVALIDARG;
  KivResult r = WriteU32(stream, static_cast<uint32_t>(bytes));
  if (Succeeded(r)) r = WriteExactly(stream, text.c_str(), static_cast<uint32_t>(bytes));
  return r;
}

KivResult ReadStreamText(IKivStream* stream, std::u16string* text) {
  if (!stream || !text) return E_POINTER;
  uint64_t start = 0;
  if (const KivResult r = Position(stream, &start); Failed(r)) return r;
  const KivResult r = ReadTextBody(stream, text);
  if (Failed(r)) (void)SeekTo(stream, start);
  return r;
}

KivResult WriteConstantData(IKivStream* stream, const std::vector<ConstantRecord>& records) {
  if (!stream) return E_POINTER;
  KivResult r = stream->SetSize(0);
  if (Succeeded(r)) r = WriteHeader(stream, static_cast<uint32_t>(records.size()));
  if (Succeeded(r)) r = WriteRecords(stream, records);
  return r;
}

KivResult AppendConstantData(IKivStream* stream, const std::vector<ConstantRecord>& records) {
  if (!stream) return E_POINTER;
  uint32_t count = 0;
  KivResult r = ReadHeader(stream, &count);
  if (Succeeded(r)) r = WriteHeader(stream, count + static_cast<uint32_t>(records.size()));
  if (Succeeded(r)) r = stream->Seek(0, STREAM_SEEK_END, nullptr);
  if (Succeeded(r)) r = WriteRecords(stream, records);
  return r;
}

KivResult ReadConstantData(IKivStream* stream, std::vector<ConstantRecord>* records) {
  if (!stream || !records) return E_POINTER;
  uint32_t count = 0;
  if (const KivResult r = ReadHeader(stream, &count); Failed(r)) return r;
  std::vector<ConstantRecord> read;
  for (uint32_t i = 0; i < count; ++i) {
    ConstantRecord record;
    if (const KivResult r = ReadRecord(stream, &record); Failed(r)) return r;
    read.push_back(std::move(record));
  }
  *records = std::move(read);
  return S_OK;
}

}  // namespace velmar
