// CVelmar: the settings file. InitNew lays it out, Load reads it (bringing
// a file of an older version up to date in place first), Save writes it,
// SaveCompleted and HandsOffStorage let go of it and take it back.
#include "core/data_factory_branding.h"
#include "core/persisted_object.h"
#include "core/settings_file.h"
#include "core/stream_values.h"
#include "core/velmar.h"
#include "velmar/class_registry.h"

namespace velmar {

namespace {

namespace n = settings_names;

// Holds a flag set for the life of one operation.
class FlagScope {
 public:
  explicit FlagScope(bool& flag) : flag_(flag) { flag_ = true; }
  ~FlagScope() { flag_ = false; }
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;

 private:
  bool& flag_;
};

KivResult CreateElementStream(IKivStorage* storage, const char16_t* name, ComPtr<IKivStream>* out) {
  return storage->CreateStream(name, kNewElement, out->Put());
}

KivResult OpenElementStream(IKivStorage* storage, const char16_t* name, ComPtr<IKivStream>* out) {
  return storage->OpenStream(name, kElementStream, out->Put());
}

KivResult WriteU32Stream(IKivStorage* storage, const char16_t* name, uint32_t value, ComPtr<IKivStream>* out) {
  if (KivResult r = CreateElementStream(storage, name, out); Failed(r)) return r;
  return RewriteStreamU32(out->Get(), value);
}

// The code of the first failed step of a chain, or S_OK.
template <class... Steps>
KivResult Chain(Steps&&... steps) {
  KivResult r = S_OK;
  ((r = Succeeded(r) ? steps() : r), ...);
  return Failed(r) ? r : S_OK;
}

KivResult CommitStream(IKivStream* stream) { return stream ? stream->Commit(STGC_DEFAULT) : S_OK; }

KivResult PersistStorage(IKivUnknown* object, IKivPersistStorage** out) {
  return object ? object->QueryInterface(IKivPersistStorage::iid, reinterpret_cast<void**>(out)) : E_NOINTERFACE;
}

}  // namespace

KivResult CVelmar::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivVelmar;
  return S_OK;
}

KivResult CVelmar::SaveSmallObject(IKivUnknown* object, IKivStream* stream) {
  auto persisted = QueryAs<CPersistedObject>(object);
  if (!persisted) return E_FAIL;
  return RewriteStream(stream, [&](IKivStream* s) { ThrowIfFailed(persisted->Save(s)); });
}

// Real-time settings and the like keep their state through IKivPersistStream
// when they offer it; the stream exists either way.
KivResult CVelmar::SaveOptionalStream(IKivUnknown* object, IKivStream* stream) {
  auto persist = QueryAs<IKivPersistStream>(object);
  if (!persist) return S_OK;
  return OverwriteStream(stream, [&](IKivStream* s) { ThrowIfFailed(persist->Save(s, KIV_TRUE)); });
}

KivResult CVelmar::SaveGroups(IKivStream* stream) {
  auto persist = QueryAs<IKivPersistStream>(groupFactory_.Get());
  if (!persist) return E_FAIL;
  return RewriteStream(stream, [&](IKivStream* s) { ThrowIfFailed(persist->Save(s, KIV_TRUE)); });
}

// InitNew.

KivResult CVelmar::InitNewStorage(IKivStorage* storage) {
  FlagScope scope(initialising_);
  storage_ = storage;
  return Chain([&] { return InitNewSmallObjects(); }, [&] { return InitNewDatabases(); },
               [&] { return InitNewSharedElements(); },
               [&] { return InitNewDataFactories(storage_.Get(), DataFactoryListContent{}); },
               [&] { return dataFactories_.Apply(MandatoryDataFactories(), *this); });
}

