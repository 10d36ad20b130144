#include "platform/storage/storage_node.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(StorageNodeTest, CloneSharesBytesUntilAWriteButNotOpenMarks) {
  auto root = StorageNode::NewStorage(u"Root Entry");
  root->Add(StorageNode::NewStream(u"S", "abc"));
  auto copy = root->Clone();
  EXPECT_EQ(copy->Find(u"S")->bytes, root->Find(u"S")->bytes);  // shared
  copy->Find(u"S")->MutableBytes() += "d";
  EXPECT_EQ(root->Find(u"S")->Bytes(), "abc");
  EXPECT_EQ(copy->Find(u"S")->Bytes(), "abcd");
  EXPECT_NE(copy->Find(u"S"), root->Find(u"S"));  // nodes are never shared
  root->Add(StorageNode::NewStorage(u"Tasks"));
  root->Find(u"Tasks")->open = true;
  EXPECT_FALSE(root->Clone()->Find(u"Tasks")->open) << "open marks stay with the original";
}

}  // namespace
}  // namespace velmar
