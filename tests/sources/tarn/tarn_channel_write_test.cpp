#include "sources/tarn/tarn_channel_write.h"

#include <gtest/gtest.h>

#include "export/fake_channel.h"
#include "export/read_back.h"
#include "sources/tarn/tarn_records.h"
#include "tarn_outing_helper.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

// A channel worked out in memory: 0..0.9 s at 100 Hz, value = time in s.
ComPtr<FakeChannel> InMemoryChannel() {
  return MakeFakeChannel(json::parse(R"([{"start": 0, "interval": 100000, "count": 10}])"));
}

class TarnChannelWriteTest : public TarnOutingTest {
 protected:
  void SetUp() override {
    path_ = Write(SampleDataSet());
    OpenListened(path_);
  }
  // Queues a step over `items` in the outing's transaction and commits it.
  Lines CommitItems(std::vector<std::unique_ptr<CExportChannel>> items,
                    const std::function<void()>& whileCommitting = {}) {
    auto step = MakeKiv<CWBTarnWriteChannelStateMachine>(outing_->cache()->channel_write_back());
    for (auto& item : items) step->AddItem(std::move(item));
    CommitStep(step);
    if (whileCommitting) {
      whileCommitting();
      EXPECT_TRUE(Settle());
    }
    return LinesStarting(listener_->log, {"TransactionMessage", "TransactionFinished"});
  }
  // The samples of the channel shown as `display` in a fresh open of the file.
  Samples ReadBack(const std::u16string& display) {
    ComPtr<CTarnOuting> fresh = Open(path_);
    return ReadBackChannel(Face<IKivChannelFactory>(fresh.Get()).Get(), display, [this] { return Settle(); });
  }
};

TEST_F(TarnChannelWriteTest, ResampledChannelRoundTripsOnTheGridThroughAFreshOpen) {
  auto source = InMemoryChannel();
  std::vector<std::unique_ptr<CExportChannel>> items;
  items.push_back(std::make_unique<CExportChannel>(u"[3]Lap Speed", 0, kS, source.Get(), 3.6, 0.0, 0, 200000));
  EXPECT_EQ(CommitItems(std::move(items)), Lines{"TransactionFinished"});
  const auto samples = ReadBack(u"Lap Speed");
  ASSERT_EQ(samples.size(), 5u);  // 0, 20, ... 80 ms; 100 ms lies past the last sample (90 ms)
  for (size_t i = 0; i < samples.size(); ++i) {
    EXPECT_EQ(samples[i].first, static_cast<KivTime>(i) * 200000);
    EXPECT_NEAR(samples[i].second, 3.6 * 0.02 * static_cast<double>(i), 1e-9);
  }
}

TEST_F(TarnChannelWriteTest, CommitWaitsForLateDataAndTheJobRefusesAStoredName) {
  auto late = InMemoryChannel();
  late->pending = true;
  std::vector<std::unique_ptr<CExportChannel>> items;
  items.push_back(std::make_unique<CExportChannel>(u"[0]Late", 0, kS, late.Get(), 1.0, 0.0, 0, 0));
  const auto log = CommitItems(std::move(items), [&] {
    EXPECT_TRUE(ReadBack(u"Late").empty());  // nothing written while the data is out
    late->Arrive();
  });
  EXPECT_EQ(log, Lines{"TransactionFinished"});
  EXPECT_EQ(ReadBack(u"Late").size(), 10u);

  // The name is stored now: a second write of it fails at the job, and the file keeps one.
  items.clear();
  items.push_back(std::make_unique<CExportChannel>(u"[0]Late", 0, kS, InMemoryChannel().Get(), 1.0, 0.0, 0, 0));
  EXPECT_EQ(CommitItems(std::move(items)),
            (Lines{"TransactionMessage:Failed to write channels - duplicate channels found", "TransactionFinished"}));
  EXPECT_EQ(ReadBack(u"Late").size(), 10u);
  items.clear();
  items.push_back(std::make_unique<CExportChannel>(u"Late", 0, kS, InMemoryChannel().Get(), 1.0, 0.0, 0, 0));
  EXPECT_EQ(CommitItems(std::move(items)).front(),
            "TransactionMessage:Failed to write channels - duplicate channels found")
      << "a plain name is stored under its key";
}

