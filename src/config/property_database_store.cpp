#include "config/property_database_store.h"

#include <cstring>

#include "core/persisted_object.h"
#include "core/stream_values.h"

namespace velmar {

namespace {

constexpr char16_t kStreamName[] = u"Properties";
constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr int kMaxArrayDepth = 8;

KivResult WriteAll(IKivStream* stream, const std::string& bytes) {
  return RewriteStream(stream, [&](IKivStream* s) { WriteExact(s, bytes.data(), static_cast<uint32_t>(bytes.size())); });
}

KivResult ReadAll(IKivStream* stream, std::string* bytes) {
  StatStg stat;
  if (KivResult r = stream->Stat(&stat); Failed(r)) return r;
  if (stat.size > 0x7FFFFFFF) return E_FAIL;
  bytes->assign(stat.size, '\0');
  if (KivResult r = stream->Seek(0, STREAM_SEEK_SET, nullptr); Failed(r)) return r;
  return ReadStreamBytes(stream, bytes->data(), static_cast<uint32_t>(stat.size));
}

}  // namespace

void PropertyWriter::Text(const std::u16string& text) {
  U32(static_cast<uint32_t>((text.size() + 1) * sizeof(char16_t)));
  Raw(text.c_str(), (text.size() + 1) * sizeof(char16_t));
}

void PropertyWriter::Value(const Variant& value) {
  const Variant::Kind kind = value.kind() == Variant::Kind::kObject ? Variant::Kind::kEmpty : value.kind();
  const auto tag = static_cast<uint8_t>(kind);
  Raw(&tag, 1);
  switch (kind) {
    case Variant::Kind::kI32: I32(*value.AsI32()); break;
    case Variant::Kind::kU32: U32(*value.AsU32()); break;
    case Variant::Kind::kF64: {
      const double d = *value.AsF64();
      Raw(&d, sizeof d);
      break;
    }
    case Variant::Kind::kBool: U32(*value.AsBool() ? 1 : 0); break;
    case Variant::Kind::kText: Text(*value.AsText()); break;
    case Variant::Kind::kTime: {
      const KivTime t = *value.AsTime();
      Raw(&t, sizeof t);
      break;
    }
    case Variant::Kind::kArray:
      U32(static_cast<uint32_t>(value.AsArray()->size()));
      for (const auto& item : *value.AsArray()) Value(item);
      break;
    case Variant::Kind::kEmpty:
    case Variant::Kind::kObject: break;
  }
}

void PropertyWriter::Properties(const PropertyList& list) {
  U32(static_cast<uint32_t>(list.size()));
  for (const auto& property : list) {
    Text(property.name);
    Value(property.value);
  }
}

void PropertyReader::Raw(void* p, size_t n) {
  if (bytes_.size() - at_ < n) throw CSerialiseException{E_FAIL};
  std::memcpy(p, bytes_.data() + at_, n);
  at_ += n;
}

uint32_t PropertyReader::U32() {
  uint32_t v = 0;
  Raw(&v, sizeof v);
  return v;
}

std::u16string PropertyReader::Text() {
  const uint32_t bytes = U32();
  if (bytes == 0) return {};
  if (bytes > kMaxStreamTextBytes) throw CSerialiseException{E_ACCESSDENIED};
  if (bytes % 2 != 0) throw CSerialiseException{E_FAIL};
  std::u16string text(bytes / 2, u'\0');
  Raw(text.data(), bytes);
  if (text.back() != u'\0') throw CSerialiseException{E_FAIL};
  text.pop_back();
  return text;
}

Variant PropertyReader::Value(int depth) {
  uint8_t tag = 0;
  Raw(&tag, 1);
  switch (static_cast<Variant::Kind>(tag)) {
    case Variant::Kind::kEmpty: return {};
    case Variant::Kind::kI32: return Variant::I32(I32());
    case Variant::Kind::kU32: return Variant::U32(U32());
    case Variant::Kind::kF64: {
      double d = 0;
      Raw(&d, sizeof d);
      return Variant::F64(d);
    }
    case Variant::Kind::kBool: return Variant::Bool(U32() != 0);
    case Variant::Kind::kText: return Variant::Text(Text());
    case Variant::Kind::kTime: {
      KivTime t = 0;
      Raw(&t, sizeof t);
      return Variant::Time(t);
    }
    case Variant::Kind::kArray: {
      if (depth >= kMaxArrayDepth) break;
      const uint32_t count = U32();
      std::vector<Variant> items;
      for (uint32_t i = 0; i < count; ++i) items.push_back(Value(depth + 1));
      return Variant::Array(std::move(items));
    }
    case Variant::Kind::kObject: break;
  }
  throw CSerialiseException{E_FAIL};
}

PropertyList PropertyReader::Properties() {
  const uint32_t count = U32();
  PropertyList list;
  for (uint32_t i = 0; i < count; ++i) {
    std::u16string name = Text();
    if (name.empty()) throw CSerialiseException{E_FAIL};
    list.push_back({std::move(name), Value(0)});
  }
  return list;
}

uint32_t PropertyReader::Header() {
  if (U32() > kPropertyStreamVersion) throw CSerialiseException{STG_E_OLDDLL};
  return U32();
}

KivResult CPropertyDatabaseStore::InitNew(IKivStorage* storage, const std::string& empty) {
  if (!storage) return E_POINTER;
  if (storage_) return E_UNEXPECTED;
  ComPtr<IKivStream> stream;
  KivResult r = storage->CreateStream(kStreamName, kMode | STGM_CREATE, stream.Put());
  if (Succeeded(r)) r = WriteAll(stream.Get(), empty);
  if (Failed(r)) return r;
  storage_ = storage;
  stream_ = std::move(stream);
  return S_OK;
}

KivResult CPropertyDatabaseStore::Load(IKivStorage* storage, std::string* bytes) {
  if (!storage) return E_POINTER;
  if (storage_) return E_UNEXPECTED;
  ComPtr<IKivStream> stream;
  KivResult r = storage->OpenStream(kStreamName, kMode, stream.Put());
  if (Succeeded(r)) r = ReadAll(stream.Get(), bytes);
  if (Failed(r)) return r;
  storage_ = storage;
  stream_ = std::move(stream);
  return S_OK;
}

KivResult CPropertyDatabaseStore::Save(IKivStorage* storage, bool sameAsLoad, const std::string& bytes) {
  if (sameAsLoad) return WriteAll(stream_.Get(), bytes);
  if (!storage) return E_POINTER;
  ComPtr<IKivStream> stream;
  KivResult r = storage->CreateStream(kStreamName, kMode | STGM_CREATE, stream.Put());
  return Succeeded(r) ? WriteAll(stream.Get(), bytes) : r;
}

KivResult CPropertyDatabaseStore::SaveCompleted(IKivStorage* storage) {
  if (!storage) return S_OK;
  stream_ = nullptr;
  storage_ = storage;
  return storage->OpenStream(kStreamName, kMode, stream_.Put());
}

void CPropertyDatabaseStore::HandsOff() {
  stream_ = nullptr;
  storage_ = nullptr;
}

}  // namespace velmar
