// The information object of a `.trn` outing: the properties of its details
// record. Edits are checked here (ValidateTarnProperty) and go to the
// cache's transaction as one step; the record is read again after the
// write, and a new object serves it. With the outing factory's fast-lap filter on, "Fast lap
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

// Where checked edits go: the cache's transaction.
class ITarnInformationWriter {
 public:
  [[nodiscard]] virtual KivResult QueueInformation(PropertyList properties) = 0;

 protected:
  ~ITarnInformationWriter() = default;
};

class CTarnOutingInformation final : public KivObject<IKivPropertySet> {
 public:
  // Serves the properties of the finished outing read, which it keeps.
  explicit CTarnOutingInformation(ComPtr<CLoadOutingJobItem> read, ITarnInformationWriter* writer = nullptr)
      : read_(std::move(read)), writer_(writer) {}
  // The cache replaced this object or went: edits give E_FAIL from now on.
  void Orphan() { writer_ = nullptr; }

  // The filter is on with this result (nothing: no lap qualified, both 0),
  // or off (`filterEnabled` false: the store's values).
  void SetFastLap(bool filterEnabled, std::optional<TarnFastLap> fastLap);

  // The read it serves.
  const CLoadOutingJobItem* read() const { return read_.Get(); }

  // E_INVALIDARG for a name the outing doesn't have.
  KivResult GetProperty(const std::u16string& name, Variant* value) override;
  // Queues the edit in the outing's transaction. E_INVALIDARG for a name
  // outside the vocabulary or a text too long, DISP_E_TYPEMISMATCH for a
  // value that doesn't change to the kind held; E_FAIL with no record or
  // once orphaned; the transaction's refusal (none open, a commit running).
  KivResult SetProperty(const std::u16string& name, const Variant& value) override;
  KivResult Reserved() override { return E_NOTIMPL; }
  KivResult GetProperties(PropertyList* properties) override;
  // The same with all pairs as one step; E_FAIL for an empty list.
  KivResult SetProperties(const PropertyList& properties) override;

 private:
  KivResult Edit(const PropertyList& pairs);
  // The properties as served now: the store's, with the fast lap replaced
  // while the filter is on.
  TarnPropertyMap Current() const;

  ComPtr<CLoadOutingJobItem> read_;
  ITarnInformationWriter* writer_;  // the cache, which orphans this object before it goes
  bool filterEnabled_ = false;
  std::optional<TarnFastLap> fastLap_;
};

}  // namespace velmar
