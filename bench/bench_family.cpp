#include "bench_family.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>

namespace bench {

namespace {

// The shared benchmark data: $ZEMTRA_SHARED_BENCH, else ../shared/bench
// beside the source tree.
std::string sharedFamily() {
  const char* shared = std::getenv("ZEMTRA_SHARED_BENCH");
  const std::string folder = shared != nullptr ? shared : ZEMTRA_SOURCE_DIR "/../shared/bench";
  return folder + "/synthetic/syn_n0200_l0300.fa";
}

const std::string kResidues = "ACDEFGHIKLMNPQRSTVWY";

// Relatives of one ancestor: about 15 % substitutions and a few short
// insertions and deletions each.
std::vector<std::string> generate() {
  std::mt19937 rng(2024);
  std::uniform_int_distribution<std::size_t> residue(0, kResidues.size() - 1);
  std::uniform_int_distribution<int> event(0, 99);
  std::string ancestor;
  for (int c = 0; c < 300; ++c) ancestor += kResidues[static_cast<std::size_t>(residue(rng))];
  std::vector<std::string> out;
  for (int s = 0; s < 200; ++s) {
    std::string row;
    for (char c : ancestor) {
      const int e = event(rng);
      if (e < 2) continue;
      row += e < 17 ? kResidues[static_cast<std::size_t>(residue(rng))] : c;
      if (e == 99) row += kResidues[static_cast<std::size_t>(residue(rng))];
    }
    out.push_back(row);
  }
  return out;
}

}  // namespace

std::vector<std::string> readFasta(const std::string& file) {
  std::vector<std::string> out;
  std::ifstream in(file);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty()) continue;
    if (line[0] == '>') {
      out.emplace_back();
    } else if (!out.empty()) {
      for (char c : line)
        if (c >= 'A' && c <= 'Z') out.back() += c;
    }
  }
  return out;
}

std::vector<std::string> loadFamily() {
  if (const char* file = std::getenv("ZEMTRA_BENCH_FAMILY")) return readFasta(file);
  if (const std::string shared = sharedFamily(); std::ifstream(shared).good()) return readFasta(shared);
  return generate();
}

Working::Working(const std::vector<std::string>& family)
    : width([&] {
        std::size_t longest = 1;
        for (const auto& s : family) longest = std::max(longest, s.size());
        return 2 * longest + 2;
      }()),
      seqs(family.size(), width),
      len(family.size()) {
  for (unsigned long r = 0; r < family.size(); ++r) {
    std::fill(seqs[r], seqs[r] + width, '-');
    std::copy(family[r].begin(), family[r].end(), seqs[r] + 1);
    len[r] = family[r].size();
  }
}

}  // namespace bench