KivResult CVelmar::InitNewSmallObjects() {
  IKivStorage* s = storage_.Get();
  auto reset = [](IKivUnknown* object) {
    auto persisted = QueryAs<CPersistedObject>(object);
    return persisted ? persisted->Reset() : E_FAIL;
  };
  return Chain([&] { return WriteU32Stream(s, n::kVersion, kSettingsFileVersion, &versionStream_); },
               [&] { return CreateElementStream(s, n::kPriorities, &prioritiesStream_); },
               [&] { return CreateElementStream(s, n::kFavorites, &favoritesStream_); },
               [&] { return CreateElementStream(s, n::kColourTable, &colourTableStream_); },
               [&] { return CreateElementStream(s, n::kSettings, &settingsStream_); },
               [&] { return WriteSettingsStream(settingsStream_.Get(), settings_); },
               [&] { return reset(priorities_.Get()); },
               [&] { return SaveSmallObject(priorities_.Get(), prioritiesStream_.Get()); },
               [&] { return QueryAs<IKivPersistStorage>(quantityToColorMapping_.Get())->InitNew(s); },
               [&] { return reset(colourTable_.Get()); },
               [&] { return SaveSmallObject(colourTable_.Get(), colourTableStream_.Get()); },
               [&] { return reset(favorites_.Get()); },
               [&] { return SaveSmallObject(favorites_.Get(), favoritesStream_.Get()); });
}

KivResult CVelmar::InitNewDatabases() {
  IKivStorage* s = storage_.Get();
  auto initNew = [](IKivUnknown* object, IKivStorage* storage) {
    ComPtr<IKivPersistStorage> persist;
    if (KivResult r = PersistStorage(object, persist.Put()); Failed(r)) return r;
    return persist->InitNew(storage);
  };
  return Chain(
      [&] { return CreateClassStorage(s, n::kTasks, CLSID_KivTasks, tasksStorage_.Put()); },
      [&] { return initNew(tasks_.Get(), tasksStorage_.Get()); },
      [&] {
        return CreateClassStorage(s, n::kChannelProperties, CLSID_SettingsChannelProperties,
                                  channelPropertiesStorage_.Put());
      },
      [&] { return initNew(channelPropertyFactory_.Get(), channelPropertiesStorage_.Get()); },
      [&] {
        return CreateClassStorage(s, n::kEventProperties, CLSID_SettingsEventProperties,
                                  eventPropertiesStorage_.Put());
      },
      [&] { return initNew(eventPropertyFactory_.Get(), eventPropertiesStorage_.Get()); },
      [&] { return CreateElementStream(s, n::kGroups, &groupsStream_); },
      [&] { return SaveGroups(groupsStream_.Get()); },
      [&] {
        return CreateClassStorage(s, n::kGlobalConstants, CLSID_KivGlobalConstantFactory, constantsStorage_.Put());
      },
      [&] { return initNew(globalConstantFactory_.Get(), constantsStorage_.Get()); });
}

KivResult CVelmar::InitNewSharedElements() {
  IKivStorage* s = storage_.Get();
  return Chain([&] { return s->CreateStorage(n::kCircuitMap, kNewElement, circuitMapStorage_.Put()); },
               [&] { return CreateElementStream(s, n::kRealTimeSettings, &realTimeSettingsStream_); },
               [&] { return SaveOptionalStream(realTimeSettings_.Get(), realTimeSettingsStream_.Get()); },
               [&] { return CreateElementStream(s, n::kCommonChannels, &commonChannelsStream_); },
               [&] {
                 // The process-wide store goes into the first new file only.
                 if (!shared_.commonChannels || shared_.commonChannels->Written()) return S_OK;
                 shared_.commonChannels->SetWritten();
                 return shared_.commonChannels->Write(commonChannelsStream_.Get());
               });
}

KivResult CVelmar::InitNewDataFactories(IKivStorage* target, const DataFactoryListContent& list) {
  ComPtr<IKivStorage> factories;
  ComPtr<IKivStream> version;
  ComPtr<IKivStream> stream;
  const KivResult r =
      Chain([&] { return CreateClassStorage(target, n::kDataFactories, CLSID_SettingsDataFactories, factories.Put()); },
            [&] { return WriteU32Stream(factories.Get(), n::kVersion, kDataFactoriesVersion, &version); },
            [&] { return CreateElementStream(factories.Get(), n::kDataFactoryList, &stream); },
            [&] { return WriteDataFactoryList(stream.Get(), list); });
  if (Failed(r)) return r;
  if (target == storage_.Get()) {
    factoryStore_.Attach(std::move(factories), std::move(stream));
    dataFactoryStorage_ = &factoryStore_;
  }
  return S_OK;
}

// Load.

