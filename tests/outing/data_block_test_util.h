// Builders of sections, blocks and iterators for the block and iterator tests.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_periodic.h"
#include "support/fixtures.h"

namespace velmar::testing {

inline std::shared_ptr<const DataSection> PeriodicSection(KivTime first, KivTime interval,
                                                          std::vector<double> values) {
  std::shared_ptr<const DataSection> s;
  EXPECT_EQ(DataSection::MakePeriodic(LockedArray<double>::FromVector(std::move(values)), first, interval, &s),
            S_OK);
  return s;
}

inline std::shared_ptr<const DataSection> AperiodicSection(std::vector<KivTime> times, std::vector<double> values) {
  std::shared_ptr<const DataSection> s;
  EXPECT_EQ(DataSection::MakeAperiodic(LockedArray<double>::FromVector(std::move(values)),
                                       LockedArray<KivTime>::FromVector(std::move(times)), &s),
            S_OK);
  return s;
}

inline ComPtr<IKivDataBlockImplBase> Block(std::shared_ptr<const DataSection> section, bool continuous = false,
                                           KivTime offset = 0) {
  ComPtr<IKivDataBlockImplBase> b;
  EXPECT_EQ(MakeOutingDataBlock(std::move(section), 0, offset, continuous, &b), S_OK);
  return b;
}

inline ComPtr<IKivDataBlockImplBase> PeriodicBlock(KivTime first, KivTime interval, std::vector<double> values,
                                                   bool continuous = false) {
  return Block(PeriodicSection(first, interval, std::move(values)), continuous);
}

inline ComPtr<IKivDataBlockImplBase> AperiodicBlock(std::vector<KivTime> times, std::vector<double> values,
                                                    bool continuous = false) {
  return Block(AperiodicSection(std::move(times), std::move(values)), continuous);
}

// The same samples as an aperiodic block: a time per sample.
inline ComPtr<IKivDataBlockImplBase> AsAperiodic(KivTime first, KivTime interval, std::vector<double> values,
                                                 bool continuous = false) {
  std::vector<KivTime> times;
  for (size_t i = 0; i < values.size(); ++i) times.push_back(first + static_cast<KivTime>(i) * interval);
  return AperiodicBlock(std::move(times), std::move(values), continuous);
}

// A fixed selection range for searches with range 1.
class FixedSelection final : public KivObject<IKivSelectionRange> {
 public:
  FixedSelection(KivTime start, KivTime end) : start_(start), end_(end) {}
  KivResult GetSelectionRange(KivTime* start, KivTime* end) override {
    *start = start_;
    *end = end_;
    return S_OK;
  }

 private:
  KivTime start_;
  KivTime end_;
};

inline ComPtr<CChannelIterator> Iterator(std::vector<ComPtr<IKivDataBlockImplBase>> blocks,
                                         ComPtr<IKivSelectionRange> selection = nullptr) {
  return MakeKiv<CChannelIterator>(std::make_shared<const DataBlockList>(std::move(blocks)), nullptr,
                                   std::move(selection));
}

inline ComPtr<IKivSelectionRange> Selection(KivTime start, KivTime end) {
  return MakeKiv<FixedSelection>(start, end);
}

// The blocks an iterator gives, in order.
inline std::vector<ComPtr<IKivDataBlock>> BlocksOf(IKivChannelIterator2* it) {
  ComPtr<IKivDataBlocks> blocks;
  uint32_t count = 0;
  EXPECT_EQ(it->GetDataBlocks(blocks.Put()), S_OK);
  if (blocks) {
    EXPECT_EQ(blocks->GetCount(&count), S_OK);
  }
  std::vector<ComPtr<IKivDataBlock>> out(count);
  for (uint32_t i = 1; i <= count; ++i) {
    EXPECT_EQ(blocks->GetBlock(i, out[i - 1].Put()), S_OK);
  }
  return out;
}

// A search case of a fixture: "next after", "last before" or "nearest".
inline int32_t SearchMode(const nlohmann::json& name) {
  static const std::map<std::string, int32_t> modes{
      {"next after", kFindNextAfter}, {"last before", kFindLastBefore}, {"nearest", kFindNearest}};
  return modes.at(name.get<std::string>());
}

inline KivResult SearchResult(const nlohmann::json& name) {
  return name == "S_OK" ? S_OK : name == "S_FALSE" ? S_FALSE : E_FAIL;
}

}  // namespace velmar::testing
