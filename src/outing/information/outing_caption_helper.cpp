#include "outing/information/outing_caption_helper.h"

#include <cstdio>
#include <filesystem>
#include <optional>

#include "velmar/format_time.h"
#include "outing/information/outing_information_prop_def.h"
#include "velmar/caption.h"
#include "velmar/text.h"

namespace velmar {
namespace {

namespace p = outing_property;

std::optional<Variant> Read(IKivPropertySet* properties, std::u16string_view name) {
  Variant value;
  if (!properties || properties->GetProperty(std::u16string(name), &value) != S_OK) return std::nullopt;
  return value;
}

std::optional<int64_t> ReadNumber(IKivPropertySet* properties, std::u16string_view name) {
  const std::optional<Variant> value = Read(properties, name);
  if (!value) return std::nullopt;
  const std::optional<double> number = value->ToDouble();
  if (!number) return std::nullopt;
  return static_cast<int64_t>(*number);
}

std::u16string Printf(const char* format, int64_t value) {
  char text[32];
  std::snprintf(text, sizeof text, format, static_cast<int>(value));
  return Utf8ToWide(text);
}

// A token's number: "%.3d" from 0 to 999, "%.2d" down to -99, else "xxx".
std::u16string NumberField(IKivPropertySet* properties, std::u16string_view name) {
  const std::optional<int64_t> n = ReadNumber(properties, name);
  if (!n) return u"#";
  if (*n < -99 || *n > 999) return u"xxx";
  return Printf(*n < 0 ? "%.2d" : "%.3d", *n);
}

std::u16string TextField(IKivPropertySet* properties, std::u16string_view name) {
  const std::optional<Variant> value = Read(properties, name);
  return value ? value->ToText() : u"#";
}

// One field of the default caption: three characters.
std::u16string DefaultField(const std::optional<int64_t>& n) {
  if (!n) return u"xxx";
  if (*n >= 0 && *n <= 999) return Printf("%.3d", *n);
  if (*n < 0 && *n >= -99) return Printf("%.2d", *n);
  return u"###";
}

}  // namespace

CaptionSettings ReadCaptionSettings(IKivVelmar* root) {
  CaptionSettings settings;
  uint32_t format = 0;
  uint16_t precision = 0;
  if (auto v2 = QueryAs<IKivVelmar2>(root)) {
    if (Failed(v2->GetOutingCaptionFormat(&settings.format))) settings.format.clear();
    if (Succeeded(v2->GetTimeFormat(&format))) settings.timeFormat = format;
  }
  if (auto v3 = QueryAs<IKivVelmar3>(root); v3 && Succeeded(v3->GetTimePrecision(&precision))) {
    settings.timePrecision = precision;
  }
  if (auto v4 = QueryAs<IKivVelmar4>(root); v4 && Succeeded(v4->GetPerformanceFormat(&format))) {
    settings.performanceFormat = format;
  }
  return settings;
}

std::u16string DefaultCaption(IKivPropertySet* properties, std::u16string_view plainLabel) {
  const std::optional<int64_t> fields[] = {ReadNumber(properties, p::kSessionNumber),
                                           ReadNumber(properties, p::kOutingNumber),
                                           ReadNumber(properties, p::kFirstLapNumber)};
  if (!fields[0] && !fields[1] && !fields[2]) return std::u16string(plainLabel);
  return u"<" + DefaultField(fields[0]) + u":" + DefaultField(fields[1]) + u":" + DefaultField(fields[2]) + u">";
}

std::u16string COutingCaptionHelper::FastTime(IKivPropertySet* properties, const CaptionSettings& settings) {
  const std::optional<int64_t> lap = ReadNumber(properties, p::kFastLapNumber);
  if (!lap || *lap == 0) return u"#";
  if (settings.performanceFormat == 1) {
    // The average speed of the fast lap needs the lap regions of the
    // outing's selection.
    return u"#";
  }
  const std::optional<Variant> time = Read(properties, p::kFastLapTime);
  const std::optional<KivTime> ticks = time ? time->AsTime() : std::nullopt;
  if (!ticks) return u"#";
  return FormatTime(*ticks, static_cast<int>(settings.timeFormat), settings.timePrecision, false, false)
      .value_or(u"#");
}

std::u16string COutingCaptionHelper::Token(std::u16string_view token, IKivPropertySet* properties,
                                           const CaptionSettings& settings) {
  if (token == u"default") return callback_ ? callback_->GetDefaultCaption(properties) : u"#";
  if (token == u"car") return TextField(properties, p::kCarName);
  if (token == u"date") return TextField(properties, p::kCreateDate);
  if (token == u"driver") return TextField(properties, p::kDriverName);
  if (token == u"track") return TextField(properties, p::kTrackName);
  if (token == u"fastlap") return NumberField(properties, p::kFastLapNumber);
  if (token == u"firstlap") return NumberField(properties, p::kFirstLapNumber);
  if (token == u"outing") return NumberField(properties, p::kOutingNumber);
  if (token == u"session") return NumberField(properties, p::kSessionNumber);
  if (token == u"fasttime") return FastTime(properties, settings);
  if (token == u"filename") {
    return callback_ ? Utf8ToWide(std::filesystem::path(WideToUtf8(callback_->GetPath())).filename().string()) : u"#";
  }
  return {};  // an unknown token prints nothing
}

std::u16string COutingCaptionHelper::BuildCaption(IKivPropertySet* properties, const CaptionSettings& settings) {
  const std::u16string format = settings.format.empty() ? u"%default%" : settings.format;
  std::u16string caption;
  size_t at = 0;
  while (at < format.size()) {
    const size_t open = format.find(u'%', at);
    if (open == std::u16string::npos) {
      caption += format.substr(at);
      break;
    }
    caption += format.substr(at, open - at);
    const size_t close = format.find(u'%', open + 1);
    if (close == std::u16string::npos) {
      caption += format.substr(open + 1);  // a last "%" alone is dropped
      break;
    }
    caption += Token(std::u16string_view(format).substr(open + 1, close - open - 1), properties, settings);
    at = close + 1;
  }
  return caption;
}

}  // namespace velmar

