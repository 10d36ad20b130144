// IKivTimeRegionFinderImpl<Finder>: what every time region finder shares.
//
// Regions are built lazily: the first read after a change (GetRegions,
// GetDefaultRegion, GetLastCompleteRegion) calls Populate, and on success
// the sinks hear OnRegionsChanged before that read returns. A failed build
// leaves the set empty, to be tried again at the next read. A finder that
// hears of a change in its sources calls Invalidate: the set is emptied and
// the sinks are told; nothing is rebuilt until someone reads.
//
// The finder supplies Populate, FindDefaultRegion, AttachOuting and
// GetDefaultRegionName, and may override FindLastCompleteRegion.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <new>
#include <string>

#include "core/notifications_impl.h"
#include "regions/finder_persistence.h"
#include "regions/time_region_set.h"
#include "regions/time_regions.h"
#include "velmar/time_regions.h"

namespace velmar {

template <class Finder>
class IKivTimeRegionFinderImpl
    : public KivObject<IKivTimeRegionFinder3, IKivNotificationsImpl<Finder, IKivTimeRegionFinderNotifications2>,
                       CFinderPersistence> {
 public:
  // The identity a persisted data selection names the finder by.
  KivResult GetClassId(Guid* clsid) override {
    if (!clsid) return E_POINTER;
    *clsid = Finder::kClassId;
    return S_OK;
  }

  KivResult GetRegions(IKivTimeRegions** regions) override {
    if (!regions) return E_POINTER;
    *regions = nullptr;
    EnsurePopulated();
    try {
      *regions = MakeKiv<CTimeRegions>(ComPtr<IKivUnknown>(this->PrimaryUnknown()), &regions_).Detach();
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    return S_OK;
  }

  KivResult GetDefaultRegion(int32_t* index) override {
    if (!index) return E_POINTER;
    *index = 0;
    EnsurePopulated();
    if (regions_.empty()) return KIV_E_NO_REGION;
    int32_t found = 0;
    const KivResult r = FindDefaultRegion(&found);
    if (Failed(r)) return r == KIV_E_NO_REGION ? r : E_FAIL;
    *index = found + 1;
    return S_OK;
  }

  KivResult SetOuting(IKivOuting* outing) override {
    ClearRegions();
    const KivResult r = AttachOuting(outing);
    FireRegionsChanged();
    return Failed(r) ? E_FAIL : S_OK;
  }

  KivResult GetLastCompleteRegion(int32_t* index) override {
    if (!index) return E_POINTER;
    *index = 0;
    EnsurePopulated();
    if (regions_.empty()) return E_UNEXPECTED;
    int32_t found = 0;
    // A finder that can't tell counts the last region as complete.
    *index = Succeeded(FindLastCompleteRegion(&found)) ? found + 1 : static_cast<int32_t>(regions_.size());
    return S_OK;
  }

  bool populated() const { return populated_; }
  const CTimeRegionSet& regions() const { return regions_; }

 protected:
  IKivTimeRegionFinderImpl() = default;
  ~IKivTimeRegionFinderImpl() override = default;

  // Fills the set; a failure leaves it to be emptied.
  [[nodiscard]] virtual KivResult Populate() = 0;
  // The 0-based index of the region a client starts with.
  [[nodiscard]] virtual KivResult FindDefaultRegion(int32_t* index) = 0;
  // The 0-based index of the last complete region; by default the last one.
  [[nodiscard]] virtual KivResult FindLastCompleteRegion(int32_t* index) {
    if (regions_.empty()) return E_FAIL;
    *index = static_cast<int32_t>(regions_.size()) - 1;
    return S_OK;
  }
  // Lets go of the old outing and takes the new one, which may be null.
  [[nodiscard]] virtual KivResult AttachOuting(IKivOuting* outing) = 0;

  // Tells every sink, first generation first, each kept alive across its call.
  virtual void FireRegionsChanged() {
    ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
    this->FireNotification(&IKivTimeRegionFinderNotifications::OnRegionsChanged);
  }

  // A source changed: the set goes, the sinks hear it, the next read builds.
  void Invalidate() {
    ClearRegions();
    FireRegionsChanged();
  }
  void ClearRegions() {
    regions_.Clear();
    populated_ = false;
  }
  void MarkPopulated() { populated_ = true; }

  CTimeRegionSet& mutable_regions() { return regions_; }
  IKivTimeRegionFinder* AsFinder() { return static_cast<IKivTimeRegionFinder*>(this); }

 private:
  void EnsurePopulated() {
    if (populated_) return;
    if (Failed(Populate())) {
      ClearRegions();
      return;
    }
    populated_ = true;
    FireRegionsChanged();
  }

  CTimeRegionSet regions_;
  bool populated_ = false;
};

}  // namespace velmar
