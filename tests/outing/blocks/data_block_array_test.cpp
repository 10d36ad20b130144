#include "outing/blocks/data_block_array.h"

#include <gtest/gtest.h>

#include "velmar/types.h"

namespace velmar {
namespace {

TEST(LockedArray, SharesElementsWithoutCopying) {
  std::vector<double> source{1.0, 2.0, 3.0};
  const double* where = source.data();
  auto a = LockedArray<double>::FromVector(std::move(source));
  EXPECT_EQ(a.data(), where) << "the vector's own buffer";
  LockedArray<double> b = a;
  EXPECT_EQ(b.data(), where);
  EXPECT_EQ(a.use_count(), 2);
  EXPECT_TRUE(b.Writable().empty()) << "only a maker of an uninitialised array may write";

  auto owner = std::make_shared<std::vector<double>>(std::vector<double>{4.0, 5.0});
  auto borrowed = LockedArray<double>::Borrow(*owner, owner);
  EXPECT_EQ(borrowed.data(), owner->data());
  std::weak_ptr<std::vector<double>> watch = owner;
  owner.reset();
  EXPECT_FALSE(watch.expired()) << "the array keeps its owner alive";
  EXPECT_EQ(borrowed.view()[1], 5.0);

  auto fresh = LockedArray<KivTime>::Uninitialized(3);
  ASSERT_EQ(fresh.Writable().size(), 3u);
  fresh.Writable()[2] = 9;
  EXPECT_EQ(fresh.view()[2], 9);
}

}  // namespace
}  // namespace velmar
