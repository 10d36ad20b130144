// A host's channel factory on a data selection: its names join the
// selection's, and its proxies go back to none when it leaves.
#include <gtest/gtest.h>

#include "selection_fixture.h"
#include "velmar/selection_sources.h"

namespace velmar::testing {
namespace {

TEST_F(SelectionFixture, AHostFactoryServesItsNamesUntilItLeaves) {
  ComPtr<IKivOuting> host = Sample("host.txt", 3);
  auto hostChannels = QueryAs<IKivChannelFactory>(host.Get());
  const NameList names = LoadedNames(host.Get());
  auto sources = QueryAs<IKivDataSelectionSources>(selection_.Get());
  EXPECT_EQ(sources->AddChannelSource(nullptr), E_POINTER);
  ASSERT_EQ(sources->AddChannelSource(hostChannels.Get()), S_OK);
  EXPECT_EQ(sources->AddChannelSource(hostChannels.Get()), S_FALSE) << "a source once";
  auto channels = QueryAs<IKivChannelFactory>(selection_.Get());
  EXPECT_EQ(Got(channels, &IKivChannelFactory::GetNames), names) << "no outing: the host's names alone";
  ComPtr<IKivChannel> proxy;
  ASSERT_EQ(channels->GetItem(names.front(), proxy.Put()), S_OK);
  EXPECT_EQ(Got(QueryAs<IKivDataProxy>(proxy.Get()), &IKivDataProxy::GetActive), KIV_TRUE);
  ASSERT_EQ(sources->RemoveChannelSource(hostChannels.Get()), S_OK);
  EXPECT_EQ(sources->RemoveChannelSource(hostChannels.Get()), S_FALSE);
  EXPECT_EQ(Got(QueryAs<IKivDataProxy>(proxy.Get()), &IKivDataProxy::GetActive), KIV_FALSE);
}

}  // namespace
}  // namespace velmar::testing
