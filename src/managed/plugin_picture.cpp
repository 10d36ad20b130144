#include "managed/plugin_picture.h"

#include <algorithm>

#include "core/object_node.h"

namespace velmar::managed {
namespace {

// The source span [first, last) an icon column or row covers: at least one.
std::pair<uint32_t, uint32_t> Span(uint32_t index, uint32_t source) {
  const uint32_t first = index * source / kIconSize;
  const uint32_t last = std::max(first + 1, (index + 1) * source / kIconSize);
  return {first, last};
}

uint32_t Mean(const PluginPicture& picture, std::pair<uint32_t, uint32_t> xs, std::pair<uint32_t, uint32_t> ys) {
  uint64_t sums[4] = {0, 0, 0, 0};
  for (uint32_t y = ys.first; y < ys.second; ++y) {
    for (uint32_t x = xs.first; x < xs.second; ++x) {
      const uint32_t pixel = picture.argb[static_cast<size_t>(y) * picture.width + x];
      for (int c = 0; c < 4; ++c) sums[c] += (pixel >> (8 * c)) & 0xFFu;
    }
  }
  const uint64_t count = uint64_t{xs.second - xs.first} * (ys.second - ys.first);
  uint32_t out = 0;
  for (int c = 0; c < 4; ++c) out |= static_cast<uint32_t>((sums[c] + count / 2) / count) << (8 * c);
  return out;
}

}  // namespace

ComPtr<IKivPicture> MakeIcon(const PluginPicture& picture) {
  if (picture.width == 0 || picture.height == 0 ||
      picture.argb.size() != static_cast<size_t>(picture.width) * picture.height)
    return nullptr;
  std::vector<uint32_t> pixels;
  pixels.reserve(kIconSize * kIconSize);
  for (uint32_t y = 0; y < kIconSize; ++y) {
    for (uint32_t x = 0; x < kIconSize; ++x)
      pixels.push_back(Mean(picture, Span(x, picture.width), Span(y, picture.height)));
  }
  return MakeKiv<CPicture>(kIconSize, kIconSize, std::move(pixels));
}

}  // namespace velmar::managed
