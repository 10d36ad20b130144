#include "sources/tarn/tarn_info_write.h"

#include <deque>
#include <string>

#include "outing/information/outing_information_prop_def.h"
#include "outing/information/property_conversion.h"
#include "sources/tarn/tarn_records.h"

namespace velmar {
namespace {

namespace p = tarn_property;

struct TextField {
  std::u16string_view name;
  const char16_t* TarnOutingRecord::*field;
  size_t limit;  // 0: none
};

constexpr TextField kTextFields[] = {
    {p::kDriverName, &TarnOutingRecord::driverName, 255},   {p::kTrackName, &TarnOutingRecord::trackName, 255},
    {p::kCarName, &TarnOutingRecord::carName, 255},         {p::kShortComment, &TarnOutingRecord::shortComment, 511},
    {p::kLongComment, &TarnOutingRecord::longComment, 4095}, {p::kTimeZone, &TarnOutingRecord::timeZone, 31},
    {p::kSystemDetails, &TarnOutingRecord::systemDetails, 0},
};

struct NumberField {
  std::u16string_view name;
  uint32_t TarnOutingRecord::*field;
};

constexpr NumberField kNumberFields[] = {
    {p::kSessionNumber, &TarnOutingRecord::sessionNumber}, {p::kOutingNumber, &TarnOutingRecord::outingNumber},
    {p::kFirstLapNumber, &TarnOutingRecord::firstLapNumber}, {p::kFastLapNumber, &TarnOutingRecord::fastLapNumber},
    {p::kLastLapNumber, &TarnOutingRecord::lastLapNumber},   {p::kDatasetType, &TarnOutingRecord::datasetType},
};

// Carried for sources that fill them; the details record has no place for them.
constexpr std::u16string_view kPassedOver[] = {u"GUID", u"Fast lap speed"};

template <class Table>
auto FindField(const Table& table, std::u16string_view name) -> decltype(&table[0]) {
  for (const auto& entry : table) {
    if (entry.name == name) return &entry;
  }
  return nullptr;
}

// Puts one pair into `record`; texts it points to are kept in `texts`.
// E_INVALIDARG for a name the record does not know; E_FAIL for a value
// that does not fit its field.
KivResult SetField(TarnOutingRecord& record, const Property& pair, std::deque<std::u16string>& texts) {
  if (!COutingInformationPropDef::Find(pair.name)) return E_INVALIDARG;
  for (std::u16string_view name : kPassedOver) {
    if (pair.name == name) return S_OK;
  }
  if (const TextField* f = FindField(kTextFields, pair.name)) {
    const std::u16string* text = pair.value.AsText();
    if (!text) return E_FAIL;
    record.*(f->field) = texts.emplace_back(*text).c_str();
    return S_OK;
  }
  const std::optional<double> number = pair.value.ToDouble();
  if (!number) return E_FAIL;
  Variant v;
  if (const NumberField* f = FindField(kNumberFields, pair.name)) {
    if (!ConvertNumber(*number, Variant::Kind::kI32, &v)) return E_FAIL;
    record.*(f->field) = static_cast<uint32_t>(*v.AsI32());
  } else if (pair.name == p::kCreateDate) {
    record.createDate = *number;
  } else if (pair.name == p::kUtcDifference) {
    if (!ConvertNumber(*number, Variant::Kind::kI32, &v)) return E_FAIL;
    record.utcDifference = *v.AsI32();
  } else if (pair.name == p::kFastLapTime) {
    if (!ConvertNumber(*number, Variant::Kind::kTime, &v)) return E_FAIL;
    record.fastLapTime = *v.AsTime();
  } else if (pair.name == p::kEngineTest) {
    record.engineTest = *number == -1.0 ? 1 : 0;  // only a true bool marks an engine test
  } else {
    return E_FAIL;
  }
  return S_OK;
}

}  // namespace

std::optional<size_t> TarnPropertyTextLimit(std::u16string_view name) {
  const TextField* f = FindField(kTextFields, name);
  if (!f || f->limit == 0) return std::nullopt;
  return f->limit;
}

KivResult ValidateTarnProperty(const Property& pair, const TarnPropertyMap& held, Variant* converted) {
  if (!COutingInformationPropDef::Find(pair.name)) return E_INVALIDARG;
  if (const std::u16string* text = pair.value.AsText()) {
    const std::optional<size_t> limit = TarnPropertyTextLimit(pair.name);
    if (limit && text->size() > *limit) return E_INVALIDARG;
  }
  auto it = held.find(pair.name);
  if (it == held.end()) {
    *converted = pair.value;
    return S_OK;
  }
  return ChangeKind(pair.value, it->second.kind(), converted) ? S_OK : DISP_E_TYPEMISMATCH;
}

KivResult CWBTarnOutingInfoJobItem::Run() {
  TarnConnection* store = access_ ? access_->connection() : nullptr;
  ComPtr<IKivTarnDetailsWriter> writer = access_ ? access_->Writer<IKivTarnDetailsWriter>() : nullptr;
  ComPtr<IKivTarnOutingRecords> records;
  if (!store || !store->details || !writer || Failed(store->details->GetDetails(kTarnWaitForever, records.Put())) ||
      Items(records).empty()) {
    return Fail(kInfoWriteFailed);
  }
  TarnOutingRecord record = Items(records).front();
  std::deque<std::u16string> texts;  // stable addresses for the record's pointers
  for (const Property& pair : properties()) {
    const KivResult r = SetField(record, pair, texts);
    if (r == E_INVALIDARG) {
      SetError(kInfoInvalidName, pair.name);
      return E_FAIL;
    }
    if (Failed(r)) return Fail(kInfoWriteFailed);
    if (pair.name == p::kFirstLapNumber) {
      ComPtr<IKivTarnLapMarkerWriter> laps = access_->Writer<IKivTarnLapMarkerWriter>();
      if (!laps || Failed(laps->SetFirstLapNumber(record.firstLapNumber))) return Fail(kInfoFirstLapFailed);
    }
  }
  return Failed(writer->WriteDetails(&record)) ? Fail(kInfoWriteFailed) : S_OK;
}

}  // namespace velmar
