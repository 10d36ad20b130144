#include "sources/text/large_buffer.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace velmar {
namespace {

TEST(LargeBuffer, BigSampleBuffersStartOnAHugePage) {
  SampleBuffer big = AllocateSamples(size_t{3} << 20);  // 24 MB
  ASSERT_NE(big, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(big.get()) % (uintptr_t{2} << 20), 0u);
  big[0] = 1.5;
  big[(size_t{3} << 20) - 1] = 2.5;  // the whole range is usable
  EXPECT_EQ(big[0] + big[(size_t{3} << 20) - 1], 4.0);
}

TEST(LargeBuffer, SmallAndEmptyBuffersAreValid) {
  SampleBuffer none = AllocateSamples(0);
  EXPECT_NE(none, nullptr);
  SampleBuffer small = AllocateSamples(3);
  small[2] = 7;
  EXPECT_EQ(small[2], 7);
  EXPECT_THROW(AllocateSamples(SIZE_MAX / 4), std::bad_alloc);
}

}  // namespace
}  // namespace velmar
