#include "media/playback_rates.h"

#include <cstdlib>

namespace velmar {

std::optional<double> RateFactor(int32_t code) {
  static constexpr double kFactors[] = {0.5, 1.0, 2.0, 4.0, 8.0};
  if (code == 0 || code < -5 || code > 5) return std::nullopt;
  const double factor = kFactors[std::abs(code) - 1];
  return code < 0 ? -factor : factor;
}

KivResult CPlaybackRates::GetCount(uint32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<uint32_t>(codes_.size());
  return S_OK;
}

KivResult CPlaybackRates::GetItem(uint32_t index, int32_t* code) {
  if (!code) return E_POINTER;
  if (index < 1 || index > codes_.size()) return DISP_E_BADINDEX;
  *code = codes_[index - 1];
  return S_OK;
}

std::vector<int32_t> RateCodes(IKivPlaybackRates* rates) {
  std::vector<int32_t> codes;
  uint32_t count = 0;
  if (!rates || Failed(rates->GetCount(&count))) return codes;
  for (uint32_t i = 1; i <= count; ++i) {
    int32_t code = 0;
    if (Succeeded(rates->GetItem(i, &code))) codes.push_back(code);
  }
  return codes;
}

}  // namespace velmar
