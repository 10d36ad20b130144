#include "sources/realtime/rt_outing_information.h"

namespace velmar {

CRTOutingInformation::CRTOutingInformation(const rt::WireDetails& d,
                                           const std::map<std::u16string, std::u16string>& pairs) {
  TarnOutingRecord record{};  // the store's record, its texts pointing into `d`
  record.fastLapTime = d.fastLapTime;
  record.createDate = d.createDate;
  record.trackName = d.trackName.c_str();
  record.driverName = d.driverName.c_str();
  record.shortComment = d.shortComment.c_str();
  record.longComment = d.longComment.c_str();
  record.timeZone = d.timeZone.c_str();
  record.systemDetails = d.systemDetails.c_str();
  record.carName = d.carName.c_str();
  record.sessionNumber = d.sessionNumber;
  record.outingNumber = d.outingNumber;
  record.firstLapNumber = d.firstLapNumber;
  record.fastLapNumber = d.fastLapNumber;
  record.lastLapNumber = d.lastLapNumber;
  record.datasetType = d.datasetType;
  record.utcDifference = d.utcDifference;
  record.engineTest = d.engineTest;
  properties_ = OutingProperties(record, NowAsOleDate());
  for (const auto& [name, value] : pairs) properties_[name] = Variant::Text(value);
}

KivResult CRTOutingInformation::GetProperty(const std::u16string& name, Variant* value) {
  if (!value) return E_POINTER;
  const auto it = properties_.find(name);
  if (it == properties_.end()) return E_INVALIDARG;
  *value = it->second;
  return S_OK;
}

KivResult CRTOutingInformation::SetProperty(const std::u16string&, const Variant&) { return E_ACCESSDENIED; }

KivResult CRTOutingInformation::GetProperties(PropertyList* properties) {
  if (!properties) return E_POINTER;
  PropertyList list;
  for (const auto& [name, value] : properties_) list.push_back({name, value});
  *properties = std::move(list);
  return S_OK;
}

KivResult CRTOutingInformation::SetProperties(const PropertyList&) { return E_ACCESSDENIED; }

}  // namespace velmar
