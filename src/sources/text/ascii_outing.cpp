#include "sources/text/ascii_outing.h"

#include "sources/text/ascii_constant_write.h"

#include "outing/channels/channel_header.h"
#include "velmar/velmar.h"

#include <algorithm>

namespace velmar {
namespace {

// A load's events as records, per set name in rising time.
EventRecordMap EventRecordsOf(const TextEventSets& sets) {
  EventRecordMap records;
  for (const auto& [name, byTime] : sets) {
    std::vector<EventRecordPtr>& list = records[name];
    list.reserve(byTime.size());
    for (const auto& [time, event] : byTime) {
      auto record = std::make_shared<CCachedEventData>();
      record->message = event.message;
      record->source = event.source;
      record->name = event.name;
      record->category = event.category;
      record->time = time;
      list.push_back(std::move(record));
    }
  }
  return records;
}

}  // namespace

// --- Events factory -------------------------------------------------------------

KivResult CAsciiEventsFactory::GetItem(const std::u16string& name, IKivEventSet** set) {
  if (!set) return E_POINTER;
  *set = nullptr;
  if (!cache_ || !cache_->EnsureLoaded()) return KIV_E_PENDING;
  if (!listed()) FillNames();
  return COutingEventsFactoryBase::GetItem(name, set);
}

NameChanges CAsciiEventsFactory::Reload() {
  const AsciiOutingData* data = cache_ ? cache_->data() : nullptr;
  if (!data) return {};
  return LoadEventSets(EventRecordsOf(data->events), nullptr, timeOffset_ ? *timeOffset_ : 0);
}

void CAsciiEventsFactory::FillNames() {
  if (cache_ && cache_->EnsureLoaded()) (void)Reload();
}

// --- Constant factory -------------------------------------------------------------

KivResult CAsciiConstantFactory::GetItem(const std::u16string& name, IKivConstant** constant) {
  if (!constant) return E_POINTER;
  *constant = nullptr;
  if (!cache_ || !cache_->EnsureLoaded()) return KIV_E_PENDING;
  return CLoadedConstantFactory::GetItem(name, constant);
}

ComPtr<CWriteBackStateMachineBase> CAsciiConstantFactory::MakeConstantStep(ConstantWriteOp op,
                                                                         CWriteBackStateChanges* receiver,
                                                                         ConstantWriteFields fields) {
  return CWBAsciiConstantSteps::Make(op, receiver, std::move(fields));
}

bool CAsciiConstantFactory::LoadedRecords(std::vector<ConstantRecord>* records) {
  if (!cache_ || !cache_->EnsureLoaded()) return false;
  const AsciiOutingData* data = cache_->data();
  if (!data) return false;
  records->clear();
  records->reserve(data->constants.size());
  for (const TextConstant& constant : data->constants) {
    ConstantRecord record;
    record.name = constant.name;
    record.value = constant.value;
    record.unit = constant.comment;
    records->push_back(std::move(record));
  }
  return true;
}

// --- Channel factory ----------------------------------------------------------

std::u16string CAsciiChannelFactory::UnitText(const std::u16string& name) {
  const CAsciiRawChannel* raw = cache()->GetRawChannel(name);
  return raw ? raw->unit : std::u16string();
}

// --- Outing -------------------------------------------------------------------

CAsciiOuting::CAsciiOuting(ComPtr<CAsciiOutingCache> cache, bool overrideProperties)
    : CFileOuting(std::move(cache), overrideProperties) {
  channels().Bind(this->cache(), &offset_);
  event_sets().Bind(this->cache(), &offset_);
  constants().Bind(this->cache());
}

CAsciiOuting::~CAsciiOuting() {
  // An open transaction this outing began goes with it.
  if (cache()) cache()->transaction()->OutingGone(this);
  DetachFromCache();
  (void)channels().RemoveAllItems();  // ends each channel's cycle with its iterator
  (void)event_sets().DiscardEventSets();
  (void)constants().Discard();
}

void CAsciiOuting::OnDataDiscarded() {
  laps_.reset();
  FireItemsRemoved(channels().AsDataFactory(), kDataKindChannels, channels().RemoveAllItems());
  FireItemsRemoved(event_sets().AsDataFactory(), kDataKindEvents, event_sets().DiscardEventSets());
  FireItemsRemoved(constants().AsDataFactory(), kDataKindConstants, constants().Discard());
}

void CAsciiOuting::OnChannelsLoaded() {
  FireItemsAdded(channels().AsDataFactory(), kDataKindChannels, channels().Refill());
}

void CAsciiOuting::OnLapMarkersReset() {
  laps_.reset();
  CFileOuting::OnLapMarkersReset();
}

const TextLapData* CAsciiOuting::LapMarkerData() {
  if (laps_) return &*laps_;
  TextLapData laps;
  if (!cache()->ReadLapMarkers(&laps.markers)) return nullptr;
  const AsciiOutingData* data = cache()->data();
  if (!data || data->outingStart > data->outingEnd) return nullptr;  // nothing with a time in it
  laps.span.outingStart = data->outingStart;
  laps.span.outingEnd = data->outingEnd;
  laps_ = std::move(laps);
  return &*laps_;
}

void CAsciiOuting::ReloadEventSets() {
  FireChanges(event_sets().AsDataFactory(), kDataKindEvents, event_sets().Reload());
  FireChanges(constants().AsDataFactory(), kDataKindConstants, constants().Reload());
}

void CAsciiOuting::FireChanges(IKivDataFactory* factory, uint32_t kind, const NameChanges& changes) {
  FireItemsRemoved(factory, kind, changes.removed);
  FireItemsAdded(factory, kind, changes.added);
}

KivResult CAsciiOuting::ApplyTimeOffset(KivTime offset) {
  const KivResult r = channels().ShiftChannels(offset);
  if (Failed(r)) return r;
  const KivResult events = event_sets().SetTimeOffset(offset);
  if (Failed(events)) return events;
  offset_ = offset;
  set_time_offset(offset);
  return r;
}

KivResult OpenAsciiOuting(const std::u16string& path, bool overrideProperties, ComPtr<CAsciiOuting>* outing,
                          const Guid& outingId, TextFileOps* ops) {
  return OpenOutingOnCache<CAsciiOuting>(
      path, overrideProperties, [&] { return MakeKiv<CAsciiOutingCache>(path, outingId, ops); }, outing);
}

}  // namespace velmar
