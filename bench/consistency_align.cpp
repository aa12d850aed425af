// Aligns a FASTA file with the consistency method and writes the alignment
// as FASTA: the accuracy driver of bench/accuracy.sh and the speed probe of
// large families. Timings, objective and peak memory go to standard error.
//
// Usage: zemtra_consistency_align IN.fa OUT.fa [--threads N] [--rounds N]
//                                 [--refine N] [--profile-passes N] [--seed N] [--fixed N]
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "consistency/consistency.h"

namespace {

struct Fasta {
  std::vector<std::string> names, rows;
};

Fasta readFasta(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw std::runtime_error("cannot read " + file);
  Fasta f;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty() && line[0] == '>') {
      f.names.push_back(line.substr(1));
      f.rows.emplace_back();
    } else if (!f.rows.empty()) {
      for (char c : line) {
        if (c != ' ' && c != '\t') f.rows.back().push_back(c);
      }
    }
  }
  return f;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: " << argv[0]
              << " IN.fa OUT.fa [--threads N] [--rounds N] [--refine N] [--profile-passes N] [--seed N] [--fixed N]\n";
    return 2;
  }
  zemtra::consistency::Options options;
  unsigned fixed = 0;
  for (int k = 3; k + 1 < argc; k += 2) {
    const std::string key = argv[k];
    const unsigned long value = std::strtoul(argv[k + 1], nullptr, 10);
    if (key == "--threads")
      options.threads = static_cast<unsigned>(value);
    else if (key == "--rounds")
      options.consistencyRounds = static_cast<int>(value);
    else if (key == "--refine")
      options.refineIterations = static_cast<int>(value);
    else if (key == "--profile-passes")
      options.profilePasses = static_cast<int>(value);
    else if (key == "--seed")
      options.seed = value;
    else if (key == "--fixed")
      fixed = static_cast<unsigned>(value);
    else {
      std::cerr << "unknown option " << key << "\n";
      return 2;
    }
  }
  try {
    const Fasta in = readFasta(argv[1]);
    const auto result = zemtra::consistency::align(in.rows, fixed, options);
    const std::string tmp = std::string(argv[2]) + ".tmp";
    {
      std::ofstream out(tmp);
      for (std::size_t r = 0; r < in.rows.size(); ++r) out << '>' << in.names[r] << '\n' << result.rows[r] << '\n';
      if (!out) throw std::runtime_error("cannot write " + tmp);
    }
    if (std::rename(tmp.c_str(), argv[2]) != 0) throw std::runtime_error(std::string("cannot write ") + argv[2]);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto& t = result.timings;
    std::cerr << "posteriors " << t.posteriors << " consistency " << t.consistency << " tree " << t.tree
              << " progressive " << t.progressive << " refinement " << t.refinement << " total " << t.total
              << " objective " << result.objective << " kept " << result.refinementKept << "/" << result.refinementTried
              << " maxrss_mb " << usage.ru_maxrss / 1024;
    unsigned long residues = 0, longest = 0;
    for (const std::string& row : in.rows)
      residues += row.size(), longest = std::max<unsigned long>(longest, row.size());
    const unsigned long mean = residues / std::max<std::size_t>(1, in.rows.size());
    std::cerr << " estimate_mb " << zemtra::consistency::estimateBytes(in.rows.size(), mean) / (1u << 20)
              << " estimate_s "
              << zemtra::consistency::estimateSeconds(in.rows.size(), mean, longest, options.threads,
                                                      options.consistencyRounds, options.refineIterations)
              << '\n';
  } catch (const std::exception& e) {
    std::cerr << argv[0] << ": " << e.what() << '\n';
    return 1;
  }
  return 0;
}
