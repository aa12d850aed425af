// The sequence family the benchmarks align: read from a FASTA file when one
// is given or present, else made up from a fixed seed.
#pragma once

#include <string>
#include <vector>

#include "core/matrix.h"

namespace bench {

// The sequences of a FASTA file, residue letters only.
std::vector<std::string> readFasta(const std::string& file);

// Sequences of $ZEMTRA_BENCH_FAMILY, or of the shared 200 x 300 synthetic
// family ($ZEMTRA_SHARED_BENCH, else ../shared/bench beside the source tree)
// when that file exists, or 200 generated relatives of one random
// 300-residue ancestor.
std::vector<std::string> loadFamily();

// Rows of a working alignment: sequence r in row r from column 1, with
// twice the longest length as width.
struct Working {
  explicit Working(const std::vector<std::string>& family);
  unsigned long width;
  KARVO::Matrix<char> seqs;
  std::vector<unsigned long> len;
};

}  // namespace bench
