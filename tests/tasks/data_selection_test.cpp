#include "tasks/data_selection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "selection_fixture.h"
#include "support/scoped_sink.h"

namespace velmar::testing {
namespace {

// Logs the selection's events by name, in order.
class SelectionLog final : public CDataSelectionNotifications4Receiver {
 public:
  explicit SelectionLog(IKivDataSelection* selection) : sink_(this, selection) {}
  void OnColourChanged(IKivDataSelection*, uint32_t) override { log.push_back("colour"); }
  void OnOutingChanged(IKivDataSelection*) override { log.push_back("outing"); }
  void OnSpanChanged(IKivDataSelection*) override { log.push_back("span"); }
  void OnCaptionChanged(IKivDataSelection*) override { log.push_back("caption"); }
  void OnOutingChangeFinished(IKivDataSelection*) override { log.push_back("finished"); }
  void OnIncludeAuxiliaryChanged(IKivDataSelection*) override { log.push_back("auxiliary"); }
  std::vector<std::string> Take() { return std::exchange(log, {}); }
  std::vector<std::string> log;
  ScopedSink<CDataSelectionNotifications4Sink<>, IKivDataSelection> sink_;
};

// Counts a proxy's data changes.
class DataLog final : public CDataNotificationsReceiver {
 public:
  explicit DataLog(IKivData* item) : sink_(this, item) {}
  void OnDataChanged(IKivData*, KivTime, KivTime) override { ++changes; }
  int changes = 0;
  ScopedSink<CDataNotificationsSink<>, IKivData> sink_;
};

// Hears a channel proxy's new value offsets.
class OffsetLog final : public CChannelProxyNotificationsReceiver {
 public:
  explicit OffsetLog(IKivChannel* proxy) : sink_(this, proxy) {}
  void OnValueOffsetChanged(IKivChannelProxy*, double offset) override { offsets.push_back(offset); }
  std::vector<double> offsets;
  ScopedSink<CChannelProxyNotificationsSink<>, IKivChannel> sink_;
};

class DataSelectionTest : public SelectionFixture {
 protected:
  std::vector<double> Values(IKivChannel* channel) {
    ComPtr<IKivChannelIterator2> iterator;
    KivResult r = channel->GetIterator(iterator.Put());
    for (int round = 0; r == KIV_E_PENDING && round < 5; ++round) {
      EXPECT_TRUE(Settle());
      r = channel->GetIterator(iterator.Put());
    }
    if (r != S_OK) return {};
    ComPtr<IKivDataBlock> block;
    EXPECT_EQ(Got(iterator, &IKivChannelIterator2::GetDataBlocks)->GetBlock(1, block.Put()), S_OK);
    return block ? Got(block, &IKivDataBlock::GetValues) : std::vector<double>{};
  }
  // The outing loads on its worker thread; its list reaches the selection.
  NameList ChannelNames() {
    (void)LoadedNames(Got(selection_, &IKivDataSelection::GetOuting).Get());
    return LoadedNames(selection_.Get());
  }
  KivBool Active(IKivChannel* proxy) { return Got(QueryAs<IKivDataProxy>(proxy), &IKivDataProxy::GetActive); }
};

TEST_F(DataSelectionTest, UpdateRaisesItsEventsInOrderAndTheSameSpanIsNoChange) {
  SelectionLog log(selection_.Get());
  ComPtr<IKivOuting> outing = Sample("a.txt", 1);
  ASSERT_EQ(SetOuting(selection_.Get(), outing.Get()), S_OK);
  // The navigator hears the outing first and its finder's news reaches the
  // selection inside that walk: the caption may change before this sink hears
  // of the outing, and then not again.
  std::vector<std::string> seen = log.Take();
  std::erase(seen, "caption");
  EXPECT_EQ(seen, (std::vector<std::string>{"outing", "finished"}));
  EXPECT_NE(Got(selection_, &IKivDataSelection::GetOuting).Get(), outing.Get()) << "opened privately";

  ASSERT_EQ(selection_->Update(kSelectionSpan, nullptr, nullptr, 0, 10, 20, KIV_FALSE), S_OK);
  EXPECT_EQ(log.Take(), (std::vector<std::string>{"span"}));
  ASSERT_EQ(task_->Save(storage_.Get(), KIV_TRUE), S_OK);
  EXPECT_EQ(selection_->Update(kSelectionSpan, nullptr, nullptr, 0, 10, 20, KIV_FALSE), KIV_S_SPAN_UNCHANGED);
  EXPECT_EQ(log.Take(), (std::vector<std::string>{"span"})) << "raised even when nothing changed";
  EXPECT_EQ(task_->IsDirty(), S_FALSE) << "an unchanged span is nothing to save";

  ASSERT_EQ(selection_->Update(kSelectionColour | kSelectionIncludeAuxiliary, nullptr, nullptr, 0xFF, 0, 0, KIV_TRUE),
            S_OK);
  EXPECT_EQ(log.Take(), (std::vector<std::string>{"auxiliary", "colour"}));
  EXPECT_EQ(task_->IsDirty(), S_OK);

  ASSERT_EQ(selection_->Update(kSelectionOuting, nullptr, nullptr, 0, 5, 6, KIV_FALSE), S_OK);
  seen = log.Take();
  EXPECT_EQ(std::count(seen.begin(), seen.end(), "caption"), 1) << "the caption became \"Empty\"";
  std::erase(seen, "caption");
  EXPECT_EQ(seen, (std::vector<std::string>{"outing", "finished", "span"}));
  EXPECT_EQ(Got(selection_, &IKivDataSelection::GetCaption), u"Empty");
  EXPECT_EQ(Span(selection_.Get()), (std::pair<KivTime, KivTime>{0, 0}));
  EXPECT_EQ(selection_->Update(kSelectionNavigator, nullptr, nullptr, 0, 0, 0, KIV_FALSE), E_INVALIDARG);
}

TEST_F(DataSelectionTest, AProxyOutlivesAChangeOfOutingAndKeepsItsValueOffset) {
  ComPtr<IKivOuting> a = Sample("a.txt", 1), b = Sample("b.txt", 2);
  ASSERT_EQ(SetOuting(selection_.Get(), a.Get()), S_OK);
  NameList names = ChannelNames();
  ASSERT_FALSE(names.empty());
  const std::u16string name = names.front();
  auto channels = QueryAs<IKivChannelFactory>(selection_.Get());
  ComPtr<IKivChannel> proxy, again;
  ASSERT_EQ(channels->GetItem(name, proxy.Put()), S_OK);
  ASSERT_EQ(channels->GetItem(name, again.Put()), S_OK);
  EXPECT_EQ(proxy.Get(), again.Get()) << "one proxy per name";
  EXPECT_EQ(channels->GetItem(u"[3Speed", again.Put()), E_INVALIDARG);
  const std::vector<double> fromA = Values(proxy.Get());
  ASSERT_FALSE(fromA.empty());

  auto offset = QueryAs<IKivChannelProxy>(proxy.Get());
  {
    OffsetLog heard(proxy.Get());
    ASSERT_EQ(offset->SetValueOffset(1.5), S_OK);
    ASSERT_EQ(offset->SetValueOffset(1.5), S_OK);
    EXPECT_EQ(heard.offsets, std::vector<double>{1.5}) << "told once, with the new offset";
  }
  const std::vector<double> shifted = Values(proxy.Get());
  ASSERT_EQ(shifted.size(), fromA.size());
  EXPECT_DOUBLE_EQ(shifted.front(), fromA.front() + 1.5);

  DataLog data(proxy.Get());
  ASSERT_EQ(SetOuting(selection_.Get(), b.Get()), S_OK);
  EXPECT_EQ(data.changes, 1) << "it let go of the old channel";
  EXPECT_EQ(Got(proxy, &IKivChannel::GetStatus), 2u) << "no data until the new outing lists its channels";
  ASSERT_FALSE(ChannelNames().empty());
  EXPECT_EQ(data.changes, 2) << "and was bound to the new one";
  EXPECT_EQ(Active(proxy.Get()), KIV_TRUE);
  const std::vector<double> fromB = Values(proxy.Get());
  ASSERT_FALSE(fromB.empty());
  EXPECT_EQ(Got(offset, &IKivChannelProxy::GetValueOffset), 1.5) << "the selection keeps the offset by name";

  ASSERT_EQ(SetOuting(selection_.Get(), nullptr), S_OK);
  EXPECT_EQ(Active(proxy.Get()), KIV_FALSE);
  ComPtr<IKivChannelIterator2> iterator;
  EXPECT_EQ(proxy->GetIterator(iterator.Put()), KIV_E_PENDING) << "a proxy without a channel has no data";
}

}  // namespace
}  // namespace velmar::testing
