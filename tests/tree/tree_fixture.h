// Small working sets for the tree phase: real sequences laid out as the run
// driver lays them out (column 0 unused, room for twice the width), names
// N1, N2, ..., and a distance table that tests fill pair by pair.
#pragma once

#include <cstdio>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "core/matrix.h"
#include "plugin/zemtra_types.h"
#include "tree/tree_kv.h"

struct TreeInput {
  // Every row is padded with '-' to the longest one, which is the width.
  explicit TreeInput(const std::vector<std::string>& rows)
      : ns(rows.size()),
        width(widest(rows)),
        seqs(ns, 2 * width),
        names(ns, 8),
        len(ns, width),
        fscore(ns, ns),
        family(ns + 1, ns + 1),
        cmp(2 * width, 2 * width),
        path(2, 2 * width) {
    for (unsigned long r = 0; r < ns; ++r) {
      const std::string padded = rows[r] + std::string(width - rows[r].size(), '-');
      seqs[r][0] = ' ';
      for (unsigned long c = 1; c <= width; ++c) seqs[r][c] = padded[c - 1];
      for (unsigned long c = width + 1; c < 2 * width; ++c) seqs[r][c] = '.';
      const std::string name = "N" + std::to_string(r + 1);
      std::snprintf(names[r], 8, "%s", name.c_str());
      for (unsigned long c = 0; c < ns; ++c) fscore[r][c] = r == c ? 0.0f : 50.0f;
    }
  }

  // Sequence numbers, as the tree phase counts them.
  void setDistance(unsigned long a, unsigned long b, float d) {
    fscore[a - 1][b - 1] = d;
    fscore[b - 1][a - 1] = d;
  }

  std::string run(unsigned int fixed, JoinHistory* history = nullptr) {
    std::ostringstream log;
    log << std::fixed << std::right << std::setprecision(1);
    tree_kv(log, 0, 10, &alen, names, fscore, family, cmp, seqs, len.data(), path, fixed, history,
            zemtra::EngineOptions{});
    return log.str();
  }

  std::string row(unsigned long r) const { return std::string(seqs[r] + 1, len[r]); }

  std::vector<unsigned long> familyRow(unsigned long r) const {
    std::vector<unsigned long> members;
    for (unsigned long c = 0; c <= ns && family[r][c] != 0; ++c) members.push_back(family[r][c]);
    return members;
  }

  static unsigned long widest(const std::vector<std::string>& rows) {
    unsigned long w = 0;
    for (const std::string& r : rows) w = r.size() > w ? r.size() : w;
    return w;
  }

  unsigned long ns;
  unsigned long width;
  KARVO::Matrix<char> seqs;
  KARVO::Matrix<char> names;
  std::vector<unsigned long> len;
  KARVO::Matrix<float> fscore;
  FamilyTable family;
  KARVO::Matrix<int> cmp;
  KARVO::Matrix<long> path;
  int alen = -1;
};

// Six sequences whose distances make a sub-cluster besides the whole family.
struct SixSequences : TreeInput {
  static inline const std::vector<std::string> kRows = {"MKVLAGW", "MKVLSGW", "MKVIAG", "MRVLSGY", "KVLAGW", "MKWLAG"};
  SixSequences() : TreeInput(kRows) {
    const float d[6][6] = {{0, 9, 4, 12, 7, 5},  {9, 0, 8, 2, 6, 9},  {4, 8, 0, 3, 10, 12},
                           {12, 2, 3, 0, 9, 13}, {7, 6, 10, 9, 0, 8}, {5, 9, 12, 13, 8, 0}};
    for (unsigned long a = 0; a < 6; ++a)
      for (unsigned long b = 0; b < 6; ++b) fscore[a][b] = d[a][b];
  }
};

// A regular expression that matches the text literally.
inline std::string literal(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) out += '\\';
    out += c;
  }
  return out;
}
