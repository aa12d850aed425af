// Trains the pair model's transition probabilities by expectation
// maximisation (Baum-Welch) on unaligned sequences: every FASTA file given is
// one family, and up to --pairs pairs of each family (spread evenly over its
// pair list) are the training pairs. No reference alignment is read. Starts
// from a fixed guess and prints the parameters after every iteration;
// emissions stay fixed, from the BLOSUM62 table unless --table gonnet.
//
// Usage: zemtra_train_pair_hmm [--iterations N] [--pairs N] [--table blosum62|gonnet] FILE.fa...
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "consistency/pair_hmm.h"

namespace {

using zemtra::consistency::PairHmmParams;
using zemtra::consistency::TransitionCounts;

std::vector<std::string> readResidues(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw std::runtime_error("cannot read " + file);
  std::vector<std::string> seqs;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line[0] == '>') {
      seqs.emplace_back();
    } else if (!seqs.empty()) {
      for (char c : line) {
        if (c != '-' && c != '.' && c != ' ' && c != '\r') seqs.back().push_back(c);
      }
    }
  }
  return seqs;
}

PairHmmParams maximise(const TransitionCounts& c) {
  PairHmmParams p;
  const double starts = c.startMatch + c.startShort + c.startLong;
  p.startMatch = c.startMatch / starts;
  p.startShort = c.startShort / (2 * starts);
  p.startLong = c.startLong / (2 * starts);
  const double fromMatch = c.matchMatch + c.openShort + c.openLong;
  p.openShort = c.openShort / (2 * fromMatch);
  p.openLong = c.openLong / (2 * fromMatch);
  p.extendShort = c.shortStay / (c.shortStay + c.shortClose);
  p.extendLong = c.longStay / (c.longStay + c.longClose);
  return p;
}

void print(int iteration, const PairHmmParams& p, double logLik) {
  std::cout << std::setprecision(6) << "iteration " << iteration << " logodds " << logLik << " startMatch "
            << p.startMatch << " startShort " << p.startShort << " startLong " << p.startLong << " openShort "
            << p.openShort << " openLong " << p.openLong << " extendShort " << p.extendShort << " extendLong "
            << p.extendLong << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  int iterations = 10;
  std::size_t perFamily = 40;
  bool gonnet = false;
  std::vector<std::vector<std::uint8_t>> xs, ys;
  try {
    for (int k = 1; k < argc; ++k) {
      if (std::strcmp(argv[k], "--iterations") == 0 && k + 1 < argc) {
        iterations = std::atoi(argv[++k]);
        continue;
      }
      if (std::strcmp(argv[k], "--table") == 0 && k + 1 < argc) {
        const std::string table = argv[++k];
        if (table != "blosum62" && table != "gonnet")
          throw std::runtime_error("--table: blosum62 or gonnet, not " + table);
        gonnet = table == "gonnet";
        continue;
      }
      if (std::strcmp(argv[k], "--pairs") == 0 && k + 1 < argc) {
        perFamily = std::strtoul(argv[++k], nullptr, 10);
        continue;
      }
      const std::vector<std::string> seqs = readResidues(argv[k]);
      std::vector<std::pair<std::size_t, std::size_t>> pairs;
      for (std::size_t a = 0; a < seqs.size(); ++a) {
        for (std::size_t b = a + 1; b < seqs.size(); ++b) pairs.emplace_back(a, b);
      }
      const std::size_t take = std::min(perFamily, pairs.size());
      for (std::size_t t = 0; t < take; ++t) {
        const auto [a, b] = pairs[t * pairs.size() / take];
        xs.push_back(zemtra::consistency::encodeResidues(seqs[a]));
        ys.push_back(zemtra::consistency::encodeResidues(seqs[b]));
      }
    }
  } catch (const std::exception& e) {
    std::cerr << argv[0] << ": " << e.what() << '\n';
    return 1;
  }
  if (xs.empty()) {
    std::cerr << "usage: " << argv[0] << " [--iterations N] [--pairs N] [--table blosum62|gonnet] FILE.fa...\n";
    return 2;
  }
  std::cout << "training pairs " << xs.size() << std::endl;
  // The starting guess the shipped parameters were trained from: mostly
  // matches, short gaps opened four times as often as long ones.
  PairHmmParams params{.startMatch = 0.6,
                       .startShort = 0.1,
                       .startLong = 0.1,
                       .openShort = 0.02,
                       .openLong = 0.005,
                       .extendShort = 0.4,
                       .extendLong = 0.9};
  const auto& odds = gonnet ? zemtra::consistency::gonnetMatchOdds() : zemtra::consistency::blosum62MatchOdds();
  zemtra::consistency::PairHmmWorkspace work;
  for (int it = 0; it < iterations; ++it) {
    TransitionCounts counts;
    for (std::size_t k = 0; k < xs.size(); ++k)
      zemtra::consistency::pairPosteriors(xs[k], ys[k], params, odds, work, &counts);
    print(it, params, counts.logLikelihood);
    params = maximise(counts);
  }
  print(iterations, params, 0);
  return 0;
}
