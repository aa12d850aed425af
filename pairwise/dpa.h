// Global alignment with one penalty per gap, whatever its length, and free
// end overhangs.
#pragma once

#include <cstdint>

#include "core/matrix.h"

// The position recorded for a gap, in alignment records and in alignment
// paths alike.
inline constexpr long kGapMark = -99;

// Result of one pairwise dynamic programming: per column, 0-based positions
// in A and B (kGapMark for a gap) and whether the column pairs two positions.
class Alignment {
 public:
  Alignment();
  explicit Alignment(unsigned long capacity);
  Alignment(const Alignment& other);
  Alignment& operator=(const Alignment& other);
  ~Alignment();

  // Bytes a record of that capacity allocates.
  static std::uint64_t bytesFor(unsigned long capacity);

  int nmatch;
  int length;
  long* posA;  // first half of one allocation of 2 * capacity entries
  long* posB;  // second half of it
  unsigned char* paired;
  unsigned long capacity;

 private:
  void allocateAndCopy(const Alignment& other);
  void release();
};

namespace DPA {

// S has n rows (positions of A) and m columns (positions of B). aln must have
// been built with a capacity; n + m is what callers use.
template <typename T>
T fredman(T gap, const KARVO::Matrix<T>& S, Alignment& aln);

// Bytes fredman<int> allocates for an n x m S and a record of that capacity.
std::uint64_t fredmanBytes(unsigned long n, unsigned long m, unsigned long capacity);

}  // namespace DPA
