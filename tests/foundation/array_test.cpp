#include <qv/QvArray.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

template <class Array> void fill(Array& a, QvULong count) {
  for (QvULong i = 0; i < count; ++i) a.Add(static_cast<double>(i));
}

}  // namespace

TEST(Array, Constructors) {
  const QvDoubleArray plain;
  EXPECT_EQ(0u, plain.size);
  EXPECT_EQ(1u, plain.capacity);
  const QvDoubleArray zero_capacity(0u);
  EXPECT_EQ(1u, zero_capacity.capacity);
  const QvDoubleArray one(1.5, 100);  // holds one element, does not fill
  EXPECT_EQ(1u, one.size);
  EXPECT_EQ(100u, one.capacity);
  EXPECT_EQ(1.5, one[0]);
  const double values[] = {1, 2, 3};
  const QvDoubleArray three(values, 3);
  EXPECT_EQ(3u, three.capacity);
  const QvDoubleArray none(values, 0);
  EXPECT_EQ(0u, none.capacity);  // the only way to a capacity of 0
  QvDoubleArray null_block(nullptr, 0);  // nullptr names the empty block, as a null pointer would
  EXPECT_EQ(0u, null_block.capacity);
  null_block.Add(nullptr, 0);  // an empty append still applies the capacity rule
  EXPECT_EQ(1u, null_block.capacity);
  QvLPVoidArray null_value(nullptr, 3);  // in an array of pointers nullptr is the element
  EXPECT_EQ(1u, null_value.size);
  EXPECT_EQ(nullptr, null_value[0]);
  const QvULongArray zero_value(0, 8);  // a literal 0 is a value here, not a null block
  EXPECT_EQ(1u, zero_value.size);
  EXPECT_EQ(8u, zero_value.capacity);
  EXPECT_EQ(0u, zero_value[0]);
  EXPECT_EQ(100u, QvDoubleArray(one).capacity);  // a copy keeps the capacity
}

TEST(Array, CapacityChains) {
  struct Case { QvULong start_capacity, new_size, want; };
  const Case cases[] = {
      {16, 8, 8},    // 16 / 2 < 8 fails: shrink
      {16, 9, 16},   // keeps
      {16, 0, 1},
      {5, 1, 1},     // 5, 2, 1
      {5, 2, 2},
      {5, 3, 5},
      {5, 11, 20},   // 5, 10, 20
      {5, 7, 10},
      {1, 3, 4},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.start_capacity << " -> " << c.new_size);
    QvDoubleArray a(c.start_capacity);
    fill(a, c.new_size);  // appends grow through the same rule
    QvDoubleArray b(c.start_capacity);
    b.Add(std::vector<double>(c.new_size + 1).data(), c.new_size);
    EXPECT_EQ(c.want, b.capacity);
    EXPECT_EQ(c.new_size, b.size);
  }
}

TEST(Array, RemoveShrinksOneStepLaterThanResize) {
  QvDoubleArray a(16u);
  fill(a, 16);
  while (a.size > 8) a.Remove(a.size - 1);
  EXPECT_EQ(16u, a.capacity);  // at exactly half, removals keep the block
  a.Remove(0);
  EXPECT_EQ(8u, a.capacity);  // 7 < 8: 16 -> 8 -> 4 -> 8
  EXPECT_EQ(1.0, a[0]);
  EXPECT_EQ(7.0, a[6]);

  QvDoubleArray b(16u);
  fill(b, 16);
  b.RemoveClosedRange(2, 8);  // 9 left at capacity 16: kept
  EXPECT_EQ(16u, b.capacity);
  EXPECT_EQ(9.0, b[2]);
  b.ChopAndResize(8);  // the rule itself shrinks at n = c / 2
  EXPECT_EQ(8u, b.capacity);
}

TEST(Array, ChopAndChopAndResize) {
  QvDoubleArray a(64u);
  fill(a, 3);
  a.Chop(1);
  EXPECT_EQ(1u, a.size);
  EXPECT_EQ(64u, a.capacity);
  a.ChopAndResize(5);  // never grows, never reshapes when nothing is cut
  EXPECT_EQ(64u, a.capacity);
  a.ChopAndResize(0);
  EXPECT_EQ(1u, a.capacity);
  EXPECT_NE(nullptr, a.data);
}

TEST(Array, AddAndInsertFromOwnElements) {
  QvDoubleArray a(2u);
  a.Add(1.0);
  a.Add(2.0);
  a.Add(a[0]);  // slow path: the block moves under the reference
  EXPECT_EQ(4u, a.capacity);
  EXPECT_EQ(1.0, a[2]);
  a.Add(a[2]);
  a.InsertBefore(0, a[3]);
  a.InsertBefore(a.size, 9.0);
  const std::vector<double> want = {1, 1, 2, 1, 1, 9};
  ASSERT_EQ(want.size(), a.size);
  for (QvULong i = 0; i < a.size; ++i) EXPECT_EQ(want[i], a[i]) << i;
}

TEST(Array, PointArraysZeroNewStorage) {
  QvPoint2fArray a(4u);
  for (QvULong i = 0; i < a.capacity; ++i) EXPECT_EQ(0.0f, a.data[i].x + a.data[i].y);
  a.Add(1.25, 2.5);
  a.Add(3, 4);
  a.Add(5, 6);
  a.Add(7, 8);
  a.Add(9, 10);  // grows to 8: the three new slots read zero
  EXPECT_EQ(8u, a.capacity);
  for (QvULong i = 5; i < 8; ++i) EXPECT_EQ(0.0f, a.data[i].x + a.data[i].y);

  QvPoint2fArray b;
  b.Add(a, 1, 3);
  ASSERT_EQ(3u, b.size);
  EXPECT_EQ(3.0f, b[0].x);
  EXPECT_EQ(7.0f, b[2].x);
}

TEST(Array, AssignmentCopiesCapacity) {
  QvULongArray a(32u);
  a.Add(7u);
  QvULongArray b;
  b = a;
  EXPECT_EQ(32u, b.capacity);
  EXPECT_EQ(7u, b[0]);
  QvULongArray& alias = b;
  b = alias;  // self-assignment keeps the block
  EXPECT_EQ(7u, b[0]);
}
