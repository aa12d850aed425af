// Owning two-dimensional matrix and one-dimensional buffer used for every
// table of the aligner. Cells are never initialised by construction.
#pragma once

#include <cstdint>

#include "core/memory_size.h"

namespace KARVO {

template <typename T>
class Matrix {
 public:
  Matrix(std::uint64_t rows, std::uint64_t cols) : cols_(cols), rows_(rows), rowTable_(nullptr) {
    if (rows == 0 || cols == 0) {
      cols_ = 0;
      rows_ = 0;
      return;
    }
    allocate();
  }

  // Square n x n form; only the float tables of the tree phase use it.
  explicit Matrix(std::uint64_t n) : Matrix(n, n) {}

  ~Matrix() {
    if (rowTable_ != nullptr) {
      delete[] rowTable_[0];
      delete[] rowTable_;
    }
  }

  Matrix(const Matrix&) = delete;
  Matrix& operator=(const Matrix&) = delete;

  // A table handed on leaves an empty one behind; assigning an empty table
  // releases the cells, which is how a run frees a table when its phase ends.
  Matrix(Matrix&& other) noexcept : cols_(other.cols_), rows_(other.rows_), rowTable_(other.rowTable_) {
    other.cols_ = 0;
    other.rows_ = 0;
    other.rowTable_ = nullptr;
  }
  Matrix& operator=(Matrix&& other) noexcept {
    if (this != &other) {
      Matrix gone(static_cast<Matrix&&>(other));
      swap(gone);
    }
    return *this;
  }

  // Bytes the constructor allocates for rows x cols: the cells and the row
  // table.
  static constexpr std::uint64_t bytesFor(std::uint64_t rows, std::uint64_t cols) {
    if (rows == 0 || cols == 0) return 0;
    return bytesPlus(bytesTimes(bytesTimes(rows, cols), sizeof(T)), bytesTimes(rows, sizeof(T*)));
  }

  // An empty table: no cells.
  Matrix() : cols_(0), rows_(0), rowTable_(nullptr) {}

  bool empty() const { return rowTable_ == nullptr; }

  std::uint64_t rows() const { return rows_; }
  std::uint64_t cols() const { return cols_; }

  T* operator[](std::uint64_t i) { return rowTable_[i]; }
  const T* operator[](std::uint64_t i) const { return rowTable_[i]; }

  T** rowTable() { return rowTable_; }
  T* const* rowTable() const { return rowTable_; }

 private:
  void swap(Matrix& other) noexcept {
    const std::uint64_t cols = cols_;
    const std::uint64_t rows = rows_;
    T** table = rowTable_;
    cols_ = other.cols_;
    rows_ = other.rows_;
    rowTable_ = other.rowTable_;
    other.cols_ = cols;
    other.rows_ = rows;
    other.rowTable_ = table;
  }

  void allocate() {
    // The block is allocated first so that a failing row table allocation
    // can release it before the exception leaves the constructor.
    T* block = new T[rows_ * cols_];
    try {
      rowTable_ = new T*[rows_];
    } catch (...) {
      delete[] block;
      throw;
    }
    rowTable_[0] = block;
    for (std::uint64_t i = 1; i < rows_; ++i) rowTable_[i] = rowTable_[i - 1] + cols_;
  }

  std::uint64_t cols_;  // the column count is the first field, by design
  std::uint64_t rows_;
  T** rowTable_;
};

}  // namespace KARVO

template <typename T>
class Array {
 public:
  explicit Array(std::uint32_t n) : data(n > 0 ? new T[n] : nullptr), length(n) {}
  ~Array() {
    if (length != 0 && data != nullptr) delete[] data;
  }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  T* data;
  std::uint32_t length;
};
