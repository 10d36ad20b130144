// The persisted form of a data selection: its storage's five streams.

#include "core/stream_values.h"
#include "regions/time_region_navigator.h"
#include "outing/factory/outing_factory.h"
#include "tasks/data_selection.h"
#include "velmar/class_registry.h"

namespace velmar {
namespace {

constexpr uint32_t kSelectionStreamVersion = 2;
constexpr uint32_t kOffsetsVersion = 1;
constexpr uint32_t kPopUpsVersion = 1;
constexpr char16_t kVersionStream[] = u"Version";
constexpr char16_t kPropertiesStream[] = u"Data Selection Properties";
constexpr char16_t kNavigatorStream[] = u"Time Region Navigator";
constexpr char16_t kOffsetsStream[] = u"Channel Value Offsets";
constexpr char16_t kPopUpsStream[] = u"Pop-Up Alarms";
constexpr uint32_t kStreamMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

KivResult Rewind(IKivStream* stream) { return stream->Seek(0, STREAM_SEEK_SET, nullptr); }

}  // namespace

SelectionProperties CDataSelection::Properties() const {
  SelectionProperties p;
  p.colour = colour_;
  p.start = start_;
  p.end = end_;
  p.timeOffset = timeOffset_;
  p.includeAuxiliary = includeAuxiliary_;
  p.clientFlag = clientFlag_;
  p.overrideProperties = overrideProperties_;
  p.regionName = outing_ ? regionName_ : u"Empty";
  p.label = label_;
  if (outing_) {
    (void)outing_->GetFileName(&p.path);
    if (auto withId = QueryAs<IKivOuting2>(outing_.Get())) (void)withId->GetOutingId(&p.outingId);
  }
  return p;
}

// Without a storage (a selection not yet placed in a task's file) there is
// nothing to write.
KivResult CDataSelection::WriteHeader(uint32_t) {
  return streams_.properties ? WriteSelectionHeader(streams_.properties.Get(), Properties()) : S_OK;
}

KivResult CDataSelection::WriteTexts() {
  return streams_.properties ? WriteSelectionTexts(streams_.properties.Get(), Properties()) : S_OK;
}

KivResult CDataSelection::WriteNavigator() {
  IKivStream* stream = streams_.navigator.Get();
  if (!stream) return S_OK;
  if (KivResult r = Rewind(stream); Failed(r)) return r;
  auto persist = QueryAs<IKivPersistStream>(finder_.Get());
  Guid clsid;
  if (!persist || Failed(persist->GetClassId(&clsid))) return EndStreamHere(stream);
  // The identifier's in-memory form, as the platform writes one.
  static_assert(sizeof(Guid) == 16);
  if (KivResult r = WriteStreamBytes(stream, &clsid, sizeof clsid); Failed(r)) return r;
  if (KivResult r = persist->Save(stream, KIV_TRUE); Failed(r)) return r;
  return EndStreamHere(stream);
}

KivResult CDataSelection::WriteOffsets() {
  IKivStream* stream = streams_.offsets.Get();
  if (!stream) return S_OK;
  std::vector<std::pair<std::u16string, double>> kept;
  for (const auto& [name, offset] : channelOffsets_)
    if (offset != 0.0) kept.emplace_back(name, offset);
  if (KivResult r = Rewind(stream); Failed(r)) return r;
  if (KivResult r = WriteStreamU32(stream, kOffsetsVersion); Failed(r)) return r;
  if (KivResult r = WriteStreamU32(stream, static_cast<uint32_t>(kept.size())); Failed(r)) return r;
  for (const auto& [name, offset] : kept) {
    if (KivResult r = WriteStreamText(stream, name); Failed(r)) return r;
    if (KivResult r = WriteStreamBytes(stream, &offset, sizeof offset); Failed(r)) return r;
  }
  return EndStreamHere(stream);
}

KivResult CDataSelection::WritePopUps() {
  IKivStream* stream = streams_.popUps.Get();
  if (!stream) return S_OK;
  const uint8_t flag = popUpAlarms_ ? 1 : 0;
  if (KivResult r = Rewind(stream); Failed(r)) return r;
  if (KivResult r = WriteStreamU32(stream, kPopUpsVersion); Failed(r)) return r;
  if (KivResult r = WriteStreamBytes(stream, &flag, 1); Failed(r)) return r;
  return EndStreamHere(stream);
}

KivResult CDataSelection::CreateStreams(IKivStorage* storage, Streams* out) {
  Streams s;
  s.storage = storage;
  const std::pair<const char16_t*, ComPtr<IKivStream>*> streams[] = {
      {kVersionStream, &s.version},     {kPropertiesStream, &s.properties}, {kNavigatorStream, &s.navigator},
      {kOffsetsStream, &s.offsets},     {kPopUpsStream, &s.popUps}};
  for (const auto& [name, stream] : streams) {
    if (KivResult r = storage->CreateStream(name, kStreamMode | STGM_CREATE, stream->Put()); Failed(r)) return r;
  }
  *out = std::move(s);
  return S_OK;
}

KivResult CDataSelection::OpenStreams(IKivStorage* storage, Streams* out) {
  Streams s;
  s.storage = storage;
  const std::pair<const char16_t*, ComPtr<IKivStream>*> streams[] = {
      {kVersionStream, &s.version}, {kPropertiesStream, &s.properties}, {kNavigatorStream, &s.navigator}};
  for (const auto& [name, stream] : streams) {
    if (KivResult r = storage->OpenStream(name, kStreamMode, stream->Put()); Failed(r)) return r;
  }
  *out = std::move(s);
  return S_OK;
}

KivResult CDataSelection::InitNew(IKivStorage* storage) {
  if (!storage) return E_POINTER;
  if (streams_.storage) return E_UNEXPECTED;
  Streams s;
  if (KivResult r = CreateStreams(storage, &s); Failed(r)) return r;
  streams_ = std::move(s);
  dirty_ = true;
  for (KivResult r : {RewriteStreamU32(streams_.version.Get(), kSelectionStreamVersion), WriteHeader(0),
                      WriteTexts(), WriteNavigator(), WriteOffsets(), WritePopUps()}) {
    if (Failed(r)) return r;
  }
  return S_OK;
}

KivResult CDataSelection::Save(IKivStorage* storage, KivBool sameAsLoad) {
  if (!storage) return E_POINTER;
  if (sameAsLoad != KIV_FALSE && storage == streams_.storage.Get()) {
    dirty_ = false;
    return S_OK;  // every change was written as it happened
  }
  // Another file: everything anew there; the held streams stay until SaveCompleted.
  Streams held = std::move(streams_);
  Streams target;
  KivResult r = CreateStreams(storage, &target);
  if (Succeeded(r)) {
    streams_ = std::move(target);
    for (KivResult w : {RewriteStreamU32(streams_.version.Get(), kSelectionStreamVersion), WriteHeader(0),
                        WriteTexts(), WriteNavigator(), WriteOffsets(), WritePopUps()}) {
      if (Failed(w) && Succeeded(r)) r = w;
    }
  }
  streams_ = std::move(held);
  if (Succeeded(r)) dirty_ = false;
  return r;
}

KivResult CDataSelection::SaveCompleted(IKivStorage* storage) {
  if (!storage) return S_OK;
  Streams s;
  if (KivResult r = OpenStreams(storage, &s); Failed(r)) return r;
  (void)storage->OpenStream(kOffsetsStream, kStreamMode, s.offsets.Put());
  (void)storage->OpenStream(kPopUpsStream, kStreamMode, s.popUps.Put());
  streams_ = std::move(s);
  return S_OK;
}

KivResult CDataSelection::HandsOffStorage() {
  streams_ = Streams{};
  return S_OK;
}

KivResult CDataSelection::LoadProperties(SelectionProperties* p) {
  uint32_t version = 0;
  if (Failed(Rewind(streams_.version.Get())) || Failed(ReadStreamU32(streams_.version.Get(), &version)))
    return E_FAIL;
  if (version > kSelectionStreamVersion) return STG_E_OLDDLL;
  if (version < kSelectionStreamVersion && Failed(RewriteStreamU32(streams_.version.Get(), kSelectionStreamVersion)))
    return E_FAIL;
  return ReadSelectionProperties(streams_.properties.Get(), p);
}

KivResult CDataSelection::LoadNavigator(const SelectionProperties& p) {
  Guid clsid;
  IKivStream* stream = streams_.navigator.Get();
  ComPtr<IKivTimeRegionFinder> finder;
  if (Succeeded(Rewind(stream)) && Succeeded(ReadStreamBytes(stream, &clsid, sizeof clsid))) {
    if (Succeeded(ClassRegistry::Process().CreateInstance(clsid, &finder))) {
      if (auto persist = QueryAs<IKivPersistStream>(finder.Get())) (void)persist->Load(stream);
    }
  }
  ComPtr<IKivUnknown> made;
  if (KivResult r = CreateTimeRegionNavigator(made.Put()); Failed(r)) return r;
  auto navigator = made.As<IKivTimeRegionNavigator2>();
  if (finder) (void)navigator->SetFinder(finder.Get());
  AttachNavigator(navigator.Get());
  if (auto concrete = made.As<IKivTimeRegionNavigator>()) {
    static_cast<CTimeRegionNavigator*>(concrete.Get())->AttachSaved(this, p.start, p.end);
  }
  if (finder_) {
    (void)finder_->SetOuting(outing_.Get());
    if (realTime()) {
      (void)navigator->SelectDefaultRegion(this);
    } else {
      ComPtr<IKivTimeRegions> regions;
      (void)finder_->GetRegions(regions.Put());
    }
  }
  return S_OK;
}

KivResult CDataSelection::LoadOffsets() {
  ComPtr<IKivStream> stream;
  if (Failed(streams_.storage->OpenStream(kOffsetsStream, kStreamMode, stream.Put()))) {
    if (KivResult r = streams_.storage->CreateStream(kOffsetsStream, kStreamMode, stream.Put()); Failed(r)) return r;
    streams_.offsets = stream;
    return WriteOffsets();
  }
  streams_.offsets = stream;
  uint32_t version = 0, count = 0;
  if (Failed(ReadStreamU32(stream.Get(), &version))) return E_FAIL;
  if (version != kOffsetsVersion) return STG_E_OLDDLL;
  if (Failed(ReadStreamU32(stream.Get(), &count))) return E_FAIL;
  for (uint32_t i = 0; i < count; ++i) {
    std::u16string name;
    double offset = 0;
    if (Failed(ReadStreamText(stream.Get(), &name)) || Failed(ReadStreamBytes(stream.Get(), &offset, sizeof offset)))
      return E_FAIL;
    channelOffsets_[name] = offset;
  }
  return S_OK;
}

KivResult CDataSelection::LoadPopUps() {
  ComPtr<IKivStream> stream;
  const KivResult opened = streams_.storage->OpenStream(kPopUpsStream, kStreamMode, stream.Put());
  if (opened == STG_E_FILENOTFOUND) {
    if (KivResult r = streams_.storage->CreateStream(kPopUpsStream, kStreamMode, stream.Put()); Failed(r)) return r;
    streams_.popUps = stream;
    popUpAlarms_ = true;
    return WritePopUps();
  }
  if (Failed(opened)) return opened;
  streams_.popUps = stream;
  uint32_t version = 0;
  uint8_t flag = 1;
  if (Failed(ReadStreamU32(stream.Get(), &version))) return E_FAIL;
  if (version != kPopUpsVersion) return STG_E_OLDDLL;
  if (Failed(ReadStreamBytes(stream.Get(), &flag, 1))) return E_FAIL;
  popUpAlarms_ = flag != 0;
  return S_OK;
}

KivResult CDataSelection::Load(IKivStorage* storage) {
  if (!storage) return E_POINTER;
  if (streams_.storage) return E_UNEXPECTED;
  Streams s;
  if (KivResult r = OpenStreams(storage, &s); Failed(r)) return r;
  streams_ = std::move(s);
  SelectionProperties p;
  if (KivResult r = LoadProperties(&p); Failed(r)) return r;
  overrideProperties_ = p.overrideProperties;
  label_ = p.label;
  labelTaken_ = !label_.empty();
  if (!p.path.empty() && !p.outingId.empty()) {
    ComPtr<IKivUnknown> made;
    ComPtr<IKivOuting> outing;
    if (Succeeded(CreateOutingFactory(made.Put()))) {
      auto factory = made.As<IKivNewOutingFactory5>();
      const Variant paths = MakeTextArray({p.path});
      OutingList outings;
      if (factory && Succeeded(factory->CreateEx(KIV_FALSE, ToKivBool(p.overrideProperties), p.outingId, &paths,
                                                 &outings)) &&
          outings.size() == 1)
        outing = outings.front();
    }
    if (outing) AttachOuting(outing.Get(), true);
  }
  if (KivResult r = LoadNavigator(p); Failed(r)) return r;
  colour_ = p.colour;
  start_ = p.start;
  end_ = p.end;
  includeAuxiliary_ = p.includeAuxiliary;
  clientFlag_ = p.clientFlag;
  if (realTime()) {
    regionName_ = u"Unknown";
  } else {
    timeOffset_ = p.timeOffset;
    if (outing_) (void)outing_->SetTimeOffset(timeOffset_);
    regionName_ = p.regionName;
  }
  if (p.version < kSelectionHeaderVersion) {
    if (Failed(WriteHeader(0)) || Failed(WriteTexts())) return E_FAIL;
  }
  if (KivResult r = LoadOffsets(); Failed(r)) return r;
  if (KivResult r = LoadPopUps(); Failed(r)) return r;
  dirty_ = false;
  return S_OK;
}

}  // namespace velmar
