// Rows of a working alignment as the run lays them out: row r holds text[r]
// from column 1 and '.' in every other cell, with room for width columns;
// len[r] is the text's length and nres[r] its residues (all but '-').
#pragma once

#include <string>
#include <vector>

#include "core/matrix.h"

namespace ztest {

struct WorkingRows {
  WorkingRows(const std::vector<std::string>& text, unsigned long width)
      : seqs(text.size(), width), len(text.size()), nres(text.size(), 0) {
    for (unsigned long r = 0; r < text.size(); ++r) {
      for (unsigned long c = 0; c < width; ++c) seqs[r][c] = c <= text[r].size() && c > 0 ? text[r][c - 1] : '.';
      len[r] = text[r].size();
      for (char ch : text[r]) nres[r] += ch != '-';
    }
  }

  std::string row(unsigned long r) const { return std::string(seqs[r] + 1, len[r]); }

  KARVO::Matrix<char> seqs;
  std::vector<unsigned long> len;
  std::vector<unsigned long> nres;
};

}  // namespace ztest