KivResult CVelmar::LoadStorage(IKivStorage* storage) {
  ComPtr<IKivStream> version;
  uint32_t fileVersion = 0;
  if (Failed(OpenElementStream(storage, n::kVersion, &version)) || Failed(ReadStreamU32(version.Get(), &fileVersion))) {
    return E_FAIL;
  }
  if (fileVersion > kSettingsFileVersion) return STG_E_OLDDLL;  // nothing in the file has changed
  FlagScope scope(loading_);
  storage_ = storage;
  versionStream_ = std::move(version);
  const KivResult r = Chain(
      [&] { return LoadSmallObjects(fileVersion); }, [&] { return LoadSettingsStream(fileVersion); },
      [&] {
        return fileVersion == kSettingsFileVersion ? S_OK : RewriteStreamU32(versionStream_.Get(), kSettingsFileVersion);
      },
      [&] { return LoadDatabases(fileVersion); }, [&] { return LoadSharedElements(); },
      [&] { return LoadCircuitMap(fileVersion); }, [&] { return LoadDataFactories(); });
  if (Succeeded(r)) dirty_ = std::exchange(staleAfterLoad_, false);
  return r;
}

KivResult CVelmar::LoadSmallObjects(uint32_t version) {
  IKivStorage* s = storage_.Get();
  // Streams newer than the file are made with their defaults.
  auto one = [&](const char16_t* name, uint32_t since, IKivUnknown* object, ComPtr<IKivStream>* stream) {
    auto persisted = QueryAs<CPersistedObject>(object);
    if (!persisted) return E_FAIL;
    if (version < since) {
      if (KivResult r = CreateElementStream(s, name, stream); Failed(r)) return r;
      if (KivResult r = persisted->Reset(); Failed(r)) return r;
      return SaveSmallObject(object, stream->Get());
    }
    if (KivResult r = OpenElementStream(s, name, stream); Failed(r)) return r;
    return persisted->Load(stream->Get());
  };
  KivResult r = one(n::kFavorites, 4, favorites_.Get(), &favoritesStream_);
  if (Succeeded(r)) r = one(n::kColourTable, 5, colourTable_.Get(), &colourTableStream_);
  if (Succeeded(r)) r = one(n::kPriorities, 3, priorities_.Get(), &prioritiesStream_);
  if (Failed(r)) return r;
  auto mapping = QueryAs<IKivPersistStorage>(quantityToColorMapping_.Get());
  return version < 6 ? mapping->InitNew(s) : mapping->Load(s);
}

KivResult CVelmar::LoadSettingsStream(uint32_t version) {
  if (version < 2) {
    if (KivResult r = CreateElementStream(storage_.Get(), n::kSettings, &settingsStream_); Failed(r)) return r;
    return WriteSettingsStream(settingsStream_.Get(), settings_);
  }
  if (KivResult r = OpenElementStream(storage_.Get(), n::kSettings, &settingsStream_); Failed(r)) return r;
  bool old = false;
  if (KivResult r = ReadSettingsStream(settingsStream_.Get(), &settings_, &old); Failed(r)) return r;
  if (!old) return S_OK;
  // An older stream is written back at once in the current form.
  if (KivResult r = WriteSettingsStream(settingsStream_.Get(), settings_); Failed(r)) return r;
  return EndStreamHere(settingsStream_.Get());
}

KivResult CVelmar::LoadDatabases(uint32_t version) {
  IKivStorage* s = storage_.Get();
  auto load = [](IKivUnknown* object, IKivStorage* storage) {
    ComPtr<IKivPersistStorage> persist;
    if (KivResult r = PersistStorage(object, persist.Put()); Failed(r)) return r;
    return persist->Load(storage);
  };
  // Event properties came with version 3; a damaged storage is passed over.
  if (version < 3) {
    KivResult r = CreateClassStorage(s, n::kEventProperties, CLSID_SettingsEventProperties,
                                     eventPropertiesStorage_.Put());
    if (Succeeded(r)) r = QueryAs<IKivPersistStorage>(eventPropertyFactory_.Get())->InitNew(eventPropertiesStorage_.Get());
    if (Failed(r)) return r;
  } else if (Failed(OpenClassStorage(s, n::kEventProperties, CLSID_SettingsEventProperties,
                                     eventPropertiesStorage_.Put())) ||
             Failed(load(eventPropertyFactory_.Get(), eventPropertiesStorage_.Get()))) {
    eventPropertiesStorage_ = nullptr;
  }
  return Chain(
      [&] {
        return OpenClassStorage(s, n::kChannelProperties, CLSID_SettingsChannelProperties,
                                channelPropertiesStorage_.Put());
      },
      [&] { return load(channelPropertyFactory_.Get(), channelPropertiesStorage_.Get()); },
      [&] { return OpenClassStorage(s, n::kTasks, CLSID_KivTasks, tasksStorage_.Put()); },
      [&] { return OpenElementStream(s, n::kRealTimeSettings, &realTimeSettingsStream_); },
      [&] {
        auto persist = QueryAs<IKivPersistStream>(realTimeSettings_.Get());
        return persist ? persist->Load(realTimeSettingsStream_.Get()) : S_OK;
      },
      [&] { return load(tasks_.Get(), tasksStorage_.Get()); },
      [&] { return OpenElementStream(s, n::kGroups, &groupsStream_); },
      [&] { return QueryAs<IKivPersistStream>(groupFactory_.Get())->Load(groupsStream_.Get()); },
      [&] { return OpenClassStorage(s, n::kGlobalConstants, CLSID_KivGlobalConstantFactory, constantsStorage_.Put()); },
      [&] { return load(globalConstantFactory_.Get(), constantsStorage_.Get()); });
}

