// Small helpers that build the working alignment from readable rows.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/matrix.h"

// Rows of a working alignment: row r holds text[r] from column 1, with room
// for width columns; len[r] is the text's length.
struct SeqFixture {
  SeqFixture(const std::vector<std::string>& rows, unsigned long width) : seqs(rows.size(), width), len(rows.size()) {
    for (unsigned long r = 0; r < rows.size(); ++r) {
      for (unsigned long c = 0; c < width; ++c) seqs[r][c] = '#';  // never read
      for (unsigned long c = 0; c < rows[r].size(); ++c) seqs[r][c + 1] = rows[r][c];
      len[r] = rows[r].size();
    }
  }

  std::string row(unsigned long r) const { return std::string(seqs[r] + 1, len[r]); }

  KARVO::Matrix<char> seqs;
  std::vector<unsigned long> len;
};

inline std::unique_ptr<KARVO::Matrix<int>> scoreMatrix(const std::vector<std::vector<int>>& values) {
  auto m = std::make_unique<KARVO::Matrix<int>>(values.size(), values.empty() ? 0 : values[0].size());
  for (unsigned long i = 0; i < values.size(); ++i)
    for (unsigned long c = 0; c < values[i].size(); ++c) (*m)[i][c] = values[i][c];
  return m;
}
