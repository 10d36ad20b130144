#include "outing/constants/constant_stream.h"

#include <cstring>

namespace velmar {

namespace {

KivResult SeekTo(IKivStream* stream, uint64_t position) {
  return stream->Seek(static_cast<int64_t>(position), STREAM_SEEK_SET, nullptr);
}

KivResult WriteHeader(IKivStream* stream, uint32_t count) {
  KivResult r = SeekTo(stream, 0);
  if (Succeeded(r)) r = WriteStreamU32(stream, kConstantDataHeaderSize);
  if (Succeeded(r)) r = WriteStreamU32(stream, kConstantDataVersion);
  if (Succeeded(r)) r = WriteStreamU32(stream, count);
  return r;
}

KivResult ReadHeader(IKivStream* stream, uint32_t* count) {
  uint32_t size = 0;
  uint32_t version = 0;
  KivResult r = SeekTo(stream, 0);
  if (Succeeded(r)) r = ReadStreamU32(stream, &size);
  if (Succeeded(r)) r = ReadStreamU32(stream, &version);
  if (Succeeded(r)) r = ReadStreamU32(stream, count);
  if (Failed(r)) return r;
  if (size != kConstantDataHeaderSize || version != kConstantDataVersion) return E_FAIL;
  return S_OK;
}

KivResult WriteRecord(IKivStream* stream, const ConstantRecord& record) {
  const double value = record.text.empty() ? record.value : 0.0;
  KivResult r = WriteStreamText(stream, record.name);
  if (Succeeded(r)) r = WriteStreamBytes(stream, &value, sizeof value);
  if (Succeeded(r)) r = WriteStreamText(stream, record.text);
  if (Succeeded(r)) r = WriteStreamText(stream, record.unit);
  return r;
}

KivResult ReadRecord(IKivStream* stream, ConstantRecord* record) {
  KivResult r = ReadStreamText(stream, &record->name);
  if (Succeeded(r)) r = ReadStreamBytes(stream, &record->value, sizeof record->value);
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

}  // namespace

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