KivResult CVelmar::LoadSharedElements() {
  if (KivResult r = OpenElementStream(storage_.Get(), n::kCommonChannels, &commonChannelsStream_); Failed(r)) return r;
  auto& store = shared_.commonChannels;
  // The first root reads the store; later ones share what it read. A stream
  // the first new file left empty holds the defaults.
  if (!store || store->ReadFromFile()) return S_OK;
  StatStg stat;
  if (KivResult r = commonChannelsStream_->Stat(&stat); Failed(r)) return r;
  if (stat.size > 0) {
    if (KivResult r = store->Read(commonChannelsStream_.Get()); Failed(r)) return r;
  }
  store->SetReadFromFile();
  return S_OK;
}

KivResult CVelmar::LoadCircuitMap(uint32_t version) {
  IKivStorage* s = storage_.Get();
  if (version < 3) {
    if (KivResult r = s->CreateStorage(n::kCircuitMap, kNewElement, circuitMapStorage_.Put()); Failed(r)) return r;
    // The old map stream moves into the new storage; whatever happens, it goes.
    ComPtr<IKivStream> old;
    StatStg stat;
    bool moved = false;
    if (Succeeded(OpenElementStream(s, n::kOldMap, &old)) && Succeeded(old->Stat(&stat)) && stat.size > 0) {
      old = nullptr;
      moved = Succeeded(WriteClassStg(circuitMapStorage_.Get(), CLSID_SettingsOldMap)) &&
              Succeeded(s->MoveElementTo(n::kOldMap, circuitMapStorage_.Get(), n::kMapStream, STGMOVE_MOVE)) &&
              Succeeded(circuitMapStorage_->Commit(STGC_DEFAULT));
    }
    old = nullptr;
    if (!moved) (void)s->DestroyElement(n::kOldMap);
  } else if (KivResult r = s->OpenStorage(n::kCircuitMap, kElementStream, circuitMapStorage_.Put()); Failed(r)) {
    return r;
  }
  Guid clsid;
  if (Failed(ReadClassStg(circuitMapStorage_.Get(), &clsid)) || clsid.IsNull()) return S_OK;
  ComPtr<IKivCircuitMapData> map;
  if (Failed(ClassRegistry::Process().CreateInstance(clsid, &map)) || !map) return S_OK;  // no map, no error
  auto persist = QueryAs<IKivPersistStorage>(map.Get());
  if (!persist || Failed(persist->Load(circuitMapStorage_.Get()))) return E_FAIL;
  InstallCircuitMap(std::move(map));
  return S_OK;
}

void CVelmar::InstallCircuitMap(ComPtr<IKivCircuitMapData> map) {
  if (circuitMapData_) circuitMapSink_->Disconnect(circuitMapData_.Get());
  circuitMapData_ = std::move(map);
  if (circuitMapData_) (void)circuitMapSink_->Connect(circuitMapData_.Get());
}

