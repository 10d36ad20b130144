#include "outing_items.h"

#include <algorithm>

#include "item_wait.h"

namespace velmar::cli {
namespace {

void ReadEventSet(const LoadedOuting& outing, const std::u16string& name, std::vector<EventRow>* rows) {
  ComPtr<IKivEventSet> set = outing.EventSet(name);
  ComPtr<IKivEventsIterator> iterator;
  const KivResult r =
      ReadWhenReady(outing.session(), set.Get(), outing.file(), [&] { return set->GetIterator(iterator.Put()); });
  if (Failed(r) || !iterator) outing.FailItem("cannot read event set", name, Failed(r) ? r : E_FAIL);
  ComPtr<IKivEvents> events;
  if (Failed(iterator->GetEvents(events.Put())) || !events) return;
  uint32_t count = 0;
  (void)events->GetCount(&count);
  for (uint32_t index = 1; index <= count; ++index) {
    ComPtr<IKivEvent> event;
    if (Failed(events->GetEvent(static_cast<int32_t>(index), event.Put())) || !event) continue;
    EventRow row;
    row.set = name;
    (void)event->GetTime(&row.time);
    (void)event->GetCategory(&row.category);
    (void)event->GetSource(&row.source);
    (void)event->GetMessage(&row.message);
    rows->push_back(std::move(row));
  }
}

std::u16string ConstantUnit(IKivConstant* constant) {
  std::u16string unit;
  if (auto simple = QueryAs<IKivSimpleConstant>(constant)) {
    (void)simple->GetUnit(&unit);
  } else if (auto excel = QueryAs<IKivExcelConstant>(constant)) {
    (void)excel->GetUnit(&unit);
  }
  return unit;
}

}  // namespace

std::vector<EventRow> ReadEvents(const LoadedOuting& outing) {
  std::vector<EventRow> rows;
  for (const std::u16string& name : outing.AllEventSetNames()) ReadEventSet(outing, name, &rows);
  std::stable_sort(rows.begin(), rows.end(), [](const EventRow& a, const EventRow& b) { return a.time < b.time; });
  return rows;
}

std::vector<BlobRow> ReadBlobs(const LoadedOuting& outing) {
  std::vector<BlobRow> rows;
  for (const std::u16string& name : outing.BlobNames()) {
    ComPtr<IKivBlob> blob = outing.Blob(name);
    BlobRow row;
    row.name = name;
    // A blob answers S_FALSE while its content is on its way.
    const KivResult r = ReadWhenReady(outing.session(), blob.Get(), outing.file(), [&] {
      const KivResult read = blob->GetData(&row.bytes);
      return read == S_FALSE ? KIV_E_PENDING : read;
    });
    if (r != S_OK || Failed(blob->GetGuid(&row.type))) {
      outing.FailItem("cannot read blob", name, Failed(r) ? r : E_FAIL);
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<ConstantRow> ReadConstants(const LoadedOuting& outing) {
  std::vector<ConstantRow> rows;
  for (const std::u16string& name : outing.ConstantNames()) {
    ComPtr<IKivConstant> constant = outing.Constant(name);
    ConstantRow row;
    row.name = name;
    double value = 0;
    const KivResult r =
        ReadWhenReady(outing.session(), constant.Get(), outing.file(), [&] { return constant->GetValue(&value); });
    if (Succeeded(r)) row.value = value;
    row.unit = ConstantUnit(constant.Get());
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace velmar::cli
