// The comparison matrix of two groups of aligned rows from residue counts:
// the sums that comp_kv leaves after one call per (row of the first group,
// row of the second group), without visiting every member pair.
#pragma once

#include <cstdint>
#include <vector>

#include "core/matrix.h"

namespace zemtra {

struct GroupComparison {
  const KARVO::Matrix<char>& seqs;
  const unsigned long* len;
  const unsigned long* members1;  // rows of the first group (rows of cmp)
  int count1;
  const unsigned long* members2;  // rows of the second group (columns of cmp)
  int count2;
  int matNo;
};

// Keeps its count tables between calls, so a warmed-up instance does not
// allocate. One instance serves one thread.
class GroupProfile {
 public:
  // Leaves cmp[1..lenJ][1..lenK], *lenj and *lenk as the comp_kv series over
  // all member pairs (first group outer, second inner, fresh on the first
  // call) leaves them, and fails the same way when the members of a group
  // differ in length. With an empty group nothing is touched, as the series
  // then makes no call.
  void compare(const GroupComparison& groups, KARVO::Matrix<int>& cmp, unsigned long* lenj, unsigned long* lenk);

  // Bytes an instance holds at most once it compared groups of up to
  // columns positions.
  static std::uint64_t bytesFor(unsigned long columns);

 private:
  // Per column of the second group, for each residue index r of the first
  // group's alphabet: the sum of scores of r against that column's members.
  std::vector<int> columnScores_;
  std::vector<int> counts_;
};

}  // namespace zemtra
