// COutingInformationBase: the information object every source shares. It
// serves the properties a load read (name order), and works "Fast lap
// number" and "Fast lap time" out from the lap markers when asked, once per
// filter state; a changed marker list comes with a new object, a changed
// minimum through ForgetFastLap.
//
// Edits are checked here (COutingInformationPropDef) and handed, converted,
// to the cache as one write-back step (AddInformationStep); a source that
// writes no information back answers E_NOTIMPL there.
//
// Client thread only.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "outing/laps/fast_lap.h"
#include "outing/information/outing_information_prop_def.h"
#include "outing/cache/outing_source.h"
#include "velmar/property_set.h"
#include "velmar/unknown.h"

namespace velmar {

// The cache side: the fast-lap settings of the outing factory, as the
// cache holds them now.
class COutingInformationCache {
 public:
  virtual FastLapSettings InformationFastLapSettings() const = 0;
  // Queues the checked edit in the outing's transaction.
  [[nodiscard]] virtual KivResult AddInformationStep(PropertyList properties) {
    (void)properties;
    return E_NOTIMPL;
  }

 protected:
  ~COutingInformationCache() = default;
};

class COutingInformationBase : public KivObject<IKivPropertySet> {
 public:
  // E_POINTER for a null out; E_UNEXPECTED with no properties; E_INVALIDARG
  // for a name neither held nor worked out.
  KivResult GetProperty(const std::u16string& name, Variant* value) override;
  KivResult SetProperty(const std::u16string& name, const Variant& value) override;
  KivResult Reserved() override { return E_NOTIMPL; }
  // Every held property in name order, with the fast lap when none is held.
  KivResult GetProperties(PropertyList* properties) override;
  KivResult SetProperties(const PropertyList& properties) override;

  // The settings or the minimum changed: the fast lap is worked out again.
  void ForgetFastLap() { fastLapKnown_ = false; }
  // The cache replaced this object: it keeps its last settings.
  void Orphan();
  bool orphaned() const { return orphaned_; }
  bool first_lap_changed() const { return firstLapChanged_; }

 protected:
  COutingInformationBase(const PropertyList& properties, FastLapInput fastLapInput, COutingInformationCache* cache);
  ~COutingInformationBase() override = default;

 private:
  // Works the fast lap out when the filter differs or it is not known.
  void ComputeFastLap(bool filter);
  FastLapSettings Settings() const;
  KivResult CheckPair(const Property& pair, Variant* converted) const;
  // Checks every pair, then queues them as one step.
  KivResult Edit(const PropertyList& pairs);
  std::optional<Variant> FastLapProperty(std::u16string_view name);

  std::optional<std::map<std::u16string, Variant>> properties_;
  FastLapInput fastLapInput_;
  COutingInformationCache* cache_;
  FastLapSettings lastSettings_;
  bool orphaned_ = false;
  bool firstLapChanged_ = false;
  int32_t fastLapNumber_ = 0;
  KivTime fastLapTime_ = 0;
  bool fastLapFilter_ = false;
  bool fastLapKnown_ = false;
};

}  // namespace velmar
