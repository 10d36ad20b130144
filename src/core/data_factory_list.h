// The root's data factories: the running ones, in order, and the storage
// name the settings file gives each factory it has ever seen
// ("DataFactory_%u"), remembered so that a factory removed and added again
// finds its state under its old name.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/data_factory_record.h"
#include "velmar/guid.h"
#include "velmar/result.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivVelmar;
class CDataFactoryList;
class ManagedToolStateListener;

// Writes the "Data Factory List" stream and hands each factory its storage
// in the settings file. Null while the root has no settings file: the list
// then lives in memory until the file is attached.
class DataFactoryListStorage {
 public:
  [[nodiscard]] virtual KivResult Store(CDataFactoryList& list) = 0;

 protected:
  ~DataFactoryListStorage() = default;
};

class CDataFactoryList {
 public:
  // What applying a list needs of the root.
  class Site {
   public:
    virtual IKivVelmar* Root() = 0;
    // The root's multi-source sink for data factory notifications.
    virtual void ConnectFactory(IKivUnknown* factory) = 0;
    virtual void DisconnectFactory(IKivUnknown* factory) = 0;
    // The root's children in the object tree.
    virtual void AddChildNode(IKivUnknown* node) = 0;
    virtual void RemoveChildNode(IKivUnknown* node) = 0;
    // Marks the settings file dirty (the root skips it while loading).
    virtual void MarkDirty() = 0;
    // The active list changed: the tasks take it.
    virtual void ActiveFactoriesChanged(const ActiveDataFactories& active) = 0;
    virtual DataFactoryListStorage* Storage() = 0;
    // A managed tool's saved state in the settings file; false for none.
    virtual bool ReadManagedState(const std::u16string& storageName, std::vector<uint8_t>* bytes) = 0;
    // Hears of managed tools whose state changed.
    virtual ManagedToolStateListener* ToolListener() = 0;
    // A managed tool's saved state didn't load: it started fresh.
    virtual void ManagedStateRejected() = 0;

   protected:
    ~Site() = default;
  };

  // Where the settings file keeps a factory's state.
  struct StorageSlot {
    std::u16string name;
    ComPtr<IKivUnknown> open;  // the open sub-storage (native) or stream (managed)
  };

  CDataFactoryList() = default;
  CDataFactoryList(const CDataFactoryList&) = delete;
  CDataFactoryList& operator=(const CDataFactoryList&) = delete;

  const ActiveDataFactories& Active() const { return active_; }
  DataFactoryRecords ActiveRecords() const;
  bool IsActive(const DataFactoryRecord& record) const;

  // Makes `wanted` the active list: keeps the factories that stay, creates
  // the new ones, names each factory's storage, stores the list and lets go
  // of the factories that left. A factory that can't be created is no
  // error: it gets its storage name, but no active entry. S_OK, or E_FAIL on
  // the first storage failure.
  [[nodiscard]] KivResult Apply(const DataFactoryRecords& wanted, Site& site);

  // Takes one factory out of the active list, stores the list and lets the
  // factory go (the review after load).
  void Drop(const DataFactoryRecord& record, Site& site);

  // Lets go of every active factory (the root is closing).
  void ReleaseAll(Site& site);

  // The storage name of a factory, if the file has one for it.
  std::optional<std::u16string> StorageNameOf(const DataFactoryRecord& record) const;
  // Remembers a storage name read from the settings file.
  void RememberStorageName(const DataFactoryRecord& record, std::u16string name);
  // The sub-storage a running factory was given (by Load or InitNew), held
  // open while it runs; none once it left or the file was let go.
  IKivUnknown* OpenStorageOf(const DataFactoryRecord& record) const;
  void SetOpenStorage(const DataFactoryRecord& record, ComPtr<IKivUnknown> open);
  void ForgetOpenStorages();
  uint32_t NextFactoryId() const { return nextFactoryId_; }
  void SetNextFactoryId(uint32_t id) { nextFactoryId_ = id; }
  const std::map<Guid, StorageSlot>& FactoriesByClass() const { return byClass_; }
  const std::map<std::u16string, StorageSlot>& FactoriesByName() const { return byName_; }

 private:
  StorageSlot* SlotOf(const DataFactoryRecord& record);
  void EnsureStorageName(const DataFactoryRecord& record);
  static ComPtr<IKivUnknown> CreateNative(const Guid& clsid, Site& site);
  void CreateManaged(ActiveDataFactory* entry, Site& site);
  void Release(ActiveDataFactory& entry, Site& site);

  ActiveDataFactories active_;
  std::map<Guid, StorageSlot> byClass_;
  std::map<std::u16string, StorageSlot> byName_;
  uint32_t nextFactoryId_ = 0;
};

// "DataFactory_%u".
std::u16string DataFactoryStorageName(uint32_t id);

}  // namespace velmar
