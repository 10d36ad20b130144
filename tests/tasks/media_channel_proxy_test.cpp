// A selection's media channel proxy follows its task's active selection for
// the distance route: its clients hear of a new active selection and of a
// span change on the active one, and no more of one that is active no longer.
#include "selection_fixture.h"
#include "support/data_listener.h"
#include "velmar/media.h"

namespace velmar::testing {
namespace {

using MediaChannelProxyTest = SelectionFixture;

TEST_F(MediaChannelProxyTest, HearsTheActiveSelectionAndItsSpan) {
  ComPtr<IKivDataSelection4> other = AddSelection();
  ASSERT_EQ(SetOuting(other.Get(), Sample("other.txt", 7, 2).Get()), S_OK);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(task_->SetActiveSelection(1), S_OK);
  ComPtr<IKivMediaChannel> proxy;
  ASSERT_EQ(QueryAs<IKivMediaChannelFactory>(selection_.Get())->GetItem(u"Onboard", proxy.Put()), S_OK);
  std::vector<std::string> log;
  CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(proxy.Get()));
  const std::string whole = "changed:" + std::to_string(kTimeMin) + ":" + std::to_string(kTimeMax);

  ASSERT_EQ(task_->SetActiveSelection(2), S_OK);
  EXPECT_EQ(log, (std::vector<std::string>{"internal", whole}));
  log.clear();
  const auto [start, end] = Span(other.Get());
  ASSERT_TRUE(Succeeded(other->Update(kSelectionSpan, nullptr, nullptr, 0, start, (start + end) / 2, KIV_FALSE)));
  EXPECT_EQ(log, (std::vector<std::string>{"internal", whole})) << "the active selection's span changed";

  ASSERT_EQ(task_->SetActiveSelection(1), S_OK);
  log.clear();
  ASSERT_TRUE(Succeeded(other->Update(kSelectionSpan, nullptr, nullptr, 0, start, end, KIV_FALSE)));
  EXPECT_TRUE(log.empty()) << "a selection no longer active still heard";
  listener.Disconnect();
}

}  // namespace
}  // namespace velmar::testing
