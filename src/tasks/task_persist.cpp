// A task's storage: "Version", "Task Properties", the "Data Selections"
// storage with its list and one sub-storage per selection, and the
// "Extensions" storage with its list.
#include <new>

#include "core/stream_values.h"
#include "regions/regions_classes.h"
#include "regions/time_region_navigator.h"
#include "tasks/task.h"
#include "velmar/class_registry.h"
#include "velmar/registry.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr uint32_t kTaskVersion = 4;
constexpr char16_t kVersionStream[] = u"Version";
constexpr char16_t kPropertiesStream[] = u"Task Properties";
constexpr char16_t kSelectionsStorage[] = u"Data Selections";
constexpr char16_t kSelectionListStream[] = u"Data Selection List";
constexpr char16_t kExtensionsStorage[] = u"Extensions";
constexpr char16_t kExtensionListStream[] = u"Extension List";
constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

std::u16string Numbered(const char16_t* stem, uint32_t n) { return stem + Utf8ToWide(std::to_string(n)); }

// An extension whose class this machine lacks: its storage is kept as it
// stands and written back on save, so nothing the client stored is lost.
class CDummyTaskExtension final : public KivObject<IKivPersistStorage> {
 public:
  explicit CDummyTaskExtension(Guid clsid) : clsid_(clsid) {}
  KivResult GetClassId(Guid* clsid) override { return clsid ? (*clsid = clsid_, S_OK) : E_POINTER; }
  KivResult IsDirty() override { return S_FALSE; }
  KivResult InitNew(IKivStorage*) override { return E_UNEXPECTED; }
  KivResult Load(IKivStorage* storage) override {
    if (!storage) return E_POINTER;
    if (KivResult r = StgCreateMemoryStorage(copy_.Put()); Failed(r)) return r;
    return storage->CopyTo(copy_.Get());
  }
  KivResult Save(IKivStorage* storage, KivBool) override {
    if (!storage) return E_POINTER;
    return copy_ ? copy_->CopyTo(storage) : S_OK;
  }
  KivResult SaveCompleted(IKivStorage*) override { return S_OK; }
  KivResult HandsOffStorage() override { return S_OK; }

 private:
  Guid clsid_;
  ComPtr<IKivStorage> copy_;
};

}  // namespace

TaskProperties CTask::Properties() const {
  TaskProperties p;
  p.activeSelection = activeSelection_;
  p.colourSeed = colourSeed_;
  p.secondSelection = secondSelection_;
  p.currentTime = currentTime_;
  p.followLive = followLive_;
  p.watchEnabled = watchEnabled_;
  p.watchMode = watchMode_;
  p.watchSelection = watchSelection_;
  p.defaultRegionMode = defaultRegionMode_;
  p.defaultFinderClass = defaultFinderClass_;
  p.watchFollows = watchFollows_;
  p.name = name_;
  p.description = description_;
  p.watchFolder = watchFolder_;
  return p;
}

KivResult CTask::WriteHeader() {
  return properties_ ? WriteTaskProperties(properties_.Get(), Properties()) : S_OK;
}

KivResult CTask::WriteSelectionList() {
  return selectionList_ ? WriteNameList(selectionList_.Get(), selectionNames_) : S_OK;
}

KivResult CTask::WriteExtensionList() {
  if (!extensionList_) return S_OK;
  // Three texts a line: name, storage name, class.
  NameListStream list{extensionNames_.written, {}, 3};
  for (const auto& [name, extension] : extensions_) {
    list.names.push_back(name);
    list.names.push_back(extension.storageName);
    list.names.push_back(extension.clsid.ToWide());
  }
  return WriteNameList(extensionList_.Get(), list);
}

void CTask::ReadRegistryDefault() {
  RegistryKey key;
  uint32_t value = 0;
  if (Succeeded(RegistryKey::Open(RegHive::kCurrentUser, u"Software\\Halvane\\Kivara\\Time Regions", &key)) &&
      Succeeded(key.QueryU32(u"Default", &value)))
    hostRegionDefault_ = value;
}

