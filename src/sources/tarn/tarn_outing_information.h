// The information object of a `.trn` outing: the properties of its details
// record, read only. With the outing factory's fast-lap filter on, "Fast lap
// number" and "Fast lap time" come from the lap markers instead of the
// store (the cache works them out and hands them over).
//
// Client thread only.
#pragma once

#include <optional>
#include <string>

#include "sources/tarn/tarn_read_jobs.h"
#include "velmar/property_set.h"
#include "velmar/unknown.h"

namespace velmar {

class CTarnOutingInformation final : public KivObject<IKivPropertySet> {
 public:
  // Serves the properties of the finished outing read, which it keeps.
  explicit CTarnOutingInformation(ComPtr<CLoadOutingJobItem> read) : read_(std::move(read)) {}

  // The filter is on with this result (nothing: no lap qualified, both 0),
  // or off (`filterEnabled` false: the store's values).
  void SetFastLap(bool filterEnabled, std::optional<TarnFastLap> fastLap);

  // The read it serves.
  const CLoadOutingJobItem* read() const { return read_.Get(); }

  // E_INVALIDARG for a name the outing doesn't have.
  KivResult GetProperty(const std::u16string& name, Variant* value) override;
  // The outing's details change through a transaction: E_ACCESSDENIED.
  KivResult SetProperty(const std::u16string& name, const Variant& value) override;
  KivResult Reserved() override { return E_NOTIMPL; }
  KivResult GetProperties(PropertyList* properties) override;
  KivResult SetProperties(const PropertyList& properties) override;

 private:
  // The properties as served now: the store's, with the fast lap replaced
  // while the filter is on.
  TarnPropertyMap Current() const;

  ComPtr<CLoadOutingJobItem> read_;
  bool filterEnabled_ = false;
  std::optional<TarnFastLap> fastLap_;
};

}  // namespace velmar
