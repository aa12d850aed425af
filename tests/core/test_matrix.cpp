#include <gtest/gtest.h>

#include "core/matrix.h"

namespace {

TEST(MatrixTest, ZeroDimensionOrLengthHoldsNoStorage) {
  KARVO::Matrix<int> noRows(0, 5);
  KARVO::Matrix<int> noCols(5, 0);
  KARVO::Matrix<int> square(0);
  for (auto* empty : {&noRows, &noCols, &square}) {
    EXPECT_EQ(empty->rows(), 0u);
    EXPECT_EQ(empty->cols(), 0u);
    EXPECT_EQ(empty->rowTable(), nullptr);
  }
  Array<char> none(0);
  EXPECT_EQ(none.length, 0u);
  EXPECT_EQ(none.data, nullptr);
}

TEST(MatrixTest, RowsLieInOneBlockColumnCountApart) {
  KARVO::Matrix<int> m(3, 4);
  ASSERT_EQ(m.rows(), 3u);
  ASSERT_EQ(m.cols(), 4u);
  int* block = m.rowTable()[0];
  for (unsigned long i = 0; i < 3; ++i) EXPECT_EQ(m[i], block + 4 * i);
  m[2][3] = 42;
  EXPECT_EQ(block[11], 42);
  KARVO::Matrix<float> square(3);
  EXPECT_EQ(square.cols(), 3u);
  EXPECT_EQ(square[2], square[0] + 6);
}

}  // namespace