KivResult CVelmar::LoadDataFactories() {
  ComPtr<IKivStorage> factories;
  ComPtr<IKivStream> version;
  ComPtr<IKivStream> list;
  uint32_t storedVersion = 0;
  DataFactoryListContent content;
  const KivResult r = Chain(
      [&] { return OpenClassStorage(storage_.Get(), n::kDataFactories, CLSID_SettingsDataFactories, factories.Put()); },
      [&] { return OpenElementStream(factories.Get(), n::kVersion, &version); },
      [&] { return ReadStreamU32(version.Get(), &storedVersion); },
      [&] { return storedVersion > kDataFactoriesVersion ? E_FAIL : S_OK; },
      [&] { return OpenElementStream(factories.Get(), n::kDataFactoryList, &list); },
      [&] { return ReadDataFactoryList(list.Get(), &content); });
  if (Failed(r)) return r;
  version = nullptr;
  dataFactories_.SetNextFactoryId(content.nextFactoryId);
  DataFactoryRecords wanted = MandatoryDataFactories();
  const DataFactoryBranding& branding = CurrentDataFactoryBranding();
  for (auto& entry : content.entries) {
    if (!branding.IsAllowed(entry.record)) continue;  // excluded: its storage goes below
    dataFactories_.RememberStorageName(entry.record, entry.storageName);
    if (!IsMandatoryDataFactory(entry.record)) wanted.push_back(entry.record);
  }
  factoryStore_.Attach(std::move(factories), std::move(list));
  dataFactoryStorage_ = &factoryStore_;
  factoryStore_.RemoveUnknownElements(dataFactories_);
  const KivResult applied = ApplyToAllRoots(std::move(wanted));
  ReviewManagedEntries(content);
  return applied;
}

// Save.

KivResult CVelmar::Save(IKivStorage* storage, KivBool sameAsLoad) {
  if (!storage) return E_POINTER;
  if (!storage_) return E_UNEXPECTED;
  const bool same = FromKivBool(sameAsLoad) || storage == storage_.Get();
  const KivResult r = same ? SaveSameFile() : SaveOtherFile(storage);
  return Failed(r) ? E_FAIL : r;
}

KivResult CVelmar::SaveSameFile() {
  auto save = [](IKivUnknown* object, IKivStorage* storage) -> KivResult {
    ComPtr<IKivPersistStorage> persist;
    if (!storage || Failed(PersistStorage(object, persist.Put()))) return S_OK;
    if (KivResult r = persist->Save(storage, KIV_TRUE); Failed(r)) return r;
    return storage->Commit(STGC_DEFAULT);
  };
  return Chain([&] { return save(tasks_.Get(), tasksStorage_.Get()); },
               [&] { return SaveOptionalStream(realTimeSettings_.Get(), realTimeSettingsStream_.Get()); },
               [&] { return save(channelPropertyFactory_.Get(), channelPropertiesStorage_.Get()); },
               [&] { return save(eventPropertyFactory_.Get(), eventPropertiesStorage_.Get()); },
               [&] { return SaveGroups(groupsStream_.Get()); },
               [&] { return CommitStream(prioritiesStream_.Get()); },
               [&] { return CommitStream(favoritesStream_.Get()); },
               [&] { return CommitStream(colourTableStream_.Get()); },
               [&] { return QueryAs<IKivPersistStorage>(quantityToColorMapping_.Get())->Save(storage_.Get(), KIV_TRUE); },
               [&] { return CommitStream(settingsStream_.Get()); },
               [&] { return save(globalConstantFactory_.Get(), constantsStorage_.Get()); },
               [&] { return save(circuitMapData_.Get(), circuitMapStorage_.Get()); },
               [&] { return CommitStream(commonChannelsStream_.Get()); },
               [&] { return CommitStream(factoryStore_.List()); },
               [&] { return factoryStore_.SaveFactories(dataFactories_, nullptr); },
               [&] { return factoryStore_.Storage() ? factoryStore_.Storage()->Commit(STGC_DEFAULT) : S_OK; });
}

