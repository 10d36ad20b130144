#include "core/settings_file.h"

#include "core/persisted_object.h"

namespace velmar {

namespace {

constexpr uint32_t kSettingsHeaderSize = 8;
constexpr uint32_t kListHeaderSize = 16;

}  // namespace

KivResult ReadSettingsStream(IKivStream* stream, CVelmarSettings* out, bool* old) {
  CVelmarSettings read;
  uint32_t version = 0;
  const KivResult r = CatchSerialise([&] {
    ThrowIfFailed(stream->Seek(0, STREAM_SEEK_SET, nullptr));
    const auto header = ReadValue<uint32_t>(stream);
    version = ReadValue<uint32_t>(stream);
    if (version > kSettingsStreamVersion) throw CSerialiseException{STG_E_OLDDLL};
    if (header < kSettingsHeaderSize) throw CSerialiseException{E_FAIL};
    ThrowIfFailed(stream->Seek(header, STREAM_SEEK_SET, nullptr));
    if (version < 3) read.legacyTimeFormat = ReadValue<uint32_t>(stream);
    if (version == 2) read.legacyTimePrecision = ReadValue<uint16_t>(stream);
    if (version >= 2) {
      read.spareA = ReadValue<uint32_t>(stream);
      read.spareB = ReadValue<uint32_t>(stream);
    }
    read.captionFormat = ReadText(stream);
  });
  if (Failed(r)) return r;
  *out = std::move(read);
  *old = version < kSettingsStreamVersion;
  return S_OK;
}

KivResult WriteSettingsStream(IKivStream* stream, const CVelmarSettings& settings) {
  return CatchSerialise([&] {
    ThrowIfFailed(stream->Seek(0, STREAM_SEEK_SET, nullptr));
    WriteValue<uint32_t>(stream, kSettingsHeaderSize);
    WriteValue<uint32_t>(stream, kSettingsStreamVersion);
    WriteValue<uint32_t>(stream, settings.spareA);
    WriteValue<uint32_t>(stream, settings.spareB);
    WriteText(stream, settings.captionFormat);
  });
}

KivResult ReadDataFactoryList(IKivStream* stream, DataFactoryListContent* out) {
  DataFactoryListContent read;
  const KivResult r = CatchSerialise([&] {
    const auto header = ReadValue<uint32_t>(stream);
    const auto version = ReadValue<uint32_t>(stream);
    const auto count = ReadValue<uint32_t>(stream);
    read.nextFactoryId = ReadValue<uint32_t>(stream);
    if (version > kDataFactoryListVersion || header < kListHeaderSize) throw CSerialiseException{E_FAIL};
    ThrowIfFailed(stream->Seek(header, STREAM_SEEK_SET, nullptr));
    for (uint32_t i = 0; i < count; ++i) {
      StoredDataFactory entry;
      const auto kind = version >= 2 ? ReadValue<uint32_t>(stream) : 0u;
      if (kind == 0) {
        entry.record = DataFactoryRecord::Native(ReadValue<Guid>(stream));
      } else if (kind == 1) {
        entry.record = DataFactoryRecord::Managed(ReadText(stream));
      } else {
        throw CSerialiseException{E_FAIL};
      }
      entry.storageName = ReadText(stream);
      read.entries.push_back(std::move(entry));
    }
  });
  if (Failed(r)) return E_FAIL;
  *out = std::move(read);
  return S_OK;
}

KivResult WriteDataFactoryList(IKivStream* stream, const DataFactoryListContent& list) {
  return RewriteStream(stream, [&](IKivStream* s) {
    WriteValue<uint32_t>(s, kListHeaderSize);
    WriteValue<uint32_t>(s, kDataFactoryListVersion);
    WriteValue<uint32_t>(s, static_cast<uint32_t>(list.entries.size()));
    WriteValue<uint32_t>(s, list.nextFactoryId);
    for (const auto& entry : list.entries) {
      WriteValue<uint32_t>(s, static_cast<uint32_t>(entry.record.kind));
      if (entry.record.kind == DataFactoryKind::kNative) {
        WriteValue<Guid>(s, entry.record.clsid);
      } else {
        WriteText(s, entry.record.typeName);
      }
      WriteText(s, entry.storageName);
    }
  });
}

KivResult CheckClass(IKivStorage* storage, const Guid& expected) {
  Guid held;
  if (Failed(ReadClassStg(storage, &held)) || held != expected) return E_FAIL;
  return S_OK;
}

KivResult CreateClassStorage(IKivStorage* parent, const char16_t* name, const Guid& clsid, IKivStorage** out) {
  ComPtr<IKivStorage> made;
  if (KivResult r = parent->CreateStorage(name, kNewElement, made.Put()); Failed(r)) return r;
  if (KivResult r = WriteClassStg(made.Get(), clsid); Failed(r)) return r;
  *out = made.Detach();
  return S_OK;
}

KivResult OpenClassStorage(IKivStorage* parent, const char16_t* name, const Guid& clsid, IKivStorage** out) {
  ComPtr<IKivStorage> opened;
  if (KivResult r = parent->OpenStorage(name, kElementStream, opened.Put()); Failed(r)) return r;
  if (KivResult r = CheckClass(opened.Get(), clsid); Failed(r)) return r;
  *out = opened.Detach();
  return S_OK;
}

}  // namespace velmar
