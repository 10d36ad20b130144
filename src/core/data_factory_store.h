// The "Data Factories" storage of the settings file as the data factory
// list sees it: the list stream rewritten on every change, and one
// sub-storage (native factories, class {612EA50A-...}) or stream (managed
// tools) per storage name, made when a factory first needs it.
//
// Client thread only.
#pragma once

#include "core/data_factory_list.h"
#include "core/settings_file.h"

namespace velmar {

class CDataFactoryStore final : public DataFactoryListStorage {
 public:
  // Holds the storage and its open list stream.
  void Attach(ComPtr<IKivStorage> storage, ComPtr<IKivStream> list);
  void Release();
  bool Attached() const { return storage_.Get() != nullptr; }
  IKivStorage* Storage() const { return storage_.Get(); }
  IKivStream* List() const { return list_.Get(); }

  // Writes the list and gives each running factory its storage.
  [[nodiscard]] KivResult Store(CDataFactoryList& list) override;
  // The file is let go: each factory lets go of its storage.
  static void HandsOff(CDataFactoryList& list);
  // After a save to a new file: each factory that persists gets its
  // sub-storage there (SaveCompleted).
  [[nodiscard]] KivResult Reopen(CDataFactoryList& list) const;

  // The list's content as it stands.
  static DataFactoryListContent ContentOf(const CDataFactoryList& list);
  // Each active native factory that persists saves into its sub-storage;
  // into `target` (a new "Data Factories") when given, copying the old
  // sub-storage of one that doesn't persist.
  [[nodiscard]] KivResult SaveFactories(const CDataFactoryList& list, IKivStorage* target) const;
  // A managed tool's state stream: its bytes (false when it has none), and
  // the stream rewritten with the tool's state as it stands.
  bool ReadToolState(const std::u16string& name, std::vector<uint8_t>* bytes) const;
  [[nodiscard]] KivResult WriteToolState(const CDataFactoryList& list, const ActiveDataFactory& entry,
                                         IKivStorage* target) const;

  // Deletes each element that is neither the version, the list, nor a
  // storage name the list knows.
  void RemoveUnknownElements(const CDataFactoryList& list) const;

 private:
  bool HasElement(const std::u16string& name) const;
  [[nodiscard]] KivResult GiveStorage(CDataFactoryList& list, const ActiveDataFactory& entry,
                                      const std::u16string& name) const;

  ComPtr<IKivStorage> storage_;
  ComPtr<IKivStream> list_;
};

}  // namespace velmar
