#include "media/player_clock.h"

#include <chrono>

namespace velmar {
namespace {

class SteadyClock final : public PlayerClock {
 public:
  KivTime Now() const override {
    using Ticks = std::chrono::duration<KivTime, std::ratio<1, kTicksPerSecond>>;
    return std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now().time_since_epoch()).count();
  }
};

}  // namespace

std::shared_ptr<PlayerClock> SteadyPlayerClock() {
  static const std::shared_ptr<PlayerClock> clock = std::make_shared<SteadyClock>();
  return clock;
}

}  // namespace velmar
