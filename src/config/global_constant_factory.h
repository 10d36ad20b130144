// CGlobalConstantFactory: a root's constant factory over the process-wide
// global constants cache. It is one of the cache's owners: a change made
// through any root reaches its clients (IKivDataFactoryNotifications for
// names that came and went) and its settings storage, which it rewrites and
// commits at once.
//
// Storage of its own (the settings file's "Global Constants"):
//   "Version"        u32, 1
//   "Constant Data"  see outing/constant_stream.h
// A storage that can't be written any more ends the process (FatalStop).
//
// Client thread only.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "core/global_constants_cache.h"
#include "core/notifications_impl.h"
#include "core/persist_storage_impl.h"
#include "core/velmar_parts.h"
#include "velmar/constants.h"
#include "velmar/data_factory.h"
#include "velmar/outing_notifications.h"
#include "velmar/persist.h"
#include "velmar/storage.h"

namespace velmar {

class CGlobalConstantFactory final
    : public KivObject<IKivConstantFactory2, IKivGlobalConstantFactoryInternal, IPersistStorageKivImpl<CGlobalConstantFactory>,
                       IKivNotificationsImpl<CGlobalConstantFactory, IKivDataFactoryNotifications>>,
      private CConstantsCacheOwner {
 public:
  // What ends the process when the storage can't be written; tests put
  // their own in. The default shows the message and exits.
  using FatalStop = std::function<void(const std::u16string& message)>;
  static void SetFatalStop(FatalStop stop);

  ~CGlobalConstantFactory() override;

  // IKivDataFactory
  KivResult GetNames(NameList* names) override;
  KivResult GetParent(IKivUnknown** parent) override;
  KivResult SetParent(IKivUnknown* parent) override;
  KivResult GetRoot(IKivUnknown** root) override;
  KivResult SetRoot(IKivUnknown* root) override;
  KivResult GetIcon(int32_t index, int32_t size, IKivUnknown** picture) override;
  // IKivConstantFactory, IKivConstantFactory2
  KivResult GetItem(const std::u16string& name, IKivConstant** constant) override;
  KivResult AddConstant(const std::u16string& name, uint32_t kind) override;
  KivResult RemoveConstant(const std::u16string& name) override;

  // IKivGlobalConstantFactoryInternal
  KivResult SetRootBackReference(IKivVelmar* root) override;
  KivResult AttachCache(std::shared_ptr<CGlobalConstantsCache> cache) override;
  KivResult ReloadSpreadsheetConstants() override;

  // Persistence of the settings file. InitNew and Load: E_POINTER for null,
  // E_UNEXPECTED while a storage is held. Load: E_FAIL for a version other
  // than 1, a bad stream or a name stored twice (the cache is then left as
  // it was); the records then take the cache's place.
  KivResult GetClassId(Guid* clsid) override;
  // Writes both streams; into a different storage when not the one held.
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  // Holds `storage` (opening its streams) from now on; null keeps the one held.
  KivResult SaveCompleted(IKivStorage* storage) override;
  // Lets go of the storage and its streams.
  KivResult HandsOffStorage() override;
  // S_OK when dirty, S_FALSE when not. Every change is written at once.
  KivResult IsDirty() override { return S_FALSE; }

  const std::shared_ptr<CGlobalConstantsCache>& Cache() const { return cache_; }

 private:
  // CConstantsCacheOwner
  void OnConstantsRemoved(const ConstantNames& names) override;
  void OnConstantsChanged(const ConstantNames& names) override;
  void OnConstantsAdded(const ConstantNames& names) override;

  friend class IPersistStorageKivImpl<CGlobalConstantFactory>;
  bool HoldsStorage() const { return storage_.Get() != nullptr; }
  [[nodiscard]] KivResult InitNewStorage(IKivStorage* storage);
  [[nodiscard]] KivResult LoadStorage(IKivStorage* storage);

  IKivDataFactory* Self() { return static_cast<IKivConstantFactory*>(this); }
  [[nodiscard]] KivResult OpenStreams(IKivStorage* storage);
  // Rewrites or appends to "Constant Data" and commits; a failure ends the process.
  void WriteThrough(bool append, const ConstantNames& names, const char16_t* failure);
  [[nodiscard]] KivResult Commit();

  std::shared_ptr<CGlobalConstantsCache> cache_;
  std::map<std::u16string, CConstantBase*> objects_;  // the last object made per name, not counted
  IKivVelmar* rootBackReference_ = nullptr;           // the owning root, not counted
  ComPtr<IKivUnknown> root_;                          // given once through SetRoot
  ComPtr<IKivUnknown> parent_;
  ComPtr<IKivStorage> storage_;
  ComPtr<IKivStream> data_;                           // "Constant Data" of storage_
  bool loading_ = false;                              // a load's merge writes nothing
};

}  // namespace velmar