TEST_F(TarnChannelWriteTest, ItemsWithoutDataAreReportedAndNoneMeansNoWrite) {
  std::vector<std::unique_ptr<CExportChannel>> items;
  auto gone = InMemoryChannel();
  gone->pending = true;
  items.push_back(std::make_unique<CExportChannel>(u"[0]Gone", 0, kS, gone.Get(), 1.0, 0.0, 0, 0));
  items.push_back(std::make_unique<CExportChannel>(u"[0]Kept", 0, kS, InMemoryChannel().Get(), 1.0, 0.0, 0, 0));
  EXPECT_EQ(CommitItems(std::move(items), [&] { gone->Remove(); }),
            (Lines{"TransactionMessage:Error Exporting Channels...\n\tNo data found for channel Gone\n",
                   "TransactionFinished"}));
  EXPECT_EQ(ReadBack(u"Kept").size(), 10u);

  auto never = InMemoryChannel();
  never->pending = true;
  items.clear();
  items.push_back(std::make_unique<CExportChannel>(u"[0]Never", 0, kS, never.Get(), 1.0, 0.0, 0, 0));
  EXPECT_EQ(CommitItems(std::move(items), [&] { never->Remove(); }),
            (Lines{"TransactionMessage:Error Exporting Channels...\n\n\tNo data found for any of "
                   "the selected channels\n",
                   "TransactionFinished"}));
}

TEST_F(TarnChannelWriteTest, DisplayLimitsAreStoredInTheChannelsUnit) {
  ComPtr<IKivUnits> units;
  ASSERT_EQ(CreateUnitsComponent(&units), S_OK);
  auto item = std::make_unique<CExportChannel>(u"[3]Limited", 0, kS, InMemoryChannel().Get(), 3.6, 0.0, 0, 0, units);
  item->properties = {{u"Quantity", Variant::I32(kQuantitySpeed)}, {u"Unit", Variant::U32(1)},  // km/h
                      {u"Display maximum", Variant::F64(100.0)}, {u"Display minimum", Variant::F64(-10.0)}};
  std::vector<std::unique_ptr<CExportChannel>> items;
  items.push_back(std::move(item));
  ASSERT_EQ(CommitItems(std::move(items)), Lines{"TransactionFinished"});
  ComPtr<IKivTarnChannelRecords> records;
  ASSERT_EQ(OpenStore(path_).As<IKivTarnChannels>()->GetChannelList(kTarnWaitForever, records.Put()), S_OK);
  for (const TarnChannelDescription& r : Items(records)) {
    if (!r.tagName || std::u16string(r.tagName) != u"Limited") continue;
    EXPECT_NEAR(r.displayMaximum, 360.0, 1e-9) << "100 m/s in km/h";
    EXPECT_NEAR(r.displayMinimum, -36.0, 1e-9);
    return;
  }
  ADD_FAILURE() << "the channel is not in the store";
}

TEST_F(TarnChannelWriteTest, TheOutingRefusesAStoredNameAtTheCall) {
  auto writer = Facet<IKivChannelWriter3>();
  auto txn = Facet<IKivTransaction>();
  const NameList names{u"[3]Speed"};  // stored: the list is read at the first call
  (void)writer->WriteChannels(0, kS, &names);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(txn->Begin(), S_OK);
  EXPECT_EQ(writer->WriteChannels(0, kS, &names), KIV_E_CHANNEL_EXISTS);
  EXPECT_EQ(writer->WriteChannelsResampled(0, kS, &names, 9999), E_INVALIDARG);
  EXPECT_EQ(writer->WriteChannels(0, kS, nullptr), E_FAIL);
  EXPECT_EQ(txn->Commit(), S_OK);
}

}  // namespace
}  // namespace velmar::testing
