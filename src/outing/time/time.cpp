#include "outing/time/time.h"

#include <cmath>

namespace velmar {

double SecondsFromTicks(KivTime ticks) {
  return static_cast<double>(ticks) / static_cast<double>(kTicksPerSecond);
}

}  // namespace velmar
