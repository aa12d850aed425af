#include <gtest/gtest.h>

#include "core/matrix.h"

namespace {

TEST(MatrixTest, ZeroDimensionGivesEmptyMatrix) {
  KARVO::Matrix<int> noRows(0, 5);
  KARVO::Matrix<int> noCols(5, 0);
  KARVO::Matrix<float> square(0);
  for (auto* counts : {&noRows, &noCols}) {
    EXPECT_EQ(counts->rows(), 0u);
    EXPECT_EQ(counts->cols(), 0u);
    EXPECT_EQ(counts->rowTable(), nullptr);
  }
  EXPECT_EQ(square.rows(), 0u);
  EXPECT_EQ(square.rowTable(), nullptr);
}

TEST(MatrixTest, RowsLieInOneBlockColumnCountApart) {
  KARVO::Matrix<int> m(3, 4);
  ASSERT_EQ(m.rows(), 3u);
  ASSERT_EQ(m.cols(), 4u);
  int* block = m.rowTable()[0];
  for (unsigned long i = 0; i < 3; ++i) EXPECT_EQ(m[i], block + 4 * i);
  m[2][3] = 42;
  EXPECT_EQ(block[11], 42);
}

TEST(MatrixTest, SingleRowTableEntryIsTheBlock) {
  KARVO::Matrix<char> m(1, 7);
  EXPECT_EQ(m.rows(), 1u);
  EXPECT_EQ(m[0], m.rowTable()[0]);
}

TEST(MatrixTest, SquareFormEqualsTwoArgumentForm) {
  KARVO::Matrix<float> m(3);
  EXPECT_EQ(m.rows(), 3u);
  EXPECT_EQ(m.cols(), 3u);
  EXPECT_EQ(m[2], m[0] + 6);
}

TEST(ArrayTest, HoldsItsLengthAndNullForZero) {
  Array<unsigned long> five(5);
  EXPECT_EQ(five.length, 5u);
  EXPECT_NE(five.data, nullptr);
  Array<char> none(0);
  EXPECT_EQ(none.length, 0u);
  EXPECT_EQ(none.data, nullptr);
}

}  // namespace
