// Samples: blocks written, read back through a fresh open, cut to windows
// at and across chunk boundaries, for every sample type.
#include "platform/store/sample_chunks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <numeric>

#include "platform/store/store_test_helper.h"
#include "support/fixtures.h"

namespace velmar::testing {
namespace {

using store::kSamplesPerChunk;

constexpr KivTime kStart = 1'000'000;
constexpr int64_t kPeriod = 100'000;  // 100 Hz
constexpr int32_t kCount = 3 * kSamplesPerChunk + 17;

KivTime TimeOf(int32_t i) { return kStart + i * kPeriod; }

class SampleChunksTest : public NewStoreTest {
 protected:
  void SetUp() override {
    NewStoreTest::SetUp();
    channel_ = AddChannel(u"Speed", 7);
    values_.resize(kCount);
    std::iota(values_.begin(), values_.end(), 0.0);
  }

  std::vector<uint64_t> Add(uint64_t channel, std::vector<TarnChannelData> blocks, KivResult expected = S_OK) {
    auto handle = Handle();
    std::vector<uint64_t> channels(blocks.size(), channel), ids;
    EXPECT_EQ(Writer<IKivTarnChannelWriter>(handle)->AddChannelData(static_cast<uint32_t>(blocks.size()),
                                                                     channels.data(), blocks.data(), &ids),
              expected);
    EXPECT_EQ(handle->Commit(), S_OK);
    return ids;
  }

  void AddPeriodic() {
    Add(channel_, {Periodic(kStart, &kPeriod, values_.data(), kCount)});
    Reopen();
  }

  // The values of a record of doubles.
  static std::vector<double> Values(const TarnChannelData& d) {
    const double* v = static_cast<const double*>(d.samples);
    return std::vector<double>(v, v + d.count);
  }

  static std::vector<double> Range(int32_t first, int32_t last) {
    std::vector<double> v(static_cast<size_t>(last - first + 1));
    std::iota(v.begin(), v.end(), static_cast<double>(first));
    return v;
  }

  void ExpectPeriodicWindow(KivTime from, KivTime to, int32_t first, int32_t last) {
    auto data = Data(channel_, from, to);
    ASSERT_EQ(data.size(), 1u) << from << ".." << to;
    EXPECT_EQ(data[0].channelId, channel_);
    EXPECT_EQ(data[0].periodic, 1);
    EXPECT_EQ(data[0].times[0], kPeriod);
    EXPECT_EQ(data[0].firstTime, TimeOf(first));
    EXPECT_EQ(data[0].count, last - first + 1);
    EXPECT_EQ(Values(data[0]), Range(first, last));
  }

