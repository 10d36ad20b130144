#include "sources/tarn/tarn_channel_data.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace velmar {
namespace {

const int64_t kPeriod = 100;

TarnChannelData Periodic(KivTime first, const void* samples, int32_t count) {
  TarnChannelData d{};
  d.times = &kPeriod;
  d.firstTime = first;
  d.samples = samples;
  d.count = count;
  d.periodic = 1;
  return d;
}

TarnChannelData Aperiodic(const int64_t* times, const void* samples, int32_t count) {
  TarnChannelData d{};
  d.times = times;
  d.firstTime = times[0];
  d.samples = samples;
  d.count = count;
  return d;
}

template <class T>
std::vector<double> Widened(uint32_t type, std::vector<T> in) {
  LockedArray<double> out = SamplesAsDoubles(in.data(), static_cast<uint32_t>(in.size()), type);
  return {out.view().begin(), out.view().end()};
}

TEST(SamplesAsDoubles, EverySampleTypeWidensWithItsSign) {
  EXPECT_EQ(Widened<uint8_t>(0, {0, 255}), (std::vector<double>{0, 255}));
  EXPECT_EQ(Widened<uint16_t>(1, {1, 65535}), (std::vector<double>{1, 65535}));
  EXPECT_EQ(Widened<uint32_t>(2, {4000000000u}), (std::vector<double>{4000000000.0}));
  EXPECT_EQ(Widened<int8_t>(3, {-128, 127}), (std::vector<double>{-128, 127}));
  EXPECT_EQ(Widened<int16_t>(4, {-32768}), (std::vector<double>{-32768}));
  EXPECT_EQ(Widened<int32_t>(5, {-2000000000}), (std::vector<double>{-2000000000.0}));
  EXPECT_EQ(Widened<float>(6, {1.5f, -0.25f}), (std::vector<double>{1.5, -0.25}));
  EXPECT_EQ(Widened<double>(7, {1e300}), (std::vector<double>{1e300}));
  EXPECT_TRUE(Widened<double>(8, {1.0}).empty());
}

TEST(SamplesAsDoubles, UnalignedSamplesAreRead) {
  std::vector<unsigned char> bytes(1 + sizeof(double));
  double v = 3.25;
  std::memcpy(bytes.data() + 1, &v, sizeof v);
  LockedArray<double> out = SamplesAsDoubles(bytes.data() + 1, 1, 7);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out.view()[0], 3.25);
}

TEST(ChannelBlocks, PeriodicAndAperiodicBlocksKeepTheirSpacingAndFlag) {
  std::vector<int16_t> a{1, 2, 3};
  std::vector<int64_t> times{1000, 1500, 4000};
  std::vector<int16_t> b{7, 8, 9};
  std::vector<TarnChannelData> records{Periodic(0, a.data(), 3), Aperiodic(times.data(), b.data(), 3)};
  records[1].continuous = 1;
  ChannelSections blocks = ChannelBlocks(records, 4);
  ASSERT_EQ(blocks.size(), 2u);
  const DataSection& p = *blocks[0].data;
  EXPECT_TRUE(p.periodic());
  EXPECT_EQ(p.firstTime(), 0);
  EXPECT_EQ(p.lastTime(), 200);  // first + period x (count - 1)
  EXPECT_EQ(p.interval(), kPeriod);
  EXPECT_EQ(p.values().view()[2], 3.0);
  EXPECT_FALSE(blocks[0].continuous);
  const DataSection& q = *blocks[1].data;
  EXPECT_FALSE(q.periodic());
  EXPECT_EQ(q.interval(), 0);
  EXPECT_EQ(q.lastTime(), 4000);
  EXPECT_EQ(q.Times().view()[1], 1500);
  EXPECT_EQ(q.values().view()[0], 7.0);
  EXPECT_TRUE(blocks[1].continuous);
}

TEST(ChannelBlocks, OneBadRecordSpoilsTheWholeRead) {
  std::vector<double> v{1, 2};
  std::vector<int64_t> times{10, 20};
  auto spoiled = [&](auto spoil) {
    std::vector<TarnChannelData> records{Periodic(0, v.data(), 2), Aperiodic(times.data(), v.data(), 2)};
    spoil(records[1]);
    return ChannelBlocks(records, 7).empty();
  };
  EXPECT_FALSE(spoiled([](TarnChannelData&) {}));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.count = 0; }));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.count = -1; }));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.samples = nullptr; }));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.times = nullptr; }));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.firstTime = 11; }));
}

TEST(ChannelBlocks, RecordsNoSectionCanHoldGiveNoBlocks) {
  std::vector<double> v{1, 2};
  const int64_t zero = 0;
  TarnChannelData d = Periodic(0, v.data(), 2);
  d.times = &zero;
  EXPECT_TRUE(ChannelBlocks({&d, 1}, 7).empty());
  std::vector<int64_t> falling{20, 10};
  TarnChannelData f = Aperiodic(falling.data(), v.data(), 2);
  EXPECT_TRUE(ChannelBlocks({&f, 1}, 7).empty());
}

TEST(ChannelBlocks, NoRecordsGiveNoBlocks) { EXPECT_TRUE(ChannelBlocks({}, 7).empty()); }

}  // namespace
}  // namespace velmar
