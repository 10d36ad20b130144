// A host's own channel factory on a data selection: its names join the
// selection's, proxies bind to it, it stays through a change of outing and
// its proxies go back to none when it leaves.
#include <gtest/gtest.h>

#include "selection_fixture.h"
#include "velmar/selection_sources.h"

namespace velmar::testing {
namespace {

class SelectionSourcesTest : public SelectionFixture {};

TEST_F(SelectionSourcesTest, AHostFactoryServesItsNamesUntilItLeaves) {
  ComPtr<IKivOuting> host = Sample("host.txt", 3), other = Sample("other.txt", 4);
  auto hostChannels = QueryAs<IKivChannelFactory>(host.Get());
  NameList names;
  (void)hostChannels->GetNames(&names);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(hostChannels->GetNames(&names), S_OK);
  ASSERT_FALSE(names.empty());

  auto sources = QueryAs<IKivDataSelectionSources>(selection_.Get());
  ASSERT_TRUE(sources);
  EXPECT_EQ(sources->AddChannelSource(nullptr), E_POINTER);
  ASSERT_EQ(sources->AddChannelSource(hostChannels.Get()), S_OK);
  EXPECT_EQ(sources->AddChannelSource(hostChannels.Get()), S_FALSE) << "a source once";
  auto channels = QueryAs<IKivChannelFactory>(selection_.Get());
  NameList seen;
  ASSERT_EQ(channels->GetNames(&seen), S_OK);
  EXPECT_EQ(seen, names) << "no outing yet: the host's names alone";
  ComPtr<IKivChannel> proxy;
  ASSERT_EQ(channels->GetItem(names.front(), proxy.Put()), S_OK);
  KivBool active = KIV_FALSE;
  ASSERT_EQ(QueryAs<IKivDataProxy>(proxy.Get())->GetActive(&active), S_OK);
  EXPECT_EQ(active, KIV_TRUE);

  // An outing comes and goes; the host's source stays.
  ASSERT_EQ(selection_->Update(kSelectionOuting, other.Get(), nullptr, 0, 0, 0, KIV_FALSE), S_OK);
  ASSERT_EQ(selection_->Update(kSelectionOuting, nullptr, nullptr, 0, 0, 0, KIV_FALSE), S_OK);
  ASSERT_EQ(channels->GetNames(&seen), S_OK);
  EXPECT_EQ(seen, names);
  ASSERT_EQ(sources->RemoveChannelSource(hostChannels.Get()), S_OK);
  EXPECT_EQ(sources->RemoveChannelSource(hostChannels.Get()), S_FALSE);
  ASSERT_EQ(QueryAs<IKivDataProxy>(proxy.Get())->GetActive(&active), S_OK);
  EXPECT_EQ(active, KIV_FALSE);
}

}  // namespace
}  // namespace velmar::testing
