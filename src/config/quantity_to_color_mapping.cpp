#include "config/quantity_to_color_mapping.h"

#include <utility>

#include "core/persisted_object.h"
#include "velmar/units.h"

namespace velmar {

namespace {

constexpr uint32_t kStreamMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

}  // namespace

CQuantityToColorMapping::CQuantityToColorMapping() {
  ComPtr<IKivUnitTable> table;
  std::vector<QuantityId> ids;
  if (Succeeded(CreateUnitsComponent(&table)) && table && Succeeded(table->GetQuantityIds(&ids))) {
    for (QuantityId id : ids) colours_.emplace(id, kDefaultColour);
  }
}

KivResult CQuantityToColorMapping::GetColour(int32_t quantity, uint32_t* colour) {
  if (!colour) return E_POINTER;
  auto it = colours_.find(quantity);
  if (it == colours_.end()) return E_INVALIDARG;
  *colour = it->second;
  return S_OK;
}

KivResult CQuantityToColorMapping::SetColour(int32_t quantity, uint32_t colour) {
  auto it = colours_.find(quantity);
  if (it == colours_.end()) return E_INVALIDARG;
  if (it->second == colour) return S_FALSE;
  if (!stream_) return E_FAIL;  // a change is written at once: no settings file, no change
  const uint32_t old = std::exchange(it->second, colour);
  if (Failed(Write(stream_.Get()))) {
    it->second = old;
    return E_FAIL;
  }
  dirty_ = true;
  if (parent_) parent_->OnQuantityToColorMappingEdited();
  ComPtr<CQuantityToColorMapping> self(this);
  (void)FireNotification(&IKivQuantityToColorMappingNotifications::ColourChanged, quantity, colour);
  return S_OK;
}

KivResult CQuantityToColorMapping::ReadChanges(IKivStream* stream, const std::map<int32_t, uint32_t>& held,
                                               Entries* changed) {
  return CatchSerialise([&] {
    ExpectVersionZero(stream);
    const auto count = ReadValue<uint16_t>(stream);
    for (uint16_t i = 0; i < count; ++i) {
      const auto quantity = static_cast<int32_t>(ReadValue<uint32_t>(stream));
      const auto colour = ReadValue<uint32_t>(stream);
      auto it = held.find(quantity);
      if (it != held.end() && it->second != colour) changed->emplace_back(quantity, colour);
    }
  });
}

void CQuantityToColorMapping::Apply(const Entries& changed) {
  for (const auto& [quantity, colour] : changed) colours_[quantity] = colour;
}

KivResult CQuantityToColorMapping::Import(IKivStorage* storage) {
  if (!storage) return E_POINTER;
  ComPtr<IKivStream> stream;
  if (KivResult r = storage->OpenStream(kQuantityToColorMappingStream, kStreamMode, stream.Put()); Failed(r)) {
    return r;
  }
  Entries changed;
  if (KivResult r = ReadChanges(stream.Get(), colours_, &changed); Failed(r)) return r;
  if (changed.empty()) return S_OK;
  Apply(changed);
  dirty_ = true;
  if (parent_) parent_->OnQuantityToColorMappingEdited();
  ComPtr<CQuantityToColorMapping> self(this);
  std::map<int32_t, uint32_t> ordered(changed.begin(), changed.end());
  for (const auto& [quantity, colour] : ordered) {
    (void)FireNotification(&IKivQuantityToColorMappingNotifications::ColourChanged, quantity, colour);
  }
  return S_OK;
}

KivResult CQuantityToColorMapping::SetParentCallback(CQuantityToColorMappingParentCallback* parent) {
  parent_ = parent;
  return S_OK;
}

KivResult CQuantityToColorMapping::NotifyClosing() {
  ComPtr<CQuantityToColorMapping> self(this);
  return FireNotification(&IKivQuantityToColorMappingNotifications::Closing,
                          static_cast<IKivQuantityToColorMapping*>(this));
}

KivResult CQuantityToColorMapping::Write(IKivStream* stream) const {
  return RewriteStream(stream, [&](IKivStream* s) {
    WriteValue<uint16_t>(s, 0);
    WriteValue<uint16_t>(s, static_cast<uint16_t>(colours_.size()));
    for (const auto& [quantity, colour] : colours_) {
      WriteValue<uint32_t>(s, static_cast<uint32_t>(quantity));
      WriteValue<uint32_t>(s, colour);
    }
  });
}

KivResult CQuantityToColorMapping::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivQuantityToColorMapping;
  return S_OK;
}

KivResult CQuantityToColorMapping::InitNewStorage(IKivStorage* storage) {
  ComPtr<IKivStream> stream;
  KivResult r = storage->CreateStream(kQuantityToColorMappingStream, kStreamMode | STGM_CREATE, stream.Put());
  if (Succeeded(r)) r = Write(stream.Get());
  if (Failed(r)) return r;
  stream_ = std::move(stream);
  dirty_ = true;
  return S_OK;
}

KivResult CQuantityToColorMapping::LoadStorage(IKivStorage* storage) {
  ComPtr<IKivStream> stream;
  if (KivResult r = storage->OpenStream(kQuantityToColorMappingStream, kStreamMode, stream.Put()); Failed(r)) {
    return r;
  }
  Entries changed;
  if (KivResult r = ReadChanges(stream.Get(), colours_, &changed); Failed(r)) return r;
  Apply(changed);
  stream_ = std::move(stream);
  dirty_ = false;
  return S_OK;
}

KivResult CQuantityToColorMapping::Save(IKivStorage* storage, KivBool sameAsLoad) {
  if (FromKivBool(sameAsLoad)) {
    if (KivResult r = Write(stream_.Get()); Failed(r)) return r;
  } else {
    if (!storage) return E_POINTER;
    ComPtr<IKivStream> stream;
    KivResult r = storage->CreateStream(kQuantityToColorMappingStream, kStreamMode | STGM_CREATE, stream.Put());
    if (Succeeded(r)) r = Write(stream.Get());
    if (Failed(r)) return r;
  }
  dirty_ = false;
  return S_OK;
}

KivResult CQuantityToColorMapping::SaveCompleted(IKivStorage* storage) {
  if (!storage) return S_OK;
  stream_ = nullptr;
  return storage->OpenStream(kQuantityToColorMappingStream, kStreamMode, stream_.Put());
}

KivResult CQuantityToColorMapping::HandsOffStorage() {
  stream_ = nullptr;
  return S_OK;
}

}  // namespace velmar