KivResult CTask::OpenParts(IKivStorage* storage, bool create) {
  auto stream = [&](IKivStorage* in, const char16_t* name, ComPtr<IKivStream>* out) {
    return create ? in->CreateStream(name, kMode | STGM_CREATE, out->Put()) : in->OpenStream(name, kMode, out->Put());
  };
  auto sub = [&](const char16_t* name, ComPtr<IKivStorage>* out) {
    return create ? storage->CreateStorage(name, kMode | STGM_CREATE, out->Put())
                  : storage->OpenStorage(name, kMode, out->Put());
  };
  for (KivResult r : {stream(storage, kVersionStream, &version_), stream(storage, kPropertiesStream, &properties_),
                      sub(kSelectionsStorage, &selectionStorage_), sub(kExtensionsStorage, &extensionStorage_)}) {
    if (Failed(r)) return r;
  }
  if (KivResult r = stream(selectionStorage_.Get(), kSelectionListStream, &selectionList_); Failed(r)) return r;
  if (KivResult r = stream(extensionStorage_.Get(), kExtensionListStream, &extensionList_); Failed(r)) return r;
  storage_ = storage;
  return S_OK;
}

KivResult CTask::InitNew(IKivStorage* storage) {
  if (!storage) return E_POINTER;
  if (storage_) return E_UNEXPECTED;
  ReadRegistryDefault();
  if (KivResult r = OpenParts(storage, true); Failed(r)) return r;
  if (KivResult r = WriteStreamU32(version_.Get(), kTaskVersion); Failed(r)) return r;
  for (KivResult r : {WriteHeader(), WriteSelectionList(), WriteExtensionList()}) {
    if (Failed(r)) return r;
  }
  dirty_ = true;
  return S_OK;
}

KivResult CTask::AddSelections(uint32_t count, std::vector<ComPtr<CDataSelection>>* made) {
  std::vector<std::u16string> names;
  auto undo = [&] {
    for (auto& selection : *made) {
      selection->SetOwner(nullptr);
      selection->Close();
    }
    made->clear();
    for (const auto& name : names)
      if (selectionStorage_) (void)selectionStorage_->DestroyElement(name);
  };
  uint32_t counter = selectionNames_.written;
  for (uint32_t i = 0; i < count; ++i) {
    ComPtr<CDataSelection> selection;
    try {
      selection = MakeKiv<CDataSelection>();
    } catch (const std::bad_alloc&) {
      undo();
      return E_OUTOFMEMORY;
    }
    selection->SetOwner(this);
    made->push_back(selection);
    const std::u16string name = Numbered(u"DataSelection_", ++counter);
    ComPtr<IKivStorage> sub;
    KivResult r = S_OK;
    if (selectionStorage_) {
      names.push_back(name);
      r = selectionStorage_->CreateStorage(name, kMode | STGM_CREATE, sub.Put());
      if (Succeeded(r)) r = WriteClassStg(sub.Get(), CLSID_KivDataSelection);
      if (Succeeded(r)) r = selection->InitNew(sub.Get());
    }
    ComPtr<IKivUnknown> navigatorMade;
    ComPtr<IKivTimeRegionFinder> finder;
    if (Succeeded(r)) r = CreateTimeRegionNavigator(navigatorMade.Put());
    if (Succeeded(r)) r = MakeFinder(defaultFinderClass_, nullptr, &finder);
    auto navigator = navigatorMade.As<IKivTimeRegionNavigator>();
    if (Succeeded(r)) r = navigator->SetFinder(finder.Get());
    if (Succeeded(r)) r = selection->Update(kSelectionNavigator, nullptr, navigator.Get(), 0, 0, 1, KIV_FALSE);
    if (Failed(r)) {
      undo();
      return r;
    }
  }
  selectionNames_.written = counter;
  selectionNames_.names.insert(selectionNames_.names.end(), names.begin(), names.end());
  if (!selectionStorage_) {
    for (uint32_t n = counter - count + 1; n <= counter; ++n)
      selectionNames_.names.push_back(Numbered(u"DataSelection_", n));
  }
  return S_OK;
}

