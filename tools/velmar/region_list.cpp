#include "region_list.h"

#include "channel_samples.h"
#include "host_error.h"
#include "velmar/class_registry.h"
#include "velmar/classes.h"
#include "velmar/time_regions.h"

namespace velmar::cli {
namespace {

// Counts the finder's changes, so that a read that a data arrival made
// stale is read again.
class ChangeCounter final : public CTimeRegionFinderNotificationsReceiver {
 public:
  explicit ChangeCounter(IKivTimeRegionFinder* finder) : finder_(finder) {
    sink_->SetReceiver(this);
    (void)sink_->Connect(finder);
  }
  ~ChangeCounter() override {
    sink_->SetReceiver(nullptr);
    sink_->Disconnect(finder_);
  }
  void OnRegionsChanged() override { ++count; }
  int count = 0;

 private:
  IKivTimeRegionFinder* finder_;
  ComPtr<CTimeRegionFinderNotificationsSink<>> sink_ = MakeKiv<CTimeRegionFinderNotificationsSink<>>();
};

Guid FinderClass(const std::string& kind) {
  if (kind == "lap") return CLSID_KivLapFinder;
  if (kind == "segment") return CLSID_KivSegmentFinder;
  return CLSID_KivOutingFinder;
}

std::vector<RegionRow> ReadRows(IKivTimeRegions* regions) {
  int32_t count = 0;
  (void)regions->GetCount(&count);
  std::vector<RegionRow> rows;
  for (int32_t i = 1; i <= count; ++i) {
    RegionRow row;
    KivBool auxiliary = KIV_FALSE;
    (void)regions->GetName(i, i, &row.name);
    (void)regions->GetStart(i, &row.start);
    (void)regions->GetEnd(i, &row.end);
    (void)regions->GetAuxiliary(i, &auxiliary);
    row.auxiliary = auxiliary != KIV_FALSE;
    rows.push_back(std::move(row));
  }
  return rows;
}

// Reads until a read holds: data that arrives for a read throws its regions away.
FinderResult ReadFinder(LoadedOuting& outing, IKivTimeRegionFinder3* finder) {
  if (Failed(finder->SetOuting(outing.outing()))) Fail(outing.file(), "the finder cannot follow this outing");
  ChangeCounter changes(finder);
  constexpr int kMaxReads = 8;
  FinderResult result;
  for (int attempt = 0; attempt < kMaxReads; ++attempt) {
    ComPtr<IKivTimeRegions> regions;
    if (Failed(finder->GetRegions(regions.Put()))) Fail(outing.file(), "cannot find the regions");
    const int seen = changes.count;
    result.rows = ReadRows(regions.Get());
    (void)finder->GetDefaultRegion(&result.defaultRegion);
    (void)finder->GetLastCompleteRegion(&result.lastComplete);
    if (!outing.session().Settle(outing.file())) Fail(outing.file(), "timed out while finding the regions");
    if (changes.count == seen) return result;
  }
  return result;
}

}  // namespace

FinderResult ReadRegions(LoadedOuting& outing, const std::string& finder) {
  (void)outing.LapMarkers();
  UseSessionRoot(outing);
  ComPtr<IKivTimeRegionFinder3> made;
  if (KivResult r = KivCreateInstance(FinderClass(finder), IKivTimeRegionFinder3::iid, made.PutVoid()); Failed(r)) {
    Fail("velmar", "the " + finder + " finder cannot be made", r);
  }
  FinderResult result = ReadFinder(outing, made.Get());
  (void)made->SetOuting(nullptr);
  return result;
}

}  // namespace velmar::cli