KivResult CVelmar::SaveOtherFile(IKivStorage* target) {
  ComPtr<IKivStream> stream;
  auto small = [&](const char16_t* name, IKivUnknown* object) {
    if (KivResult r = CreateElementStream(target, name, &stream); Failed(r)) return r;
    return SaveSmallObject(object, stream.Get());
  };
  auto sub = [&](const char16_t* name, const Guid& clsid, IKivUnknown* object) {
    ComPtr<IKivStorage> storage;
    ComPtr<IKivPersistStorage> persist;
    if (KivResult r = CreateClassStorage(target, name, clsid, storage.Put()); Failed(r)) return r;
    if (Failed(PersistStorage(object, persist.Put()))) return S_OK;
    if (KivResult r = persist->Save(storage.Get(), KIV_FALSE); Failed(r)) return r;
    return storage->Commit(STGC_DEFAULT);
  };
  ComPtr<IKivStream> version;
  return Chain(
      [&] { return WriteU32Stream(target, n::kVersion, kSettingsFileVersion, &version); },
      [&] { return CreateElementStream(target, n::kSettings, &stream); },
      [&] { return WriteSettingsStream(stream.Get(), settings_); },
      [&] { return small(n::kFavorites, favorites_.Get()); },
      [&] { return small(n::kColourTable, colourTable_.Get()); },
      [&] { return small(n::kPriorities, priorities_.Get()); },
      [&] { return QueryAs<IKivPersistStorage>(quantityToColorMapping_.Get())->Save(target, KIV_FALSE); },
      [&] { return sub(n::kTasks, CLSID_KivTasks, tasks_.Get()); },
      [&] { return sub(n::kChannelProperties, CLSID_SettingsChannelProperties, channelPropertyFactory_.Get()); },
      [&] { return sub(n::kEventProperties, CLSID_SettingsEventProperties, eventPropertyFactory_.Get()); },
      [&] { return CreateElementStream(target, n::kGroups, &stream); }, [&] { return SaveGroups(stream.Get()); },
      [&] { return sub(n::kGlobalConstants, CLSID_KivGlobalConstantFactory, globalConstantFactory_.Get()); },
      [&] { return CreateElementStream(target, n::kCommonChannels, &stream); },
      [&] { return shared_.commonChannels ? shared_.commonChannels->Write(stream.Get()) : S_OK; },
      [&] { return CreateElementStream(target, n::kRealTimeSettings, &stream); },
      [&] { return SaveOptionalStream(realTimeSettings_.Get(), stream.Get()); },
      [&] { return InitNewDataFactories(target, CDataFactoryStore::ContentOf(dataFactories_)); },
      [&] {
        ComPtr<IKivStorage> factories;
        if (KivResult r = target->OpenStorage(n::kDataFactories, kElementStream, factories.Put()); Failed(r)) return r;
        return factoryStore_.SaveFactories(dataFactories_, factories.Get());
      },
      [&] {
        ComPtr<IKivStorage> map;
        if (KivResult r = target->CreateStorage(n::kCircuitMap, kNewElement, map.Put()); Failed(r)) return r;
        return circuitMapData_ ? WriteMap(map.Get()) : S_OK;
      });
}

// Writes the map held into `storage`: its class identity and its content.
KivResult CVelmar::WriteMap(IKivStorage* storage) {
  Guid clsid;
  ComPtr<IKivPersistStorage> persist;
  return Chain([&] { return circuitMapData_->GetClassId(&clsid); },
               [&] { return WriteClassStg(storage, clsid); },
               [&] { return PersistStorage(circuitMapData_.Get(), persist.Put()); },
               [&] { return persist->Save(storage, KIV_FALSE); }, [&] { return storage->Commit(STGC_DEFAULT); });
}

// SaveCompleted and HandsOffStorage.

void CVelmar::ReleaseElements() {
  for (auto* stream : {&settingsStream_, &prioritiesStream_, &favoritesStream_, &colourTableStream_,
                       &commonChannelsStream_, &realTimeSettingsStream_, &versionStream_, &groupsStream_}) {
    *stream = nullptr;
  }
  for (auto* storage : {&tasksStorage_, &channelPropertiesStorage_, &eventPropertiesStorage_, &constantsStorage_,
                        &circuitMapStorage_}) {
    *storage = nullptr;
  }
  factoryStore_.Release();
  dataFactoryStorage_ = nullptr;
  dataFactories_.ForgetOpenStorages();
}