KivResult CTask::LoadSelections() {
  if (Failed(ReadNameList(selectionList_.Get(), &selectionNames_))) return E_FAIL;
  for (const std::u16string& name : selectionNames_.names) {
    ComPtr<IKivStorage> sub;
    if (KivResult r = selectionStorage_->OpenStorage(name, kMode, sub.Put()); Failed(r)) return r;
    auto selection = MakeKiv<CDataSelection>();
    selection->SetOwner(this);
    if (KivResult r = selection->Load(sub.Get()); Failed(r)) {
      selection->SetOwner(nullptr);
      selection->Close();
      return r;
    }
    selections_.push_back(selection);
  }
  return S_OK;
}

KivResult CTask::LoadExtensions() {
  NameListStream list;
  list.perLine = 3;
  if (Failed(ReadNameList(extensionList_.Get(), &list))) return E_FAIL;
  extensionNames_.written = list.written;
  for (size_t i = 0; i + 2 < list.names.size(); i += 3) {
    Extension extension;
    extension.storageName = list.names[i + 1];
    extension.clsid = Guid::Parse(list.names[i + 2]).value_or(Guid{});
    ComPtr<IKivStorage> sub;
    if (KivResult r = extensionStorage_->OpenStorage(extension.storageName, kMode, sub.Put()); Failed(r)) return r;
    ComPtr<IKivPersistStorage> object;
    if (Failed(ClassRegistry::Process().CreateInstance(extension.clsid, &object)) || !object)
      object = MakeKiv<CDummyTaskExtension>(extension.clsid);
    if (KivResult r = object->Load(sub.Get()); Failed(r)) return r;
    extension.object = object;
    extensions_[list.names[i]] = std::move(extension);
  }
  return S_OK;
}

KivResult CTask::Load(IKivStorage* storage) {
  if (!storage) return E_POINTER;
  if (storage_) return E_UNEXPECTED;
  if (KivResult r = OpenParts(storage, false); Failed(r)) return r;
  uint32_t version = 0;
  if (Failed(ReadStreamU32(version_.Get(), &version))) return E_FAIL;
  if (version > kTaskVersion) return STG_E_OLDDLL;
  TaskProperties p;
  if (KivResult r = ReadTaskProperties(properties_.Get(), &p); Failed(r)) return r;
  activeSelection_ = p.activeSelection;
  colourSeed_ = p.colourSeed;
  secondSelection_ = p.secondSelection;
  currentTime_ = p.currentTime;
  followLive_ = p.followLive;
  watchEnabled_ = p.watchEnabled;
  watchMode_ = p.watchMode;
  watchSelection_ = p.watchSelection;
  defaultRegionMode_ = p.defaultRegionMode;
  defaultFinderClass_ = p.defaultFinderClass;
  watchFollows_ = p.watchFollows;
  name_ = p.name;
  description_ = p.description;
  watchFolder_ = p.watchFolder;
  if (KivResult r = LoadSelections(); Failed(r)) return r;
  if (KivResult r = LoadExtensions(); Failed(r)) return r;
  dirty_ = false;
  if (watchEnabled_) StartWatch();
  return S_OK;
}

KivResult CTask::Save(IKivStorage* storage, KivBool sameAsLoad) {
  if (!storage) return E_POINTER;
  if (sameAsLoad != KIV_FALSE && storage == storage_.Get()) {
    dirty_ = false;
    return S_OK;  // every change was written as it happened
  }
  if (!storage_) return E_UNEXPECTED;
  // Another file: a copy of everything, as it stands.
  for (const auto& [name, extension] : extensions_) {
    ComPtr<IKivStorage> sub;
    if (Succeeded(extensionStorage_->OpenStorage(extension.storageName, kMode, sub.Put())))
      if (auto persist = QueryAs<IKivPersistStorage>(extension.object.Get())) (void)persist->Save(sub.Get(), KIV_TRUE);
  }
  const KivResult r = storage_->CopyTo(storage);
  if (Succeeded(r)) dirty_ = false;
  return r;
}

