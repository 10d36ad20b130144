// The math channels data factory: the root's instance holds the definitions
// (persisted in its storage of the settings file, as the JSON text they were
// given in, in the stream "Definitions"). Given a parent that offers
// channels, it lists each defined channel whose operands the parent lists;
// in a data selection it is an instance of its own per selection, made here,
// that reads the selection's channels ahead of it.
//
// Client thread only.
#pragma once

#include "core/persist_storage_impl.h"
#include "math_channels_base.h"
#include "velmar/math_channels.h"
#include "velmar/persist.h"
#include "velmar/selection_data_factory.h"
#include "velmar/storage.h"

namespace velmar::math {

class CMathChannelFactory final
    : public CMathFactoryBase<IKivMathChannelDefinitions, IPersistStorageKivImpl<CMathChannelFactory>,
                              IKivSelectionDataFactoryMaker> {
 public:
  CMathChannelFactory() : CMathFactoryBase(std::make_shared<MathDefinitions>()) {}

  // IKivMathChannelDefinitions
  KivResult SetDefinitions(const std::u16string& json) override;
  KivResult LoadDefinitions(const std::u16string& path) override;
  KivResult GetMessages(std::vector<std::u16string>* messages) override;
  KivResult GetUnit(const std::u16string& name, std::u16string* unit) override;
  // IKivPersistStorage (math_factory_persist.cpp)
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;
  // IKivSelectionDataFactoryMaker
  KivResult CreateForSelection(IKivUnknown* selection, IKivChannelFactory* channels, IKivEventsFactory* events,
                               IKivUnknown** factory) override;

  // The selections' instances now alive.
  const std::vector<CMathSelectionChannels*>& listeners() const { return definitions_->listeners; }

 private:
  friend class IPersistStorageKivImpl<CMathChannelFactory>;
  // IPersistStorageKivImpl's checks made, InitNew and Load come here.
  bool HoldsStorage() const { return storage_.Get() != nullptr; }
  [[nodiscard]] KivResult InitNewStorage(IKivStorage* storage);
  [[nodiscard]] KivResult LoadStorage(IKivStorage* storage);
  ComPtr<IKivChannelFactory> Operands() override { return QueryAs<IKivChannelFactory>(parent_.Get()); }

  ComPtr<IKivStorage> storage_;
  bool dirty_ = false;
};

}  // namespace velmar::math
