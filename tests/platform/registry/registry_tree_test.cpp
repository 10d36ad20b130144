#include "platform/registry/registry_tree.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(RegistryTreeTest, JsonRoundTripKeepsEveryTypeAndNamesThatDifferInCase) {
  RegNode root;
  RegNode& key = root.FindOrAddKey(u"Software").FindOrAddKey(u"Kivara");
  key.SetValue(u"Text", RegData(std::u16string(u"caf\u00e9")));
  key.SetValue(u"U32", RegData(uint32_t{0xFFFFFFFF}));
  key.SetValue(u"U64", RegData(uint64_t{0xFFFFFFFFFFFFFFFF}));
  key.SetValue(u"Bytes", RegData(std::vector<uint8_t>{}));
  // Two spellings of one name can only come from a hand-edited file, but
  // neither may be lost on the way through.
  root.keys.push_back(RegNode{u"SOFTWARE", {}, {}});

  auto back = RegistryFromJson(RegistryToJson(root));
  ASSERT_TRUE(back);
  ASSERT_EQ(back->keys.size(), 2u);
  const RegNode* k = Walk(*back, {u"software", u"KIVARA"});
  ASSERT_NE(k, nullptr);
  ASSERT_EQ(k->values.size(), 4u);
  EXPECT_EQ(k->FindValue(u"text")->data, RegData(std::u16string(u"caf\u00e9")));
  EXPECT_EQ(k->FindValue(u"u32")->data, RegData(uint32_t{0xFFFFFFFF}));
  EXPECT_EQ(k->FindValue(u"u64")->data, RegData(uint64_t{0xFFFFFFFFFFFFFFFF}));
  EXPECT_EQ(k->FindValue(u"bytes")->data, RegData(std::vector<uint8_t>{}));
}

TEST(RegistryTreeTest, RemoveIgnoresCase) {
  RegNode root;
  root.FindOrAddKey(u"Alpha");
  root.SetValue(u"Beta", RegData(uint32_t{1}));
  EXPECT_TRUE(root.RemoveKey(u"ALPHA"));
  EXPECT_FALSE(root.RemoveKey(u"alpha"));
  EXPECT_TRUE(root.RemoveValue(u"bEtA"));
  EXPECT_TRUE(root.keys.empty());
  EXPECT_TRUE(root.values.empty());
}

}  // namespace
}  // namespace velmar