KivResult CTask::SaveCompleted(IKivStorage* storage) {
  if (storage && storage == storage_.Get()) return S_OK;
  if (storage) {
    ReleaseParts();
    if (KivResult r = OpenParts(storage, false); Failed(r)) return r;
  }
  // Selections and extensions follow into the same names in the new file.
  for (size_t i = 0; i < selections_.size() && i < selectionNames_.names.size(); ++i) {
    ComPtr<IKivStorage> sub;
    if (storage) {
      if (KivResult r = selectionStorage_->OpenStorage(selectionNames_.names[i], kMode, sub.Put()); Failed(r))
        return r;
    }
    if (KivResult r = selections_[i]->SaveCompleted(sub.Get()); Failed(r)) return r;
  }
  for (const auto& [name, extension] : extensions_) {
    auto persist = QueryAs<IKivPersistStorage>(extension.object.Get());
    if (!persist) continue;
    ComPtr<IKivStorage> sub;
    if (storage) {
      if (KivResult r = extensionStorage_->OpenStorage(extension.storageName, kMode, sub.Put()); Failed(r)) return r;
    }
    (void)persist->SaveCompleted(sub.Get());
  }
  return S_OK;
}

KivResult CTask::HandsOffStorage() {
  for (const auto& selection : selections_) (void)selection->HandsOffStorage();
  for (const auto& [name, extension] : extensions_) {
    if (auto persist = QueryAs<IKivPersistStorage>(extension.object.Get())) (void)persist->HandsOffStorage();
  }
  ReleaseParts();
  return S_OK;
}

void CTask::ReleaseParts() {
  for (auto* stream : {&version_, &properties_, &selectionList_, &extensionList_}) *stream = nullptr;
  for (auto* storage : {&selectionStorage_, &extensionStorage_, &storage_}) *storage = nullptr;
}

// Extensions.

KivResult CTask::GetExtensionNames(std::vector<std::u16string>* names) {
  if (!names) return E_POINTER;
  names->clear();
  for (const auto& [name, extension] : extensions_) names->push_back(name);
  return S_OK;
}

KivResult CTask::GetExtension(const std::u16string& name, IKivUnknown** extension) {
  if (!extension) return E_POINTER;
  *extension = nullptr;
  auto it = extensions_.find(name);
  if (it == extensions_.end()) return E_INVALIDARG;
  return GiveOut(it->second.object.Get(), extension);
}

KivResult CTask::AddExtension(const std::u16string& name, IKivUnknown* object) {
  auto persist = QueryAs<IKivPersistStorage>(object);
  if (!persist || extensions_.contains(name)) return E_INVALIDARG;
  Extension extension;
  extension.object = object;
  (void)persist->GetClassId(&extension.clsid);
  extension.storageName = Numbered(u"Extension_", extensionNames_.written + 1);
  if (extensionStorage_) {
    ComPtr<IKivStorage> sub;
    if (KivResult r = extensionStorage_->CreateStorage(extension.storageName, kMode | STGM_CREATE, sub.Put());
        Failed(r))
      return r;
    if (KivResult r = persist->Save(sub.Get(), KIV_FALSE); Failed(r)) return r;
    (void)persist->SaveCompleted(sub.Get());
  }
  ++extensionNames_.written;
  extensions_[name] = std::move(extension);
  MarkDirty();
  return Failed(WriteExtensionList()) ? E_FAIL : S_OK;
}

KivResult CTask::RemoveExtension(const std::u16string& name) {
  auto it = extensions_.find(name);
  if (it == extensions_.end()) return E_INVALIDARG;
  if (extensionStorage_) (void)extensionStorage_->DestroyElement(it->second.storageName);
  extensions_.erase(it);
  MarkDirty();
  return Failed(WriteExtensionList()) ? E_FAIL : S_OK;
}

}  // namespace velmar
