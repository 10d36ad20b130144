// The simulated car behind the sample generator: a closed circuit of about
// 4 km, a speed profile held by grip, power and brakes, and the channels a
// logger would record on it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "velmar/types.h"

namespace velmar {

enum class SampleChannel : uint8_t {
  kDistance,
  kSpeed,
  kEngineSpeed,
  kThrottle,
  kBrakePressure,
  kGear,
  kLateralAcceleration,
  kLongitudinalAcceleration,
  kLatitude,
  kLongitude,
  kSteeringAngle,
  kWheelSpeedFL,
  kWheelSpeedFR,
  kWheelSpeedRL,
  kWheelSpeedRR,
  kRideHeightFront,
  kRideHeightRear,
  kDamperFL,
  kDamperFR,
  kFuelLevel,
  kWaterTemperature,
  kOilTemperature,
  kTyreTemperatureFL,
  kTyreTemperatureFR,
  kTyreTemperatureRL,
  kTyreTemperatureRR,
  kMapPosition,  // metres along the lap, back to 0 at each crossing of the line
  kCount,
};

class SampleCar {
 public:
  // laps flying laps from the line at time 0; the pace of each lap varies a
  // little with seed.
  SampleCar(uint64_t seed, int laps);

  int laps() const { return static_cast<int>(lapEnds_.size()); }
  // Seconds from the start to the k-th crossing of the line (k from 0).
  double LapEnd(int k) const { return lapEnds_[static_cast<size_t>(k)]; }
  double Duration() const { return lapEnds_.back(); }
  // Circuit length in metres and a lap's time at full pace.
  static double CircuitLength();
  static double ReferenceLapTime();
  // Where each straight and corner of the circuit begins, metres from the line.
  static const std::vector<double>& PieceStarts();

  // A channel's value at time t (ticks); past the last lap the car stands
  // where it crossed the line.
  double Value(SampleChannel channel, KivTime t);

 private:
  void Compute(KivTime t);
  double Noise(SampleChannel channel, KivTime t, double amplitude) const;

  uint64_t seed_;
  std::vector<double> paces_;    // per lap: 1 is the reference profile
  std::vector<double> lapEnds_;  // seconds
  KivTime cachedTime_ = kTimeMin;
  std::array<double, static_cast<size_t>(SampleChannel::kCount)> state_{};
};

}  // namespace velmar