  static constexpr int64_t kPeriod = ::velmar::testing::kPeriod;
  uint64_t channel_ = 0;
  std::vector<double> values_;
};

TEST_F(SampleChunksTest, WholePeriodicBlockComesBackAsOneRecord) {
  AddPeriodic();
  ExpectPeriodicWindow(kTimeMin, kTimeMax, 0, kCount - 1);
  KivTime start = 0, end = 0;
  EXPECT_EQ(store_->GetOutingRange(kDefaultWaitLimit, &start, &end), S_OK);
  EXPECT_EQ(start, kStart);
  EXPECT_EQ(end, TimeOf(kCount - 1));
}

// Each file: one block of kCount samples, periodic or at uneven times (or at
// the "times" given), and windows read from it with the samples they give
// (none without "first").
// A bound is "min", "max" or [chunks, samples, nudge]: the time of sample
// chunks * kSamplesPerChunk + samples, moved by nudge ticks.
class SampleWindows : public SampleChunksTest, public ::testing::WithParamInterface<std::filesystem::path> {};

TEST_P(SampleWindows, CutAtAndAcrossChunkBoundaries) {
  const nlohmann::json c = ReadFixture(GetParam());
  const bool periodic = c["periodic"];
  std::vector<int64_t> times(kCount);
  for (int32_t i = 0; i < kCount; ++i) times[i] = periodic ? TimeOf(i) : -5000 + int64_t{i} * 10 + (i % 7) * (i % 7);
  std::sort(times.begin(), times.end());
  if (c.contains("times")) times = c["times"].get<std::vector<int64_t>>();
  const auto count = static_cast<int32_t>(times.size());
  Add(channel_, {periodic ? Periodic(kStart, &kPeriod, values_.data(), count)
                          : Aperiodic(times.data(), values_.data(), count)});
  Reopen();
  auto index = [](const nlohmann::json& at) { return at[0].get<int32_t>() * kSamplesPerChunk + at[1].get<int32_t>(); };
  auto time = [&](const nlohmann::json& at) {
    if (at.is_string()) return at == "min" ? kTimeMin : kTimeMax;
    return times[index(at)] + (at.size() > 2 ? at[2].get<int64_t>() : 0);
  };
  for (const auto& w : c["windows"]) {
    auto data = Data(channel_, time(w["from"]), time(w["to"]));
    if (!w.contains("first")) {
      EXPECT_TRUE(data.empty()) << w.dump();
      continue;
    }
    ASSERT_EQ(data.size(), 1u) << w.dump();
    const int32_t first = index(w["first"]), last = index(w["last"]);
    EXPECT_EQ(data[0].channelId, channel_);
    EXPECT_EQ(data[0].periodic, periodic ? 1 : 0);
    EXPECT_EQ(data[0].firstTime, times[first]) << w.dump();
    if (periodic) {
      EXPECT_EQ(data[0].times[0], kPeriod);
    } else {
      EXPECT_EQ(std::vector<int64_t>(data[0].times, data[0].times + data[0].count),
                std::vector<int64_t>(times.begin() + first, times.begin() + last + 1)) << w.dump();
    }
    EXPECT_EQ(Values(data[0]), Range(first, last)) << w.dump();
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, SampleWindows, FixtureCases("platform/store/sample_windows"), FixtureName);

TEST_F(SampleChunksTest, BlocksStayApartAndKeepTheirFlag) {
  TarnChannelData a = Periodic(0, &kPeriod, values_.data(), 10);
  TarnChannelData b = Periodic(TimeOf(100), &kPeriod, values_.data() + 10, 10);
  b.continuous = 1;
  auto blocks = Add(channel_, {a, b});
  EXPECT_EQ(blocks.size(), 2u);
  EXPECT_NE(blocks[0], blocks[1]);
  Reopen();
  auto data = Data(channel_);
  ASSERT_EQ(data.size(), 2u);
  EXPECT_EQ(data[0].firstTime, 0);
  EXPECT_EQ(data[0].continuous, 0);
  EXPECT_EQ(data[1].firstTime, TimeOf(100));
  EXPECT_EQ(data[1].continuous, 1);
  EXPECT_EQ(Values(data[1]), Range(10, 19));
}

// Every sample type keeps its bytes, extremes included.
TEST_F(SampleChunksTest, EverySampleTypeRoundTrips) {
  const int32_t count = kSamplesPerChunk + 3;
  for (uint32_t type = 0; type < kTarnSampleTypeCount; ++type) {
    uint64_t channel = AddChannel(u"T", type);
    const size_t size = TarnSampleSize(type);
    std::vector<uint8_t> bytes(size * count);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 37 + type);
    std::memset(bytes.data(), 0xFF, size);  // all ones: -1, or the largest unsigned
    std::vector<int64_t> times(count);
    for (int32_t i = 0; i < count; ++i) times[i] = i * 3;
    Add(channel, {Periodic(0, &kPeriod, bytes.data(), count), Aperiodic(times.data(), bytes.data(), count)});
    Reopen();
    auto all = Data(channel);
    ASSERT_EQ(all.size(), 2u) << type;
    for (const TarnChannelData& d : all) {
      ASSERT_EQ(d.count, count) << type;
      EXPECT_EQ(std::memcmp(d.samples, bytes.data(), bytes.size()), 0) << type;
    }
    // A window inside the second chunk keeps the right bytes.
    auto window = Data(channel, kPeriod * (count - 2), kPeriod * (count - 1));
    ASSERT_EQ(window.size(), 1u);
    ASSERT_EQ(window[0].count, 2);
    EXPECT_EQ(std::memcmp(window[0].samples, bytes.data() + size * (count - 2), 2 * size), 0) << type;
  }
}

TEST_F(SampleChunksTest, BadBlocksAreRefusedAndNothingIsWritten) {
  int64_t zero = 0;
  Add(channel_, {Periodic(0, &zero, values_.data(), 5)}, E_INVALIDARG);
  Add(channel_, {Periodic(0, &kPeriod, values_.data(), 0)}, E_INVALIDARG);
  Add(channel_, {Periodic(kTimeMax - 10, &kPeriod, values_.data(), 5)}, E_INVALIDARG);  // last time overflows
  int64_t unsorted[] = {5, 3, 9};
  Add(channel_, {Aperiodic(unsorted, values_.data(), 3)}, E_INVALIDARG);
  int64_t times[] = {1, 2, 3};
  TarnChannelData wrongFirst = Aperiodic(times, values_.data(), 3);
  wrongFirst.firstTime = 0;
  Add(channel_, {wrongFirst}, E_INVALIDARG);
  Add(channel_, {Periodic(0, &kPeriod, nullptr, 3)}, E_POINTER);
  // One good block and one bad: neither is kept.
  Add(channel_, {Periodic(0, &kPeriod, values_.data(), 3), Periodic(0, &zero, values_.data(), 3)}, E_INVALIDARG);
  Add(99999, {Periodic(0, &kPeriod, values_.data(), 3)}, E_INVALIDARG);
  // A channel whose sample type has no layout takes and gives no data.
  uint64_t odd = AddChannel(u"Odd", 8);
  Add(odd, {Periodic(0, &kPeriod, values_.data(), 3)}, DISP_E_TYPEMISMATCH);
  Reopen();
  EXPECT_TRUE(Data(channel_).empty());
  ComPtr<IKivTarnChannelDataRecords> none;
  auto list = List<IKivTarnChannels>();
  EXPECT_EQ(list->GetChannelData(kDefaultWaitLimit, 99999, kTimeMin, kTimeMax, none.Put()), E_INVALIDARG);
  EXPECT_EQ(list->GetChannelData(kDefaultWaitLimit, odd, kTimeMin, kTimeMax, none.Put()), DISP_E_TYPEMISMATCH);
}

TEST_F(SampleChunksTest, RemoveChannelDataCutsBlocksAndKeepsBothEnds) {
  AddPeriodic();
  auto handle = Handle();
  const int32_t n = kSamplesPerChunk;
  ASSERT_EQ(Writer<IKivTarnChannelWriter>(handle)->RemoveChannelData(1, &channel_, TimeOf(n - 2), TimeOf(2 * n)),
            S_OK);
  ASSERT_EQ(handle->Commit(), S_OK);
  Reopen();
  auto data = Data(channel_);
  ASSERT_EQ(data.size(), 2u);
  EXPECT_EQ(data[0].firstTime, TimeOf(0));
  EXPECT_EQ(Values(data[0]), Range(0, n - 3));
  EXPECT_EQ(data[1].firstTime, TimeOf(2 * n + 1));
  EXPECT_EQ(data[1].continuous, 0);
  EXPECT_EQ(Values(data[1]), Range(2 * n + 1, kCount - 1));
  // A window read still finds the second part.
  ExpectPeriodicWindow(TimeOf(2 * n + 1), TimeOf(2 * n + 1), 2 * n + 1, 2 * n + 1);
}

TEST_F(SampleChunksTest, ClearAndReplaceChannelData) {
  AddPeriodic();
  uint64_t other = AddChannel(u"Other", 7);
  Add(other, {Periodic(0, &kPeriod, values_.data(), 4)});
  auto handle = Handle();
  auto writer = Writer<IKivTarnChannelWriter>(handle);
  ASSERT_EQ(writer->ClearChannelData(1, &other), S_OK);
  TarnChannelData fresh = Periodic(50, &kPeriod, values_.data() + 7, 2);
  std::vector<uint64_t> blocks;
  ASSERT_EQ(writer->ReplaceChannelData(1, &channel_, &fresh, &blocks), S_OK);
  EXPECT_EQ(blocks.size(), 1u);
  ASSERT_EQ(handle->Commit(), S_OK);
  Reopen();
  EXPECT_TRUE(Data(other).empty());
  auto data = Data(channel_);
  ASSERT_EQ(data.size(), 1u);
  EXPECT_EQ(data[0].firstTime, 50);
  EXPECT_EQ(Values(data[0]), Range(7, 8));
}

}  // namespace
}  // namespace velmar::testing
