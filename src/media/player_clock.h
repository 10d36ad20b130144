// The clock a clip player runs by: one steady count of 100 ns ticks, shared
// by a primary player and its slaves so that they stay in step. Tests give
// a ManualPlayerClock and move it by hand.
//
// Thread-safe.
#pragma once

#include <atomic>
#include <memory>

#include "velmar/types.h"

namespace velmar {

class PlayerClock {
 public:
  virtual ~PlayerClock() = default;
  virtual KivTime Now() const = 0;
};

// The process's steady clock, in ticks.
std::shared_ptr<PlayerClock> SteadyPlayerClock();

class ManualPlayerClock final : public PlayerClock {
 public:
  KivTime Now() const override { return now_.load(); }
  void Advance(KivTime ticks) { now_ += ticks; }

 private:
  std::atomic<KivTime> now_{0};
};

}  // namespace velmar