namespace velmar {
namespace {

// The plain label of a source, shown when the default caption has nothing.
std::u16string_view PlainLabel(uint32_t type) {
  switch (static_cast<OutingType>(type)) {
    case OutingType::kText:
      return u"ASCII Outing";
    case OutingType::kMatFile:
      return u"MATLAB Outing";
    case OutingType::kSpreadsheet:
      return u"Excel Outing";
    default:
      return u"<---:---:--->";
  }
}

class OutingCallback final : public COutingCaptionHelperCallback {
 public:
  explicit OutingCallback(IKivOuting* outing) : outing_(outing) {}
  std::u16string GetDefaultCaption(IKivPropertySet* properties) override {
    uint32_t type = 0;
    (void)outing_->GetOutingType(&type);
    return DefaultCaption(properties, PlainLabel(type));
  }
  std::u16string GetPath() override {
    std::u16string path;
    (void)outing_->GetFileName(&path);
    return path;
  }
  void OnCaptionInvalid() override {}

 private:
  IKivOuting* outing_;
};

}  // namespace

KivResult KivFormatOutingCaption(IKivOuting* outing, const std::u16string& format, IKivVelmar* root,
                                 std::u16string* caption) {
  if (!outing || !caption) return E_POINTER;
  ComPtr<IKivPropertySet> information;
  if (outing->GetOutingInformation(information.Put()) != S_OK) information = nullptr;
  OutingCallback callback(outing);
  CaptionSettings settings = ReadCaptionSettings(root);
  settings.format = format;
  *caption = COutingCaptionHelper(&callback).BuildCaption(information.Get(), settings);
  return S_OK;
}

}  // namespace velmar
