#include "sources/text/sample_generator.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "sources/text/sample_car.h"
#include "sources/text/text_structures.h"
#include "sources/text/text_writer.h"
#include "velmar/sample.h"
#include "velmar/text.h"
#include "velmar/version.h"

namespace velmar {
namespace {

struct ColumnDef {
  SampleChannel channel;
  const char16_t* name;
  const char16_t* unit;
};

constexpr ColumnDef kFast[] = {
    {SampleChannel::kDistance, u"Distance", u"m"},
    {SampleChannel::kSpeed, u"Speed", u"km/h"},
    {SampleChannel::kEngineSpeed, u"Engine Speed", u"rpm"},
    {SampleChannel::kThrottle, u"Throttle", u"%"},
    {SampleChannel::kBrakePressure, u"Brake Pressure", u"bar"},
    {SampleChannel::kGear, u"Gear", u""},
    {SampleChannel::kLateralAcceleration, u"Lateral Acceleration", u"g"},
    {SampleChannel::kLongitudinalAcceleration, u"Longitudinal Acceleration", u"g"},
    {SampleChannel::kLatitude, u"Latitude", u"deg"},
    {SampleChannel::kLongitude, u"Longitude", u"deg"},
};

// The outing's fast block has the map position besides; the wide table doesn't.
constexpr ColumnDef kMapPositionColumn = {SampleChannel::kMapPosition, u"Map Position D", u"m"};

constexpr ColumnDef kSlow[] = {
    {SampleChannel::kWaterTemperature, u"Water Temperature", u"C"},
    {SampleChannel::kOilTemperature, u"Oil Temperature", u"C"},
    {SampleChannel::kTyreTemperatureFL, u"Tyre Temperature FL", u"C"},
    {SampleChannel::kTyreTemperatureFR, u"Tyre Temperature FR", u"C"},
    {SampleChannel::kTyreTemperatureRL, u"Tyre Temperature RL", u"C"},
    {SampleChannel::kTyreTemperatureRR, u"Tyre Temperature RR", u"C"},
    {SampleChannel::kFuelLevel, u"Fuel Level", u"l"},
};

constexpr ColumnDef kWideExtra[] = {
    {SampleChannel::kSteeringAngle, u"Steering Angle", u"deg"},
    {SampleChannel::kWheelSpeedFL, u"Wheel Speed FL", u"km/h"},
    {SampleChannel::kWheelSpeedFR, u"Wheel Speed FR", u"km/h"},
    {SampleChannel::kWheelSpeedRL, u"Wheel Speed RL", u"km/h"},
    {SampleChannel::kWheelSpeedRR, u"Wheel Speed RR", u"km/h"},
    {SampleChannel::kRideHeightFront, u"Ride Height Front", u"mm"},
    {SampleChannel::kRideHeightRear, u"Ride Height Rear", u"mm"},
    {SampleChannel::kDamperFL, u"Damper Position FL", u"mm"},
    {SampleChannel::kDamperFR, u"Damper Position FR", u"mm"},
    {SampleChannel::kFuelLevel, u"Fuel Level", u"l"},
};

std::vector<ColumnDef> WideDefs() {
  std::vector<ColumnDef> defs(std::begin(kFast), std::end(kFast));
  defs.insert(defs.end(), std::begin(kWideExtra), std::end(kWideExtra));
  return defs;
}

std::vector<ColumnDef> FastDefs() {
  std::vector<ColumnDef> defs(std::begin(kFast), std::end(kFast));
  defs.push_back(kMapPositionColumn);
  return defs;
}

std::vector<std::u16string> Headers(const std::vector<ColumnDef>& defs) {
  std::vector<std::u16string> out;
  for (const auto& d : defs) out.push_back(std::u16string(d.name) + (*d.unit ? u"[" + std::u16string(d.unit) + u"]" : u""));
  return out;
}

// One channel of the car, read on the writer's grid.
class CarSampler : public TextGroupSampler {
 public:
  CarSampler(SampleCar& car, SampleChannel channel, KivTime end) : car_(car), channel_(channel), end_(end) {}
  Result At(KivTime t, double* value) override {
    if (t > end_) return Result::kNoMore;
    *value = car_.Value(channel_, t);
    return Result::kValue;
  }

 private:
  SampleCar& car_;
  SampleChannel channel_;
  KivTime end_;
};

KivTime PeriodOf(double rate) {
  if (!(rate > 0) || !std::isfinite(rate)) rate = 100.0;
  return std::max<KivTime>(1, std::llround(1e7 / rate));
}

// The logger's clock: whole seconds of the day, from `clock` at the first sample.
class ClockSampler : public TextGroupSampler {
 public:
  ClockSampler(double clock, KivTime end) : clock_(clock), end_(end) {}
  Result At(KivTime t, double* value) override {
    if (t > end_) return Result::kNoMore;
    *value = std::floor(clock_ + static_cast<double>(t) / 1e7);
    return Result::kValue;
  }

