#include "platform/storage/storage_node.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(StorageNodeTest, CloneSharesBytesUntilAWrite) {
  auto root = StorageNode::NewStorage(u"Root Entry");
  root->Add(StorageNode::NewStream(u"S", "abc"));
  auto copy = root->Clone();
  EXPECT_EQ(copy->Find(u"S")->bytes, root->Find(u"S")->bytes);  // shared
  copy->Find(u"S")->MutableBytes() += "d";
  EXPECT_EQ(root->Find(u"S")->Bytes(), "abc");
  EXPECT_EQ(copy->Find(u"S")->Bytes(), "abcd");
  EXPECT_NE(copy->Find(u"S"), root->Find(u"S"));  // nodes are never shared
}

TEST(StorageNodeTest, CloneDoesNotCarryOpenMarks) {
  auto root = StorageNode::NewStorage(u"Root Entry");
  root->Add(StorageNode::NewStorage(u"Tasks"));
  root->Find(u"Tasks")->open = true;
  EXPECT_FALSE(root->Clone()->Find(u"Tasks")->open);
}

TEST(StorageNodeTest, NameRules) {
  EXPECT_EQ(CheckElementName(u"Version"), S_OK);
  EXPECT_EQ(CheckElementName(std::u16string(31, u'x')), S_OK);
  EXPECT_EQ(CheckElementName(std::u16string(32, u'x')), STG_E_INVALIDNAME);
  EXPECT_EQ(CheckElementName(std::u16string(u"a\0b", 3)), STG_E_INVALIDNAME);
  EXPECT_EQ(CheckElementName(u"\xDC00x"), STG_E_INVALIDNAME);  // low surrogate first
  EXPECT_EQ(CheckElementName(u"\xD83D"), STG_E_INVALIDNAME);   // high surrogate alone
  EXPECT_EQ(CheckElementName(u"\U0001F3C1"), S_OK);
  EXPECT_EQ(CheckElementName(u"\x05SummaryInformation"), S_OK);
}

TEST(StorageNodeTest, CompoundFileOrder) {
  EXPECT_TRUE(CfbNameLess(u"Zz", u"aaa"));     // shorter first
  EXPECT_TRUE(CfbNameLess(u"abc", u"ABD"));    // then letters, any case
  EXPECT_FALSE(CfbNameLess(u"ABC", u"abc"));
}

}  // namespace
}  // namespace velmar
