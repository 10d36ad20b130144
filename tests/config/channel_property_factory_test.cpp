#include "config/channel_property_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "config/quantity_to_color_mapping.h"
#include "support/got.h"
#include "support/scoped_sink.h"
#include "support/vtable_slot.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;

class Client : public CChannelPropertyFactoryNotifications2Receiver {
 public:
  std::vector<std::string> seen;
  bool inUse = false;
  void OnChannelKeyAdded(IKivChannelPropertyFactory*, const std::u16string&, int32_t q) override {
    seen.push_back("added " + std::to_string(q));
  }
  void OnChannelKeyRemoved(IKivChannelPropertyFactory*, const std::u16string&, int32_t q) override {
    seen.push_back("removed " + std::to_string(q));
  }
  void OnChannelPropertiesChanged(IKivChannelPropertyFactory*, const std::u16string&, int32_t) override {
    seen.push_back("changed");
  }
  void OnQueryChannelNameInUse(IKivChannelPropertyFactory*, const std::u16string&, KivBool* used,
                               uint32_t* reason) override {
    seen.push_back("asked");
    if (inUse) {
      *used = KIV_TRUE;
      *reason = 2;
    }
  }
};

class ChannelPropertyFactoryTest : public ::testing::Test {
 protected:
  ComPtr<CChannelPropertyFactory> factory_ = MakeKiv<CChannelPropertyFactory>();
  Client client_;
  testing::ScopedSink<CChannelPropertyFactoryNotifications2Sink<>, IKivChannelPropertyFactory> sink_{&client_,
                                                                                                   factory_.Get()};
};

TEST_F(ChannelPropertyFactoryTest, AKeyIsMadeOnFirstDemandWithTheMappingsColour) {
  KivBool found = KIV_TRUE;
  ASSERT_EQ(factory_->HasKey(u"Speed", 3, &found), S_OK);
  EXPECT_EQ(found, KIV_FALSE);
  auto mapping = MakeKiv<CQuantityToColorMapping>();
  ASSERT_EQ(factory_->SetQuantityToColorMapping(mapping.Get()), S_OK);
  ComPtr<IKivPropertySet> set;
  ASSERT_EQ(factory_->GetPropertySet(u"Speed", 3, set.Put()), S_OK);
  Variant colour;
  ASSERT_EQ(set->GetProperty(u"Color", &colour), S_OK);
  EXPECT_EQ(colour, Variant::I32(0xFF0000));
  ComPtr<IKivPropertySet> again;
  ASSERT_EQ(factory_->GetPropertySet(u"Speed", 3, again.Put()), S_OK);
  EXPECT_EQ(again.Get(), set.Get());
  ASSERT_EQ(set->SetProperty(u"Decimal places", Variant::I32(1)), S_OK);
  EXPECT_THAT(client_.seen, ElementsAre("added 3", "changed"));
  EXPECT_EQ(factory_->GetPropertySet(u"", 3, again.Put()), E_INVALIDARG);
  EXPECT_EQ(factory_->GetPropertySet(u"Speed", -1, again.Put()), E_INVALIDARG);
}

TEST_F(ChannelPropertyFactoryTest, AKeyInUseIsNotRemoved) {
  ComPtr<IKivPropertySet> set;
  ASSERT_EQ(factory_->GetPropertySet(u"Distance", 1, set.Put()), S_OK);
  client_.inUse = true;
  EXPECT_EQ(factory_->RemoveKey(u"Distance", 1), E_ACCESSDENIED);
  client_.inUse = false;
  EXPECT_EQ(factory_->RemoveKey(u"Distance", 1), S_OK);
  EXPECT_EQ(factory_->RemoveKey(u"Distance", 1), E_INVALIDARG);
  EXPECT_THAT(client_.seen, ElementsAre("added 1", "asked", "asked", "removed 1"));
  ASSERT_EQ(set->SetProperty(u"Unit", Variant::I32(2)), S_OK);
  EXPECT_EQ(client_.seen.size(), 4u) << "a removed key's set reports nothing";
}

TEST_F(ChannelPropertyFactoryTest, KeysAreListedInOrderFromOne) {
  ComPtr<IKivPropertySet> set;
  ASSERT_EQ(factory_->GetPropertySet(u"B", 1, set.Put()), S_OK);
  ASSERT_EQ(factory_->GetPropertySet(u"A", 2, set.Put()), S_OK);
  EXPECT_EQ(testing::Got(factory_, &CChannelPropertyFactory::GetKeyCount), 2u);
  std::u16string name;
  int32_t quantity = 0;
  ASSERT_EQ(factory_->GetKey(1, &name, &quantity), S_OK);
  EXPECT_EQ(name, u"A");
  EXPECT_EQ(quantity, 2);
  EXPECT_EQ(factory_->GetKey(3, &name, &quantity), DISP_E_BADINDEX);
  EXPECT_EQ(factory_->GetKey(0, &name, &quantity), DISP_E_BADINDEX);
}

#ifdef VELMAR_HAS_VTABLE_SLOT
TEST(ChannelPropertyFactorySlots, TheMappingIsGivenInSlotFourteen) {
  EXPECT_EQ(testing::VtableSlot(&IKivChannelPropertyFactory::SetQuantityToColorMapping), 14u);
}
#endif

}  // namespace
}  // namespace velmar
