#include "outing/information/outing_information_base.h"

#include <new>

namespace velmar {

namespace p = outing_property;

COutingInformationBase::COutingInformationBase(const PropertyList& properties, FastLapInput fastLapInput,
                                               COutingInformationCache* cache)
    : properties_(std::in_place), fastLapInput_(std::move(fastLapInput)), cache_(cache) {
  for (const Property& property : properties) (*properties_)[property.name] = property.value;
  if (cache_) lastSettings_ = cache_->InformationFastLapSettings();
}

void COutingInformationBase::Orphan() {
  if (cache_) lastSettings_ = cache_->InformationFastLapSettings();
  cache_ = nullptr;
  orphaned_ = true;
}

FastLapSettings COutingInformationBase::Settings() const {
  return cache_ ? cache_->InformationFastLapSettings() : lastSettings_;
}

void COutingInformationBase::ComputeFastLap(bool filter) {
  if (filter != fastLapFilter_) {
    fastLapKnown_ = false;
    fastLapFilter_ = filter;
  }
  if (fastLapKnown_) return;
  FastLapInput input = fastLapInput_;
  input.filter = filter;
  input.minimum = Settings().minimumTime;
  const FastLap lap = velmar::ComputeFastLap(input);
  int32_t first = 0;
  if (auto it = properties_->find(std::u16string(p::kFirstLapNumber)); it != properties_->end()) {
    first = static_cast<int32_t>(it->second.ToDouble().value_or(0));
  }
  fastLapNumber_ = lap.found ? first + lap.lap : 0;
  fastLapTime_ = lap.found ? lap.time : 0;
  fastLapKnown_ = true;
}

std::optional<Variant> COutingInformationBase::FastLapProperty(std::u16string_view name) {
  if (name != p::kFastLapNumber && name != p::kFastLapTime) return std::nullopt;
  ComputeFastLap(Settings().filterEnabled);
  return name == p::kFastLapNumber ? Variant::I32(fastLapNumber_) : Variant::Time(fastLapTime_);
}

KivResult COutingInformationBase::GetProperty(const std::u16string& name, Variant* value) {
  if (!value) return E_POINTER;
  if (!properties_) return E_UNEXPECTED;
  try {
    if (std::optional<Variant> worked = FastLapProperty(name)) {
      *value = std::move(*worked);
      return S_OK;
    }
    auto it = properties_->find(name);
    if (it == properties_->end()) return E_INVALIDARG;
    *value = it->second;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

KivResult COutingInformationBase::GetProperties(PropertyList* properties) {
  if (!properties) return E_POINTER;
  if (!properties_) return E_UNEXPECTED;
  try {
    std::map<std::u16string, Variant> all = *properties_;
    for (std::u16string_view name : {p::kFastLapNumber, p::kFastLapTime}) {
      if (!all.contains(std::u16string(name))) all[std::u16string(name)] = *FastLapProperty(name);
    }
    properties->clear();
    for (auto& [name, value] : all) properties->push_back({name, std::move(value)});
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

KivResult COutingInformationBase::CheckPair(const Property& pair, Variant* converted) const {
  auto it = properties_->find(pair.name);
  return COutingInformationPropDef::CheckEdit(pair.name, pair.value, it == properties_->end() ? nullptr : &it->second,
                                              converted);
}

KivResult COutingInformationBase::Edit(const PropertyList& pairs) {
  PropertyList checked;
  for (const Property& pair : pairs) {
    Variant converted;
    if (const KivResult r = CheckPair(pair, &converted); Failed(r)) return r;
    checked.push_back({pair.name, std::move(converted)});
  }
  if (!cache_) return E_FAIL;
  const KivResult r = cache_->AddInformationStep(std::move(checked));
  if (Succeeded(r)) {
    for (const Property& pair : pairs) firstLapChanged_ = firstLapChanged_ || pair.name == p::kFirstLapNumber;
  }
  return r;
}

KivResult COutingInformationBase::SetProperty(const std::u16string& name, const Variant& value) {
  if (!properties_) return E_FAIL;
  return Edit({{name, value}});
}

KivResult COutingInformationBase::SetProperties(const PropertyList& properties) {
  if (!properties_ || properties.empty()) return E_FAIL;
  return Edit(properties);
}

}  // namespace velmar
