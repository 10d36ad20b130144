#include "sources/text/sample_car.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velmar {
namespace {

constexpr double kG = 9.81;
constexpr double kTopSpeed = 82.0;       // m/s
constexpr double kLateralGrip = 1.45 * kG;
constexpr double kBraking = 2.4 * kG;
// Lap 3's driver brakes later and harder: the delta against the other laps
// drops at every braking zone.
constexpr double kLateBraking = 3.0 * kG;
constexpr size_t kLateBrakingLap = 2;  // from 0
constexpr double kStep = 1.0;            // metres between profile points, about
constexpr double kOriginLatitude = 52.0712;
constexpr double kOriginLongitude = -1.0147;
constexpr double kMetresPerDegree = 111320.0;

double Acceleration(double v) { return 7.5 * (1 - (v / kTopSpeed) * (v / kTopSpeed)) + 0.2; }

// One piece of the circuit: a straight (radius 0) or an arc turning left
// (turn > 0) or right by |turn| degrees. A length of -1 or -2 marks the two
// straights whose lengths close the loop.
struct Piece {
  double length;
  double radius;
  double turn;
};

struct Pose {
  double x = 0, y = 0, heading = 0;
};

// Where a piece of length u takes a pose, and its curvature (left positive).
Pose Advance(const Pose& p, const Piece& piece, double u, double* curvature) {
  if (piece.radius == 0) {
    *curvature = 0;
    return {p.x + u * std::cos(p.heading), p.y + u * std::sin(p.heading), p.heading};
  }
  double sigma = piece.turn > 0 ? 1.0 : -1.0;
  *curvature = sigma / piece.radius;
  double h = p.heading + sigma * u / piece.radius;
  return {p.x + sigma * piece.radius * (std::sin(h) - std::sin(p.heading)),
          p.y - sigma * piece.radius * (std::cos(h) - std::cos(p.heading)), h};
}

double PieceLength(const Piece& piece) {
  return piece.radius == 0 ? piece.length : piece.radius * std::fabs(piece.turn) * std::numbers::pi / 180.0;
}

class Circuit {
 public:
  static const Circuit& Get() {
    static const Circuit circuit;
    return circuit;
  }

  // Profile point i sits at i * step metres; point n is point 0 again.
  size_t n = 0;
  double step = kStep;
  double length = 0;
  std::vector<double> x, y, curvature;
  // The speed along the lap, its slope and the time at each point (n + 1
  // entries), for a driver braking at `braking`.
  struct Profile {
    std::vector<double> speed, dvds, time;
  };
  Profile normal, late;
  std::vector<double> pieceStarts;                         // metres along the lap

 private:
  Circuit() {
    std::vector<Piece> pieces = {
        {-1, 0, 0},     {0, 70, -90},  {600, 0, 0},   {0, 130, 50},  {360, 0, 0},   {0, 45, -140},
        {540, 0, 0},    {0, 60, 35},   {0, 60, -70},  {0, 60, 35},   {500, 0, 0},   {0, 160, -95},
        {-2, 0, 0},     {0, 40, -65},  {340, 0, 0},   {0, 90, 40},   {380, 0, 0},   {0, 110, -60},
    };
    CloseLoop(pieces);
    Trace(pieces);
    normal = MakeProfile(kBraking);
    late = MakeProfile(kLateBraking);
  }

  // The two marked straights take the lengths that bring the car back to
  // where it started; the turns already add up to one full circle.
  static void CloseLoop(std::vector<Piece>& pieces) {
    Pose p;
    double k;
    double dir[2][2] = {};
    for (auto& piece : pieces) {
      if (piece.length < 0) {
        int which = piece.length == -1 ? 0 : 1;
        dir[which][0] = std::cos(p.heading);
        dir[which][1] = std::sin(p.heading);
        continue;
      }
      p = Advance(p, piece, PieceLength(piece), &k);
    }
    // p + a * dir0 + b * dir1 = 0
    double det = dir[0][0] * dir[1][1] - dir[0][1] * dir[1][0];
    double a = (-p.x * dir[1][1] + p.y * dir[1][0]) / det;
    double b = (-dir[0][0] * p.y + dir[0][1] * p.x) / det;
    for (auto& piece : pieces) {
      if (piece.length == -1) piece.length = a;
      if (piece.length == -2) piece.length = b;
    }
  }

  void Trace(const std::vector<Piece>& pieces) {
    for (const auto& piece : pieces) {
      pieceStarts.push_back(length);
      length += PieceLength(piece);
    }
    n = static_cast<size_t>(std::floor(length / kStep));
    step = length / static_cast<double>(n);
    Pose start;
    double pieceStart = 0;
    size_t current = 0;
    for (size_t i = 0; i < n; ++i) {
      double s = static_cast<double>(i) * step;
      while (current + 1 < pieces.size() && s >= pieceStart + PieceLength(pieces[current])) {
        double k;
        start = Advance(start, pieces[current], PieceLength(pieces[current]), &k);
        pieceStart += PieceLength(pieces[current]);
        ++current;
      }
      double k = 0;
      Pose p = Advance(start, pieces[current], s - pieceStart, &k);
      x.push_back(p.x);
      y.push_back(p.y);
      curvature.push_back(k);
    }
  }

