// CQuantityToColorMapping: the default display colour of each quantity the
// units component knows, each starting at the standard channel colour. It
// keeps itself in the stream "QuantityToColorMapping" of the storage it is
// given (the root storage of the settings file): u16 version 0, u16 count,
// then per quantity in ascending order u32 quantity, u32 colour. A change
// is written to that stream at once, so SetColour gives E_FAIL until a file
// is attached. When the root closes, the mapping tells its listeners.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "core/notifications_impl.h"
#include "core/persist_storage_impl.h"
#include "core/velmar_parts.h"
#include "velmar/persist.h"
#include "velmar/quantity_to_color_mapping.h"
#include "velmar/storage.h"

namespace velmar {

inline constexpr char16_t kQuantityToColorMappingStream[] = u"QuantityToColorMapping";

class CQuantityToColorMapping final
    : public KivObject<IKivQuantityToColorMapping, IKivImportable, IKivQuantityToColorMappingInternal,
                       IPersistStorageKivImpl<CQuantityToColorMapping>,
                       IKivNotificationsImpl<CQuantityToColorMapping, IKivQuantityToColorMappingNotifications>> {
 public:
  static constexpr uint32_t kDefaultColour = 0xFF0000;

  // Takes the quantities of the units component; none when it can't be had.
  CQuantityToColorMapping();

  KivResult GetColour(int32_t quantity, uint32_t* colour) override;
  KivResult SetColour(int32_t quantity, uint32_t colour) override;
  KivResult Import(IKivStorage* storage) override;

  KivResult SetParentCallback(CQuantityToColorMappingParentCallback* parent) override;
  KivResult NotifyClosing() override;

  // IKivPersistStorage. Load: STG_E_OLDDLL for a version other than 0,
  // E_FAIL for a short stream; entries of unknown quantities are skipped.
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;

  size_t QuantityCount() const { return colours_.size(); }

 private:
  friend class IPersistStorageKivImpl<CQuantityToColorMapping>;
  bool HoldsStorage() const { return stream_.Get() != nullptr; }
  [[nodiscard]] KivResult InitNewStorage(IKivStorage* storage);
  [[nodiscard]] KivResult LoadStorage(IKivStorage* storage);

  using Entries = std::vector<std::pair<int32_t, uint32_t>>;
  // The known quantities whose stored colour differs from the one held.
  static KivResult ReadChanges(IKivStream* stream, const std::map<int32_t, uint32_t>& held, Entries* changed);
  [[nodiscard]] KivResult Write(IKivStream* stream) const;
  void Apply(const Entries& changed);

  std::map<int32_t, uint32_t> colours_;
  ComPtr<IKivStream> stream_;  // "QuantityToColorMapping", once the settings file is attached
  CQuantityToColorMappingParentCallback* parent_ = nullptr;
  bool dirty_ = false;
};

}  // namespace velmar
