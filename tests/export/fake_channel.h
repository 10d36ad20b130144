// A channel for the tests of export and channel writes: loaded from a
// fixture's blocks, able to hold its data back and let it in later.
#pragma once

#include <memory>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"
#include "velmar/channel.h"
#include "velmar/notifications.h"

namespace velmar::testing {

using nlohmann::json;

// A loaded channel over the case's blocks; it can hold its data back
// (pending) and then let it in through its one data sink.
class FakeChannel final : public KivObject<IKivChannel, IKivNotifications, IKivDataCache> {
 public:
  explicit FakeChannel(DataBlockList blocks) : blocks_(std::make_shared<DataBlockList>(std::move(blocks))) {}
  KivResult GetName(std::u16string* name) override { return *name = u"fake", S_OK; }
  KivResult GetStatus(uint32_t* out) override { return *out = status, S_OK; }
  KivResult GetIterator(IKivChannelIterator2** out) override {
    if (pending) return KIV_E_PENDING;
    auto it = MakeKiv<CChannelIterator>(blocks_, nullptr, nullptr);
    *out = it.Detach();
    return S_OK;
  }
  KivResult AdviseByName(const std::u16string&, IKivUnknown*, uint32_t*) override { return E_FAIL; }
  KivResult Advise(const Guid& iid, IKivUnknown* sink, uint32_t* cookie) override {
    if (iid != IKivDataNotifications::iid) return E_FAIL;
    sink_ = QueryAs<IKivDataNotifications>(sink);
    return *cookie = 1, S_OK;
  }
  KivResult Unadvise(uint32_t) override { return sink_ = nullptr, S_OK; }
  KivResult Lock() override { return ++locks, S_OK; }
  KivResult Unlock() override { return --locks, S_OK; }

  void Arrive() {
    pending = false;
    if (sink_) sink_->OnDataChanged(this, 0, 0);
  }
  void Remove() {
    if (sink_) sink_->OnDataRemoved(this);
  }
  bool pending = false;
  uint32_t status = 1;
  int locks = 0;

 private:
  std::shared_ptr<DataBlockList> blocks_;
  ComPtr<IKivDataNotifications> sink_;
};

// A block of the case: "times" (aperiodic) or "start"/"interval" with
// "values", or "count" samples whose value is the time in seconds.
inline ComPtr<IKivDataBlockImplBase> MakeBlock(const json& b, uint32_t index) {
  std::vector<double> values;
  std::vector<KivTime> times = b.value("times", std::vector<KivTime>{});
  const KivTime interval = b.value("interval", KivTime{0});
  const auto count = b.contains("values") ? b["values"].size() : b.value("count", times.size());
  for (size_t i = 0; i < count; ++i) {
    const KivTime t = times.empty() ? b["start"].get<KivTime>() + static_cast<KivTime>(i) * interval : times[i];
    values.push_back(b.contains("values") ? b["values"][i].get<double>() : static_cast<double>(t) / 1e7);
  }
  std::shared_ptr<const DataSection> section;
  auto v = LockedArray<double>::FromVector(std::move(values));
  const KivResult made = times.empty()
                            ? DataSection::MakePeriodic(v, b["start"].get<KivTime>(), interval, &section)
                            : DataSection::MakeAperiodic(v, LockedArray<KivTime>::FromVector(times), &section);
  ComPtr<IKivDataBlockImplBase> block;
  if (Failed(made) || Failed(MakeOutingDataBlock(section, index, 0, b.value("continuous", false), &block))) {
    throw std::invalid_argument("a fixture block the data model refuses");
  }
  return block;
}

// A channel over a fixture's "blocks" (see MakeBlock).
inline ComPtr<FakeChannel> MakeFakeChannel(const json& blocks) {
  DataBlockList list;
  for (const json& b : blocks) list.push_back(MakeBlock(b, static_cast<uint32_t>(list.size())));
  return MakeKiv<FakeChannel>(std::move(list));
}

}  // namespace velmar::testing
