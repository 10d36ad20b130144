// CVelmar: replacing a database in the settings file. The new database is
// saved beside the old one first; a failure up to there changes nothing.
// From there on the file must not be left without one, so a failed step
// ends the process with that step's text.
#include <type_traits>

#include "core/fatal_stop.h"
#include "core/settings_file.h"
#include "core/velmar.h"
#include "velmar/quantity_to_color_mapping.h"

namespace velmar {

namespace {

namespace n = settings_names;

// Ends the process; E_FAIL only when a test's routine returns.
KivResult Fatal(const std::u16string& text) {
  FatalStop(text);
  return E_FAIL;
}

}  // namespace

template <class I, class Sink, class Notification>
KivResult CVelmar::ReplaceDatabase(I* incoming, ComPtr<I>& held, Sink* sink, ComPtr<IKivStorage>& open,
                                   const DatabaseReplacement& t, const Guid& storageClass,
                                   Notification notification) {
  if (!incoming) return E_INVALIDARG;
  if (!storage_) return E_FAIL;
  auto persist = QueryAs<IKivPersistStorage>(incoming);
  if (!persist) return E_INVALIDARG;
  ComPtr<I> keep(incoming);
  ComPtr<IKivStorage> temp;
  if (Failed(CreateClassStorage(storage_.Get(), t.temp, storageClass, temp.Put()))) return E_FAIL;
  if (Failed(persist->Save(temp.Get(), KIV_FALSE)) || Failed(persist->SaveCompleted(temp.Get()))) {
    (void)persist->HandsOffStorage();
    temp = nullptr;
    (void)storage_->DestroyElement(t.temp);
    return E_FAIL;
  }
  // No way back from here.
  if (Failed(persist->HandsOffStorage())) return Fatal(t.closeOld);
  if (Failed(temp->Commit(STGC_DEFAULT))) return Fatal(t.saveNew);
  temp = nullptr;
  if (held) {
    sink->Disconnect(held.Get());
    auto old = QueryAs<IKivPersistStorage>(held.Get());
    if (!old) return Fatal(t.askOld);
    if (Failed(old->HandsOffStorage())) return Fatal(t.removeOld);
    held = nullptr;
  }
  held = keep;
  (void)sink->Connect(held.Get());
  if constexpr (std::is_same_v<I, IKivChannelPropertyFactory>) {
    (void)held->SetQuantityToColorMapping(QueryAs<IKivQuantityToColorMapping>(quantityToColorMapping_.Get()).Get());
  }
  open = nullptr;
  if (Failed(storage_->DestroyElement(t.name))) return Fatal(t.deleteOld);
  if (Failed(storage_->RenameElement(t.temp, t.name))) return Fatal(t.renameNew);
  if (Failed(storage_->Commit(STGC_DEFAULT))) return Fatal(t.commitRoot);
  if (Failed(storage_->OpenStorage(t.name, kElementStream, open.Put()))) return Fatal(t.openNew);
  if (Failed(persist->SaveCompleted(open.Get()))) return Fatal(t.completeNew);
  MarkDirty();
  ComPtr<IKivUnknown> self(PrimaryUnknown());
  (void)FireNotification(notification, AsVelmar(), keep.Get());
  return S_OK;
}

KivResult CVelmar::SetChannelPropertyFactory(IKivChannelPropertyFactory* factory) {
  return ReplaceDatabase(factory, channelPropertyFactory_, channelPropertySink_.Get(), channelPropertiesStorage_,
                         ChannelDatabaseReplacement(), CLSID_SettingsChannelProperties,
                         &IKivVelmarNotifications::ChannelPropertyFactoryChanged);
}

KivResult CVelmar::SetEventPropertyFactory(IKivEventPropertyFactory* factory) {
  return ReplaceDatabase(factory, eventPropertyFactory_, eventPropertySink_.Get(), eventPropertiesStorage_,
                         EventDatabaseReplacement(), CLSID_SettingsEventProperties,
                         &IKivVelmarNotifications3::EventPropertyFactoryChanged);
}

KivResult CVelmar::SetGroupFactory(IKivGroupFactory* factory) {
  if (!factory) return E_INVALIDARG;
  if (!storage_) return E_FAIL;
  auto persist = QueryAs<IKivPersistStream>(factory);
  if (!persist) return E_INVALIDARG;
  ComPtr<IKivGroupFactory> keep(factory);
  ComPtr<IKivStream> temp;
  if (Failed(storage_->CreateStream(n::kGroupsTemp, kNewElement, temp.Put()))) return E_FAIL;
  if (Failed(persist->Save(temp.Get(), KIV_TRUE))) {
    temp = nullptr;
    (void)storage_->DestroyElement(n::kGroupsTemp);
    return E_FAIL;
  }
  temp = nullptr;
  const GroupReplacementTexts& t = GroupDatabaseReplacement();
  if (groupFactory_) groupSink_->Disconnect(groupFactory_.Get());
  groupFactory_ = keep;
  (void)groupSink_->Connect(groupFactory_.Get());
  groupsStream_ = nullptr;
  if (Failed(storage_->DestroyElement(n::kGroups))) return Fatal(t.deleteOld);
  if (Failed(storage_->RenameElement(n::kGroupsTemp, n::kGroups))) return Fatal(t.renameNew);
  if (Failed(storage_->Commit(STGC_DEFAULT))) return Fatal(t.commitRoot);
  if (Failed(storage_->OpenStream(n::kGroups, kElementStream, groupsStream_.Put()))) return Fatal(t.openNew);
  MarkDirty();
  ComPtr<IKivUnknown> self(PrimaryUnknown());
  (void)FireNotification(&IKivVelmarNotifications::GroupFactoryChanged, AsVelmar(), keep.Get());
  return S_OK;
}

// Writes the map held into a new "Circuit Map" and commits the file.
KivResult CVelmar::StoreCircuitMap() {
  const MapReplacementTexts& t = MapDataReplacement();
  circuitMapStorage_ = nullptr;
  if (Failed(storage_->DestroyElement(n::kCircuitMap))) return Fatal(t.deleteOld);
  if (Failed(storage_->CreateStorage(n::kCircuitMap, kNewElement, circuitMapStorage_.Put()))) {
    return Fatal(t.createNew);
  }
  if (!circuitMapData_) return S_OK;
  auto persist = QueryAs<IKivPersistStorage>(circuitMapData_.Get());
  if (!persist || Failed(WriteMap(circuitMapStorage_.Get())) || Failed(persist->SaveCompleted(circuitMapStorage_.Get())) ||
      Failed(persist->HandsOffStorage())) {
    return Fatal(t.writeNew);
  }
  if (Failed(storage_->Commit(STGC_DEFAULT))) return Fatal(t.commitRoot);
  if (Failed(persist->SaveCompleted(circuitMapStorage_.Get()))) return Fatal(t.writeNew);
  return S_OK;
}

KivResult CVelmar::SetCircuitMapData(IKivCircuitMapData* map) {
  if (map == circuitMapData_.Get()) return S_FALSE;
  ComPtr<IKivCircuitMapData> keep(map);
  if (circuitMapData_) {
    if (auto old = QueryAs<IKivPersistStorage>(circuitMapData_.Get())) (void)old->HandsOffStorage();
  }
  InstallCircuitMap(keep);
  if (storage_) {
    if (KivResult r = StoreCircuitMap(); Failed(r)) return r;
  }
  MarkDirty();
  ComPtr<IKivUnknown> self(PrimaryUnknown());
  (void)FireNotification(&IKivVelmarNotifications::CircuitMapDataChanged, AsVelmar(), map);
  return S_OK;
}

}  // namespace velmar