  // Grip caps the speed in corners; power and brakes link the caps.
  Profile MakeProfile(double braking) const {
    Profile p;
    auto& speed = p.speed;
    auto& dvds = p.dvds;
    auto& time = p.time;
    std::vector<double> cap(n);
    for (size_t i = 0; i < n; ++i)
      cap[i] = curvature[i] == 0 ? kTopSpeed : std::min(kTopSpeed, std::sqrt(kLateralGrip / std::fabs(curvature[i])));
    speed = cap;
    for (int pass = 0; pass < 3; ++pass) {  // the loop wraps: go round more than once
      for (size_t i = 0; i < n; ++i) {
        size_t j = (i + 1) % n;
        speed[j] = std::min(cap[j], std::sqrt(speed[i] * speed[i] + 2 * Acceleration(speed[i]) * step));
      }
      for (size_t i = n; i-- > 0;) {
        size_t j = (i + 1) % n;
        speed[i] = std::min(speed[i], std::sqrt(speed[j] * speed[j] + 2 * braking * step));
      }
    }
    dvds.resize(n);
    for (size_t i = 0; i < n; ++i) dvds[i] = (speed[(i + 1) % n] - speed[(i + n - 1) % n]) / (2 * step);
    time.assign(n + 1, 0.0);
    for (size_t i = 0; i < n; ++i) time[i + 1] = time[i] + 2 * step / (speed[i] + speed[(i + 1) % n]);
    return p;
  }
};

const Circuit::Profile& ProfileOf(size_t lap) {
  const Circuit& c = Circuit::Get();
  return lap == kLateBrakingLap ? c.late : c.normal;
}

uint64_t Mix(uint64_t z) {
  z += 0x9E3779B97F4A7C15ull;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

// A uniform value in [-1, 1] from a key.
double Uniform(uint64_t key) { return static_cast<double>(Mix(key) >> 11) * 0x1.0p-52 - 1.0; }

int Gear(double kmh) {
  static constexpr double kUpshift[] = {95, 130, 165, 200, 232};
  int gear = 1;
  for (double up : kUpshift)
    if (kmh >= up) ++gear;
  return gear;
}

double EngineSpeed(double kmh, int gear) {
  static constexpr double kTopOfGear[] = {95, 130, 165, 200, 232, 262};
  return std::max(3800.0, kmh * 12400.0 / kTopOfGear[gear - 1]);
}

}  // namespace

SampleCar::SampleCar(uint64_t seed, int laps) : seed_(seed) {
  double end = 0;
  for (int k = 0; k < std::max(1, laps); ++k) {
    // Cold tyres make the first lap slower; later ones scatter by a few tenths.
    double pace = k == 0 ? 0.975 : 1.0 + 0.004 * Uniform(seed * 1000003 + static_cast<uint64_t>(k));
    paces_.push_back(pace);
    end += ProfileOf(static_cast<size_t>(k)).time.back() / pace;
    lapEnds_.push_back(end);
  }
}

double SampleCar::CircuitLength() { return Circuit::Get().length; }

double SampleCar::ReferenceLapTime() { return Circuit::Get().normal.time.back(); }

const std::vector<double>& SampleCar::PieceStarts() { return Circuit::Get().pieceStarts; }

double SampleCar::Value(SampleChannel channel, KivTime t) {
  if (t != cachedTime_) Compute(t);
  return state_[static_cast<size_t>(channel)];
}

double SampleCar::Noise(SampleChannel channel, KivTime t, double amplitude) const {
  return amplitude * Uniform(seed_ ^ (static_cast<uint64_t>(channel) << 56) ^ static_cast<uint64_t>(t));
}

void SampleCar::Compute(KivTime t) {
  const Circuit& c = Circuit::Get();
  cachedTime_ = t;
  double seconds = std::max(0.0, static_cast<double>(t) / 1e7);
  size_t lap = static_cast<size_t>(std::upper_bound(lapEnds_.begin(), lapEnds_.end(), seconds) - lapEnds_.begin());
  double lapStart = lap == 0 ? 0 : lapEnds_[lap - 1];
  double pace = paces_.back();
  const bool running = lap < lapEnds_.size();
  if (!running) lap = lapEnds_.size() - 1;
  const Circuit::Profile& profile = ProfileOf(lap);
  double tau = profile.time.back();  // past the end: at the line
  if (running) {
    pace = paces_[lap];
    tau = (seconds - lapStart) * pace;
  }
  const std::vector<double>& time = profile.time;
  const std::vector<double>& speed = profile.speed;
  size_t i = static_cast<size_t>(std::upper_bound(time.begin(), time.end(), tau) - time.begin());
  i = std::clamp<size_t>(i, 1, c.n) - 1;
  double f = std::clamp((tau - time[i]) / (time[i + 1] - time[i]), 0.0, 1.0);
  size_t j = (i + 1) % c.n;
  auto lerp = [f](double a, double b) { return a + (b - a) * f; };

  double v = lerp(speed[i], speed[j]) * pace;  // m/s
  double kappa = f < 0.5 ? c.curvature[i] : c.curvature[j];
  double dvdt = lerp(profile.dvds[i], profile.dvds[j]) * lerp(speed[i], speed[j]) * pace * pace;
  double kmh = v * 3.6;
  double latG = v * v * kappa / kG;
  double longG = dvdt / kG;
  double lapDistance = (static_cast<double>(i) + f) * c.step;
  double distance = static_cast<double>(lap) * c.length + lapDistance;
  int gear = Gear(kmh);

  double throttle = 0, brake = 0;
  if (dvdt > 0.3) {
    throttle = std::min(100.0, 100.0 * (dvdt + 0.5) / (Acceleration(v / pace) * pace * pace + 0.5));
  } else if (dvdt < -1.0) {
    brake = std::min(110.0, 100.0 * -dvdt / kBraking);  // the late braker presses harder
  } else {
    throttle = 35.0 + 20.0 * kmh / 250.0;  // holding speed through a corner
  }

  double x = lerp(c.x[i], c.x[j]) + Noise(SampleChannel::kLongitude, t, 0.3);
  double y = lerp(c.y[i], c.y[j]) + Noise(SampleChannel::kLatitude, t, 0.3);
  double minutes = seconds / 60.0;
  double warm = 1.0 - std::exp(-seconds / 150.0);

  auto set = [this](SampleChannel ch, double value) { state_[static_cast<size_t>(ch)] = value; };
  set(SampleChannel::kDistance, distance);
  set(SampleChannel::kMapPosition, lapDistance);
  set(SampleChannel::kSpeed, std::max(0.0, kmh + Noise(SampleChannel::kSpeed, t, 0.15)));
  set(SampleChannel::kEngineSpeed, EngineSpeed(kmh, gear) + Noise(SampleChannel::kEngineSpeed, t, 25));
  set(SampleChannel::kThrottle, std::clamp(throttle + Noise(SampleChannel::kThrottle, t, 0.3), 0.0, 100.0));
  set(SampleChannel::kBrakePressure, std::max(0.0, brake + Noise(SampleChannel::kBrakePressure, t, 0.2)));
  set(SampleChannel::kGear, gear);
  set(SampleChannel::kLateralAcceleration, latG + Noise(SampleChannel::kLateralAcceleration, t, 0.02));
  set(SampleChannel::kLongitudinalAcceleration, longG + Noise(SampleChannel::kLongitudinalAcceleration, t, 0.02));
  double latitude = kOriginLatitude + y / kMetresPerDegree;
  set(SampleChannel::kLatitude, latitude);
  set(SampleChannel::kLongitude,
      kOriginLongitude + x / (kMetresPerDegree * std::cos(latitude * std::numbers::pi / 180.0)));
  set(SampleChannel::kSteeringAngle, std::atan(3.0 * kappa) * 12.0 * 180.0 / std::numbers::pi);
  double slip = 1.0 + 0.02 * throttle / 100.0;
  set(SampleChannel::kWheelSpeedFL, kmh * (1 - 0.8 * kappa));
  set(SampleChannel::kWheelSpeedFR, kmh * (1 + 0.8 * kappa));
  set(SampleChannel::kWheelSpeedRL, kmh * (1 - 0.8 * kappa) * slip);
  set(SampleChannel::kWheelSpeedRR, kmh * (1 + 0.8 * kappa) * slip);
  set(SampleChannel::kRideHeightFront, 32.0 - 0.0012 * v * v + 2.0 * longG);
  set(SampleChannel::kRideHeightRear, 45.0 - 0.0015 * v * v - 3.0 * longG);
  set(SampleChannel::kDamperFL, 20.0 + 0.002 * v * v - 6.0 * latG - 4.0 * longG);
  set(SampleChannel::kDamperFR, 20.0 + 0.002 * v * v + 6.0 * latG - 4.0 * longG);
  set(SampleChannel::kFuelLevel, 60.0 - 2.3 * distance / c.length);
  set(SampleChannel::kWaterTemperature, 88.0 - 20.0 * std::exp(-seconds / 300.0) + 0.6 * std::sin(minutes * 1.7));
  set(SampleChannel::kOilTemperature, 104.0 - 26.0 * std::exp(-seconds / 420.0) + 0.4 * std::sin(minutes * 1.2 + 1));
  double tyre = 62.0 + 30.0 * warm;
  set(SampleChannel::kTyreTemperatureFL, tyre + 6.0 * std::max(0.0, latG) + Noise(SampleChannel::kTyreTemperatureFL, t, 0.2));
  set(SampleChannel::kTyreTemperatureFR, tyre + 6.0 * std::max(0.0, -latG) + Noise(SampleChannel::kTyreTemperatureFR, t, 0.2));
  set(SampleChannel::kTyreTemperatureRL, tyre - 3.0 + 4.0 * std::max(0.0, latG) + 0.02 * throttle);
  set(SampleChannel::kTyreTemperatureRR, tyre - 3.0 + 4.0 * std::max(0.0, -latG) + 0.02 * throttle);
}

}  // namespace velmar
