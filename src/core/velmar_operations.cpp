// CVelmar: the settings, the display settings, the control face and the
// data factory list.
#include <algorithm>

#include "core/data_factory_branding.h"
#include "core/velmar.h"
#include "velmar/quantity_to_color_mapping.h"

namespace velmar {

// The Settings stream: caption format and the spare settings.

KivResult CVelmar::GetOutingCaptionFormat(std::u16string* format) {
  if (!format) return E_POINTER;
  *format = settings_.captionFormat;
  return S_OK;
}

KivResult CVelmar::SetOutingCaptionFormat(const std::u16string& format) {
  if (!settingsStream_) return E_FAIL;
  if (format.empty()) return E_INVALIDARG;
  if (format == settings_.captionFormat) return S_FALSE;
  std::u16string old = std::exchange(settings_.captionFormat, format);
  if (Failed(RewriteOwnedStream(OwnedStream::kSettings))) {
    settings_.captionFormat = std::move(old);
    return E_FAIL;
  }
  MarkDirty();
  (void)FireNotification(&IKivVelmarNotifications2::OutingCaptionFormatChanged, AsVelmar());
  return S_OK;
}

KivResult CVelmar::SetSpareSetting(uint32_t CVelmarSettings::*field, uint32_t value,
                                   KivResult (IKivVelmarNotifications3::*notification)(IKivVelmar*)) {
  if (!settingsStream_) return E_FAIL;
  if (settings_.*field == value) return S_OK;
  const uint32_t old = std::exchange(settings_.*field, value);
  if (Failed(RewriteOwnedStream(OwnedStream::kSettings))) {
    settings_.*field = old;
    return E_FAIL;
  }
  MarkDirty();
  (void)FireNotification(notification, AsVelmar());
  return S_OK;
}

KivResult CVelmar::SetSpareSettingA(uint32_t value) {
  return SetSpareSetting(&CVelmarSettings::spareA, value, &IKivVelmarNotifications3::SpareSettingAChanged);
}

KivResult CVelmar::GetSpareSettingA(uint32_t* value) {
  if (!value) return E_POINTER;
  *value = settings_.spareA;
  return S_OK;
}

KivResult CVelmar::SetSpareSettingB(uint32_t value) {
  return SetSpareSetting(&CVelmarSettings::spareB, value, &IKivVelmarNotifications3::SpareSettingBChanged);
}

KivResult CVelmar::GetSpareSettingB(uint32_t* value) {
  if (!value) return E_POINTER;
  *value = settings_.spareB;
  return S_OK;
}

// Display settings, read lazily from the registry.

namespace {

template <class T>
KivResult GiveValue(T* out, uint32_t value) {
  if (!out) return E_POINTER;
  *out = static_cast<T>(value);
  return S_OK;
}

}  // namespace

KivResult CVelmar::SetDisplaySetting(DisplaySetting setting, uint32_t value) {
  const KivResult r = display_->Set(setting, value);
  if (Failed(r)) return r;
  if (r == S_OK) RaiseDisplaySettingChanged(setting, value);
  return S_OK;
}

void CVelmar::RaiseDisplaySettingChanged(DisplaySetting setting, uint32_t value) {
  IKivVelmar* root = AsVelmar();
  switch (setting) {
    case DisplaySetting::kPerformanceFormat:
      (void)FireNotification(&IKivVelmarNotifications4::PerformanceFormatChanged, root, value);
      break;
    case DisplaySetting::kSpeedUnit:
      (void)FireNotification(&IKivVelmarNotifications4::SpeedUnitChanged, root, value);
      break;
    case DisplaySetting::kSpeedPrecision:
      (void)FireNotification(&IKivVelmarNotifications4::SpeedPrecisionChanged, root, static_cast<uint16_t>(value));
      break;
    case DisplaySetting::kTimePrecision:
      (void)FireNotification(&IKivVelmarNotifications3::TimePrecisionChanged, root);
      break;
    case DisplaySetting::kTimeFormat:
      (void)FireNotification(&IKivVelmarNotifications2::TimeFormatChanged, root, value);
      break;
    case DisplaySetting::kDisplayOutingLabels:
      (void)FireNotification(&IKivVelmarNotifications7::DisplayOutingLabelsChanged, root);
      break;
    case DisplaySetting::kOutingLabelInitialization:
      (void)FireNotification(&IKivVelmarNotifications7::OutingLabelInitializationChanged, root, value);
      break;
  }
}

KivResult CVelmar::GetTimeFormat(uint32_t* format) {
  if (!format) return E_POINTER;
  return GiveValue(format, display_->Get(DisplaySetting::kTimeFormat));
}

KivResult CVelmar::SetTimeFormat(uint32_t format) { return SetDisplaySetting(DisplaySetting::kTimeFormat, format); }

KivResult CVelmar::GetTimePrecision(uint16_t* precision) {
  if (!precision) return E_POINTER;
  return GiveValue(precision, display_->Get(DisplaySetting::kTimePrecision));
}

KivResult CVelmar::SetTimePrecision(int16_t precision) {
  if (precision < 0) return E_INVALIDARG;
  return SetDisplaySetting(DisplaySetting::kTimePrecision, static_cast<uint32_t>(precision));
}

KivResult CVelmar::GetPerformanceFormat(uint32_t* format) {
  if (!format) return E_POINTER;
  return GiveValue(format, display_->Get(DisplaySetting::kPerformanceFormat));
}

KivResult CVelmar::SetPerformanceFormat(uint32_t format) {
  return SetDisplaySetting(DisplaySetting::kPerformanceFormat, format);
}

KivResult CVelmar::GetSpeedUnit(uint32_t* unit) {
  if (!unit) return E_POINTER;
  return GiveValue(unit, display_->Get(DisplaySetting::kSpeedUnit));
}

KivResult CVelmar::SetSpeedUnit(uint32_t unit) { return SetDisplaySetting(DisplaySetting::kSpeedUnit, unit); }

KivResult CVelmar::GetSpeedPrecision(uint16_t* precision) {
  if (!precision) return E_POINTER;
  return GiveValue(precision, display_->Get(DisplaySetting::kSpeedPrecision));
}

KivResult CVelmar::SetSpeedPrecision(int16_t precision) {
  if (precision < 0) return E_INVALIDARG;
  return SetDisplaySetting(DisplaySetting::kSpeedPrecision, static_cast<uint32_t>(precision));
}

KivResult CVelmar::GetDisplayOutingLabels(KivBool* display) {
  if (!display) return E_POINTER;
  *display = ToKivBool(display_->Get(DisplaySetting::kDisplayOutingLabels) != 0);
  return S_OK;
}

KivResult CVelmar::SetDisplayOutingLabels(KivBool display) {
  return SetDisplaySetting(DisplaySetting::kDisplayOutingLabels, FromKivBool(display) ? 1 : 0);
}

KivResult CVelmar::GetOutingLabelInitialization(uint32_t* initialization) {
  if (!initialization) return E_POINTER;
  return GiveValue(initialization, display_->Get(DisplaySetting::kOutingLabelInitialization));
}

KivResult CVelmar::SetOutingLabelInitialization(uint32_t initialization) {
  return SetDisplaySetting(DisplaySetting::kOutingLabelInitialization, initialization);
}

// The control face.

KivResult CVelmar::GetTypeInfoCount(uint32_t* count) {
  if (!count) return E_POINTER;
  *count = 0;  // no type information: hosts bind to the typed faces
  return S_OK;
}

KivResult CVelmar::GetTypeInfo(uint32_t, IKivUnknown** info) {
  if (!info) return E_POINTER;
  *info = nullptr;
  return DISP_E_BADINDEX;
}

KivResult CVelmar::GetIDsOfNames(const std::u16string&, int32_t*) { return E_NOTIMPL; }

KivResult CVelmar::Invoke(int32_t, uint16_t) { return E_NOTIMPL; }

void CVelmar::ControlPropertyChanged() {
  // Plug-in tools take the control's colours and font; drawing with the font
  // is the platform's drawing face, as is repainting.
  if (ManagedFactoryBridge* bridge = CurrentManagedFactoryBridge()) {
    for (const ActiveDataFactory& entry : dataFactories_.Active()) {
      if (entry.record.kind != DataFactoryKind::kManaged || !entry.factory) continue;
      bridge->SetColours(entry.factory.Get(), backColor_, foreColor_, gridColor_);
      if (font_) bridge->SetFont(entry.factory.Get(), font_.Get());
    }
  }
  MarkDirty();
}

KivResult CVelmar::PutRefFont(IKivUnknown* font) {
  font_ = font;
  ControlPropertyChanged();
  return S_OK;
}

KivResult CVelmar::PutFont(IKivUnknown* font) { return PutRefFont(font); }

KivResult CVelmar::GetFont(IKivUnknown** font) {
  if (!font) return E_POINTER;
  *font = nullptr;
  if (!font_) return S_FALSE;
  return font_.CopyTo(font);
}

KivResult CVelmar::SetBackColor(uint32_t colour) {
  backColor_ = colour;
  ControlPropertyChanged();
  return S_OK;
}

KivResult CVelmar::GetBackColor(uint32_t* colour) { return GiveValue(colour, backColor_); }

KivResult CVelmar::SetForeColor(uint32_t colour) {
  foreColor_ = colour;
  ControlPropertyChanged();
  return S_OK;
}

KivResult CVelmar::GetForeColor(uint32_t* colour) { return GiveValue(colour, foreColor_); }

KivResult CVelmar::SetGridColor(uint32_t colour) {
  if (colour == gridColor_) return S_OK;
  gridColor_ = colour;
  ControlPropertyChanged();
  return S_OK;
}

KivResult CVelmar::GetGridColor(uint32_t* colour) { return GiveValue(colour, gridColor_); }

// The data factory list.

KivResult CVelmar::ApplyToAllRoots(DataFactoryRecords wanted) {
  return CVelmarObjGlobalStateChanges::Process().ApplyDataFactoryList(wanted);
}

KivResult CVelmar::AddDataFactory(const Guid& clsid) {
  if (closed_) return E_UNEXPECTED;
  if (ClassRegistry::Process().IsClassOfCategory(clsid, CATID_KivDataFactory) != S_OK) return E_INVALIDARG;
  return AddDataFactoryRecord(DataFactoryRecord::Native(clsid));
}

KivResult CVelmar::AddDataFactoryRecord(const DataFactoryRecord& record) {
  if (closed_) return E_UNEXPECTED;
  if (IsMandatoryDataFactory(record) || !CurrentDataFactoryBranding().IsAllowed(record)) return E_INVALIDARG;
  DataFactoryRecords wanted = dataFactories_.ActiveRecords();
  if (dataFactories_.IsActive(record)) return S_FALSE;
  wanted.push_back(record);
  return ApplyToAllRoots(std::move(wanted));
}

KivResult CVelmar::RemoveDataFactory(const Guid& clsid) {
  if (closed_) return E_UNEXPECTED;
  return RemoveDataFactoryRecord(DataFactoryRecord::Native(clsid));
}

KivResult CVelmar::RemoveDataFactoryRecord(const DataFactoryRecord& record) {
  if (closed_) return E_UNEXPECTED;
  if (IsMandatoryDataFactory(record)) return E_INVALIDARG;
  if (!dataFactories_.IsActive(record)) return S_FALSE;
  DataFactoryRecords wanted = dataFactories_.ActiveRecords();
  std::erase_if(wanted, [&](const auto& r) { return r.SameFactory(record); });
  return ApplyToAllRoots(std::move(wanted));
}

KivResult CVelmar::AddDataFactoryByProgId(const std::u16string& progId) {
  Guid clsid;
  if (Failed(ClassRegistry::Process().ProgIdToClsid(progId, &clsid))) return E_INVALIDARG;
  return AddDataFactory(clsid);
}

KivResult CVelmar::RemoveDataFactoryByProgId(const std::u16string& progId) {
  Guid clsid;
  if (Failed(ClassRegistry::Process().ProgIdToClsid(progId, &clsid))) return E_INVALIDARG;
  return RemoveDataFactory(clsid);
}

KivResult CVelmar::ApplyDataFactoryList(const DataFactoryRecords& wanted) {
  // Plug-in tools that leave are detached from the root by the list.
  return dataFactories_.Apply(wanted, *this);
}

void CVelmar::ConnectFactory(IKivUnknown* factory) {
  if (dataFactorySink_) (void)dataFactorySink_->Connect(factory);
}

void CVelmar::DisconnectFactory(IKivUnknown* factory) {
  if (dataFactorySink_) (void)dataFactorySink_->Disconnect(factory);
}

void CVelmar::AddChildNode(IKivUnknown* node) {
  if (!node || std::find(childNodes_.begin(), childNodes_.end(), ComPtr<IKivUnknown>(node)) != childNodes_.end()) {
    return;
  }
  childNodes_.emplace_back(node);
  if (auto child = QueryAs<IKivObjectNode>(node)) (void)AddChild(child.Get());
}

void CVelmar::RemoveChildNode(IKivUnknown* node) {
  std::erase(childNodes_, ComPtr<IKivUnknown>(node));
  if (auto child = QueryAs<IKivObjectNode>(node)) (void)RemoveChild(child.Get());
}

void CVelmar::ActiveFactoriesChanged(const ActiveDataFactories& active) {
  if (tasks_) (void)tasks_->SetDataFactoryList(active);
}

KivResult CVelmar::ReloadExternalData() {
  if (globalConstantFactory_) (void)globalConstantFactory_->ReloadSpreadsheetConstants();
  // A copy: a factory's reload may change the list.
  const ActiveDataFactories active = dataFactories_.Active();
  for (const auto& entry : active) {
    if (auto reload = QueryAs<IKivDataFactoryReload>(entry.factory.Get())) (void)reload->Reload();
  }
  return S_OK;
}

}  // namespace velmar
