// CPlaybackRates: a list of playback rate codes (IKivPlaybackRates), and
// the codes themselves: ±1..±5 for 0.5x, 1x, 2x, 4x and 8x.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "velmar/clip_player.h"

namespace velmar {

// Every code, in the order a list of all of them is offered.
inline constexpr int32_t kAllRateCodes[] = {2, 1, 3, 4, 5, -2, -1, -3, -4, -5};

// The factor of a rate code; none for any other code (there is no 0).
std::optional<double> RateFactor(int32_t code);

class CPlaybackRates final : public KivObject<IKivPlaybackRates> {
 public:
  CPlaybackRates() = default;
  explicit CPlaybackRates(std::vector<int32_t> codes) : codes_(std::move(codes)) {}

  KivResult GetCount(uint32_t* count) override;
  KivResult GetItem(uint32_t index, int32_t* code) override;

  std::vector<int32_t>& codes() { return codes_; }
  const std::vector<int32_t>& codes() const { return codes_; }

 private:
  std::vector<int32_t> codes_;
};

// The codes that `rates` offers, in its order; empty when it gives none.
std::vector<int32_t> RateCodes(IKivPlaybackRates* rates);

}  // namespace velmar