 private:
  double clock_;
  KivTime end_;
};

constexpr char16_t kClockName[] = u"Global Time";
constexpr char16_t kClockUnit[] = u"s";

// One block of the given columns from 0 to end on a grid of period, with
// the clock as its last column when one is given.
void AppendCarBlock(std::string& out, SampleCar& car, const std::vector<ColumnDef>& defs, KivTime period,
                    KivTime end, TextGroupSampler* clock = nullptr) {
  std::vector<std::unique_ptr<CarSampler>> samplers;
  std::vector<TextGroupChannel> channels;
  for (const auto& d : defs) {
    samplers.push_back(std::make_unique<CarSampler>(car, d.channel, end));
    channels.push_back({d.name, d.unit, 0, end, period, 1.0, 0.0, samplers.back().get()});
  }
  if (clock) channels.push_back({kClockName, kClockUnit, 0, end, period, 1.0, 0.0, clock});
  (void)AppendChannelGroupBlock(out, channels, 0);  // fails only on arguments made above
}

uint64_t Pick(uint64_t seed, uint64_t salt, uint64_t n) {
  uint64_t z = (seed + salt) * 0x9E3779B97F4A7C15ull;
  z ^= z >> 29;
  return z % n;
}

void AppendInformation(std::string& out, const SampleOptions& o, std::u16string_view comment) {
  static constexpr const char16_t* kDrivers[] = {u"Alex Marlow", u"Jo Castell", u"Sam Okafor", u"Rita Verne"};
  static constexpr const char16_t* kCars[] = {u"KV-17 #4", u"KV-17 #9", u"KV-18 #2"};
  AppendInformationLine(out, u"DriverName", kDrivers[Pick(o.seed, 1, std::size(kDrivers))]);
  AppendInformationLine(out, u"TrackName", u"Halvane Park");
  AppendInformationLine(out, u"CarName", kCars[Pick(o.seed, 2, std::size(kCars))]);
  AppendInformationLine(out, u"SessionNumber", W(std::to_string(1 + Pick(o.seed, 3, 4))));
  AppendInformationLine(out, u"OutingNumber", W(std::to_string(1 + Pick(o.seed, 4, 12))));
  AppendInformationLine(out, u"FirstLapNumber", u"1");
  AppendInformationLine(out, u"ShortComment", comment);
  AppendInformationLine(out, u"LongComment",
                        W("Made by the sample generator.\r\nLaps: " + std::to_string(o.laps) +
                          ", rate: " + std::to_string(o.rate) + " Hz, seed: " + std::to_string(o.seed) + "."));
  AppendInformationLine(out, u"SystemDetails", W(std::string("velmar ") + kVersion));
  AppendInformationLine(out, u"EngineTest", u"False");
  AppendInformationLine(out, u"SampleSeed", W(std::to_string(o.seed)));  // a key the format does not know
}

// The beacon is logged on the fast channels' first sample past the line, as
// a logger would, so each lap ends on a sample of the map position.
void AppendLapEvents(std::string& out, const SampleCar& car, KivTime period) {
  AppendEventBlockHead(out);
  for (int k = 0; k < car.laps(); ++k) {
    TextEvent e;
    const auto crossing = static_cast<KivTime>(std::llround(car.LapEnd(k) * 1e7));
    e.time = (crossing + period - 1) / period * period;
    e.name = u"End of lap";
    e.category = kEventFromCar;
    e.source = u"Beacon";
    e.message = W("Lap " + std::to_string(k + 1));
    AppendEventRow(out, e, 0);
  }
}

void AppendSetupConstants(std::string& out) {
  const TextConstant constants[] = {
      {u"Front Wing Angle", 12.5, u"deg"},   {u"Rear Wing Angle", 18.0, u"deg"},
      {u"Tyre Pressure FL", 1.85, u"bar, cold"}, {u"Tyre Pressure FR", 1.85, u"bar, cold"},
      {u"Tyre Pressure RL", 1.75, u"bar, cold"}, {u"Tyre Pressure RR", 1.75, u"bar, cold"},
      {u"Brake Balance", 56.5, u"% front"},  {u"Fuel Load", 60.0, u"l at start"},
  };
  AppendConstantBlock(out, constants);
}

}  // namespace

std::string GenerateSampleOuting(const SampleOptions& options) {
  SampleOptions o = options;
  o.laps = std::max(1, o.laps);
  SampleCar car(o.seed, o.laps);
  KivTime fast = PeriodOf(o.rate);
  KivTime slow = fast * 10;
  // The data runs on to the first slow sample at or after the last crossing,
  // so that every "End of lap" lies inside every channel.
  const auto lastCrossing = static_cast<KivTime>(std::llround(car.Duration() * 1e7));
  const KivTime end = (lastCrossing + slow - 1) / slow * slow;

  std::string out;
  AppendHead(out);
  AppendInformation(out, o, u"Sample outing");
  AppendLapEvents(out, car, fast);
  AppendSetupConstants(out);
  AppendCarBlock(out, car, FastDefs(), fast, end);
  SampleCar slowCar(o.seed, o.laps);
  ClockSampler clock(o.clock, end);
  AppendCarBlock(out, slowCar, {std::begin(kSlow), std::end(kSlow)}, slow, end, &clock);
  return out;
}

std::string GenerateWideTable(uint64_t targetBytes, const SampleOptions& options) {
  KivTime period = PeriodOf(options.rate);
  std::vector<ColumnDef> defs = WideDefs();
  // Size a row from a short stretch, then run as long as the target needs.
  constexpr KivTime kProbeRows = 2000;
  std::string probe;
  {
    SampleCar car(options.seed, 2);
    AppendCarBlock(probe, car, defs, period, (kProbeRows - 1) * period);
  }
  double bytesPerRow = static_cast<double>(probe.size()) / static_cast<double>(kProbeRows);
  auto rows = static_cast<uint64_t>(std::max(1.0, std::ceil(static_cast<double>(targetBytes) / bytesPerRow)));
  return GenerateWideRows(rows, options);
}

std::string GenerateWideRows(uint64_t rows, const SampleOptions& options) {
  KivTime period = PeriodOf(options.rate);
  rows = std::max<uint64_t>(rows, 1);
  double seconds = static_cast<double>(static_cast<KivTime>(rows) * period) / 1e7;
  int laps = static_cast<int>(std::ceil(seconds / (SampleCar::ReferenceLapTime() / 1.01))) + 1;
  SampleCar car(options.seed, laps);

  std::string out;
  out.reserve(static_cast<size_t>(rows * 256 + 4096));
  AppendHead(out);
  SampleOptions o = options;
  o.laps = laps;
  AppendInformation(out, o, u"Wide table for import benchmarks");
  AppendCarBlock(out, car, WideDefs(), period, static_cast<KivTime>(rows - 1) * period);
  return out;
}

std::string SampleCircuitMapJson() {
  // Segments as runs of the circuit's pieces: the straight before a corner
  // belongs to it.
  struct Segment {
    const char* name;
    size_t firstPiece;
  };
  static constexpr Segment kSegments[] = {{"Turn 1", 0},  {"Turn 2", 2},  {"Hairpin", 4}, {"Chicane", 6},
                                          {"Turn 5", 10}, {"Turn 6", 12}, {"Turn 7", 14}, {"Turn 8", 16}};
  const std::vector<double>& starts = SampleCar::PieceStarts();
  const double length = SampleCar::CircuitLength();
  auto number = [](double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return std::string(text);
  };
  std::string markers;
  std::string segments;
  const size_t count = std::size(kSegments);
  for (size_t i = 0; i <= count; ++i) {
    const double at = i < count ? starts[kSegments[i].firstPiece] : length;
    const std::string name = i == 0 ? "S/F" : std::string(kSegments[i - 1].name) + " exit";
    markers += std::string(i ? ",\n" : "") + "    {\"name\": \"" + name + "\", \"distance\": " + number(at) + "}";
    if (i < count) {
      segments += std::string(i ? ",\n" : "") + "    {\"name\": \"" + kSegments[i].name +
                  "\", \"start\": " + std::to_string(i) + ", \"end\": " + std::to_string(i + 1) + "}";
    }
  }
  return "{\n  \"name\": \"Halvane Park\",\n  \"lap_length\": " + number(length) +
         ",\n  \"lap_time\": " + number(SampleCar::ReferenceLapTime()) + ",\n  \"markers\": [\n" + markers +
         "\n  ],\n  \"segments\": [\n" + segments + "\n  ]\n}\n";
}

const std::vector<std::u16string>& SampleFastColumns() {
  static const std::vector<std::u16string> names = Headers(FastDefs());
  return names;
}

const std::vector<std::u16string>& SampleSlowColumns() {
  static const std::vector<std::u16string> names = [] {
    std::vector<std::u16string> headers = Headers({std::begin(kSlow), std::end(kSlow)});
    headers.push_back(std::u16string(kClockName) + u"[" + kClockUnit + u"]");
    return headers;
  }();
  return names;
}

const std::vector<std::u16string>& SampleWideColumns() {
  static const std::vector<std::u16string> names = Headers(WideDefs());
  return names;
}

TextStatus WriteSampleFile(const std::filesystem::path& path, std::string_view bytes, TextFileOps& ops) {
  return ReplaceFile(ops, path, bytes);
}

KivResult KivWriteSampleOuting(const std::u16string& path, const KivSampleOptions& options, size_t* bytes) {
  if (options.laps < 1 || !(options.rate > 0)) return E_INVALIDARG;
  if (!(options.clock >= 0 && options.clock < 86400)) return E_INVALIDARG;
  const std::string text = GenerateSampleOuting({options.laps, options.rate, options.seed, options.clock});
  const TextStatus status = WriteSampleFile(std::filesystem::path(WideToUtf8(path)), text);
  if (!status.ok()) return ToKivResult(status.code());
  if (bytes) *bytes = text.size();
  return S_OK;
}

KivResult KivWriteSampleCircuitMap(const std::u16string& path) {
  const TextStatus status = WriteSampleFile(std::filesystem::path(WideToUtf8(path)), SampleCircuitMapJson());
  return status.ok() ? S_OK : ToKivResult(status.code());
}

}  // namespace velmar
