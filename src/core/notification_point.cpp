#include "core/notification_point.h"

#include <atomic>
#include <utility>

namespace velmar::notification_detail {
namespace {

// Ascending over the process; points live on client threads, and a process
// may have more than one.
std::atomic<uint64_t> g_sinkSerial{0};

uint64_t NextSinkSerial() { return g_sinkSerial.fetch_add(1, std::memory_order_relaxed) + 1; }

}  // namespace

uint64_t CurrentSinkSerial() { return g_sinkSerial.load(std::memory_order_relaxed); }

SinkSlots::~SinkSlots() {
  // Moved out first: a sink's destructor must not find a half-released list.
  auto entries = std::move(entries_);
  entries.clear();
}

KivResult SinkSlots::Add(ComPtr<IKivUnknown> sink, uint16_t* index) {
  if (!sink || !index) return E_POINTER;
  size_t slot;
  if (!freeSlots_.empty()) {
    slot = freeSlots_.back();
    freeSlots_.pop_back();
  } else {
    if (entries_.size() >= kMaxSinksPerPoint) return E_FAIL;
    slot = entries_.size();
    entries_.emplace_back();
  }
  entries_[slot] = Entry{std::move(sink), NextSinkSerial()};
  *index = static_cast<uint16_t>(slot);
  return S_OK;
}

KivResult SinkSlots::Remove(uint16_t index) {
  if (index >= entries_.size() || !entries_[index].sink) return E_INVALIDARG;
  ComPtr<IKivUnknown> gone = std::move(entries_[index].sink);
  freeSlots_.push_back(index);
  // Released last: the sink's destructor may call back into this point.
  gone.Reset();
  return S_OK;
}

ComPtr<IKivUnknown> SinkSlots::At(size_t index, uint64_t mark) const {
  if (index >= entries_.size()) return nullptr;
  const Entry& entry = entries_[index];
  if (!entry.sink || entry.serial > mark) return nullptr;
  return entry.sink;
}

KivResult AdviseOnPoints(std::span<KivNotificationPointLocator* const> points, const Guid& iid, IKivUnknown* sink,
                         uint32_t* cookie) {
  if (!sink || !cookie) return E_POINTER;
  *cookie = 0;
  for (size_t i = 0; i < points.size(); ++i) {
    if (points[i]->GetInterfaceId() != iid) continue;
    uint16_t index = 0;
    if (Failed(points[i]->Add(sink, &index))) return E_FAIL;
    *cookie = MakeNotificationCookie(index, static_cast<uint16_t>(i + 1));
    return S_OK;
  }
  return E_FAIL;
}

KivResult AdviseOnPointsByName(std::span<KivNotificationPointLocator* const> points, const std::u16string& iid,
                               IKivUnknown* sink, uint32_t* cookie) {
  if (!sink || !cookie) return E_POINTER;
  *cookie = 0;
  const std::optional<Guid> parsed = Guid::Parse(std::u16string_view(iid));
  if (!parsed) return E_FAIL;
  ComPtr<IKivUnknown> offered;
  if (Failed(sink->QueryInterface(*parsed, offered.PutVoid())) || !offered) return E_FAIL;
  return AdviseOnPoints(points, *parsed, sink, cookie);
}

KivResult UnadviseOnPoints(std::span<KivNotificationPointLocator* const> points, uint32_t cookie) {
  const uint16_t pointNumber = CookiePointNumber(cookie);
  if (pointNumber == 0 || pointNumber > points.size()) return E_FAIL;
  return Failed(points[pointNumber - 1]->Remove(CookieSinkIndex(cookie))) ? E_INVALIDARG : S_OK;
}

}  // namespace velmar::notification_detail