KivResult CVelmar::HandsOffStorage() {
  for (IKivUnknown* object : {static_cast<IKivUnknown*>(quantityToColorMapping_.Get()),
                              static_cast<IKivUnknown*>(tasks_.Get()),
                              static_cast<IKivUnknown*>(channelPropertyFactory_.Get()),
                              static_cast<IKivUnknown*>(eventPropertyFactory_.Get()),
                              static_cast<IKivUnknown*>(globalConstantFactory_.Get()),
                              static_cast<IKivUnknown*>(circuitMapData_.Get())}) {
    ComPtr<IKivPersistStorage> persist;
    if (Succeeded(PersistStorage(object, persist.Put()))) (void)persist->HandsOffStorage();
  }
  CDataFactoryStore::HandsOff(dataFactories_);
  ReleaseElements();
  storage_ = nullptr;
  return S_OK;
}

KivResult CVelmar::OpenElements(IKivStorage* s) {
  auto reopen = [](IKivUnknown* object, IKivStorage* storage) {
    ComPtr<IKivPersistStorage> persist;
    return Succeeded(PersistStorage(object, persist.Put())) ? persist->SaveCompleted(storage) : S_OK;
  };
  ComPtr<IKivStorage> factories;
  ComPtr<IKivStream> list;
  return Chain(
      [&] { return OpenElementStream(s, n::kVersion, &versionStream_); },
      [&] { return OpenElementStream(s, n::kSettings, &settingsStream_); },
      [&] { return OpenElementStream(s, n::kPriorities, &prioritiesStream_); },
      [&] { return OpenElementStream(s, n::kFavorites, &favoritesStream_); },
      [&] { return OpenElementStream(s, n::kColourTable, &colourTableStream_); },
      [&] { return reopen(quantityToColorMapping_.Get(), s); },
      [&] { return OpenClassStorage(s, n::kTasks, CLSID_KivTasks, tasksStorage_.Put()); },
      [&] { return reopen(tasks_.Get(), tasksStorage_.Get()); },
      [&] {
        return OpenClassStorage(s, n::kChannelProperties, CLSID_SettingsChannelProperties,
                                channelPropertiesStorage_.Put());
      },
      [&] { return reopen(channelPropertyFactory_.Get(), channelPropertiesStorage_.Get()); },
      [&] {
        return OpenClassStorage(s, n::kEventProperties, CLSID_SettingsEventProperties, eventPropertiesStorage_.Put());
      },
      [&] { return reopen(eventPropertyFactory_.Get(), eventPropertiesStorage_.Get()); },
      [&] { return OpenElementStream(s, n::kGroups, &groupsStream_); },
      [&] { return OpenClassStorage(s, n::kGlobalConstants, CLSID_KivGlobalConstantFactory, constantsStorage_.Put()); },
      [&] { return reopen(globalConstantFactory_.Get(), constantsStorage_.Get()); },
      [&] { return s->OpenStorage(n::kCircuitMap, kElementStream, circuitMapStorage_.Put()); },
      [&] { return circuitMapData_ ? reopen(circuitMapData_.Get(), circuitMapStorage_.Get()) : S_OK; },
      [&] { return OpenElementStream(s, n::kCommonChannels, &commonChannelsStream_); },
      [&] { return OpenElementStream(s, n::kRealTimeSettings, &realTimeSettingsStream_); },
      [&] { return OpenClassStorage(s, n::kDataFactories, CLSID_SettingsDataFactories, factories.Put()); },
      [&] { return OpenElementStream(factories.Get(), n::kDataFactoryList, &list); },
      [&] {
        factoryStore_.Attach(std::move(factories), std::move(list));
        dataFactoryStorage_ = &factoryStore_;
        return factoryStore_.Reopen(dataFactories_);
      });
}

KivResult CVelmar::SaveCompleted(IKivStorage* storage) {
  if (!storage) {
    for (IKivUnknown* object : {static_cast<IKivUnknown*>(quantityToColorMapping_.Get()),
                                static_cast<IKivUnknown*>(channelPropertyFactory_.Get()),
                                static_cast<IKivUnknown*>(eventPropertyFactory_.Get()),
                                static_cast<IKivUnknown*>(globalConstantFactory_.Get())}) {
      ComPtr<IKivPersistStorage> persist;
      if (Succeeded(PersistStorage(object, persist.Put()))) (void)persist->SaveCompleted(nullptr);
    }
    dirty_ = false;
    return S_OK;
  }
  ComPtr<IKivStorage> keep(storage);
  (void)HandsOffStorage();
  storage_ = storage;
  const KivResult r = OpenElements(storage);
  if (Succeeded(r)) dirty_ = false;
  return r;
}

}  // namespace velmar
